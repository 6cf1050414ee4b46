// fork/exec with three pipes; a poll loop feeds standard input and drains both outputs so that
// neither side can block the other whatever the sizes.
#include "RunProcess.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace KeloTest {

static void applyEnv_i(const std::vector<std::string>& env)
{
    for (const std::string& e : env) {
        size_t eq = e.find('=');
        if (eq == std::string::npos && !e.empty() && e.back() == '*') {
            const std::string prefix = e.substr(0, e.size() - 1);
            std::vector<std::string> names;
            for (char** v = environ; *v != nullptr; ++v)
                if (strncmp(*v, prefix.c_str(), prefix.size()) == 0)
                    names.emplace_back(*v, strcspn(*v, "="));
            for (const std::string& name : names)
                unsetenv(name.c_str());
        } else if (eq == std::string::npos)
            unsetenv(e.c_str());
        else
            setenv(e.substr(0, eq).c_str(), e.substr(eq + 1).c_str(), 1);
    }
}

ProcessResult runProcess(const std::string& program, const std::vector<std::string>& args,
                         const std::string& input, const std::vector<std::string>& env)
{
    ProcessResult result;
    int inPipe[2], outPipe[2], errPipe[2];
    if (pipe2(inPipe, O_CLOEXEC) != 0 || pipe2(outPipe, O_CLOEXEC) != 0 ||
        pipe2(errPipe, O_CLOEXEC) != 0) {
        result.err = std::string("pipe: ") + strerror(errno);
        return result;
    }
    pid_t pid = fork();
    if (pid == 0) {
        dup2(inPipe[0], 0);
        dup2(outPipe[1], 1);
        dup2(errPipe[1], 2);
        applyEnv_i(env);
        std::vector<char*> argv;
        argv.push_back(const_cast<char*>(program.c_str()));
        for (const std::string& a : args)
            argv.push_back(const_cast<char*>(a.c_str()));
        argv.push_back(nullptr);
        execv(program.c_str(), argv.data());
        dprintf(2, "exec %s: %s\n", program.c_str(), strerror(errno));
        _exit(127);
    }
    result.pid = pid;
    close(inPipe[0]);
    close(outPipe[1]);
    close(errPipe[1]);
    if (pid < 0) {
        close(inPipe[1]);
        close(outPipe[0]);
        close(errPipe[0]);
        result.err = std::string("fork: ") + strerror(errno);
        return result;
    }

    signal(SIGPIPE, SIG_IGN);
    fcntl(inPipe[1], F_SETFL, O_NONBLOCK);
    size_t written = 0;
    int inFd = inPipe[1];
    if (input.empty()) {
        close(inFd);
        inFd = -1;
    }
    int fds[2] = {outPipe[0], errPipe[0]};
    std::string* sinks[2] = {&result.out, &result.err};
    while (fds[0] >= 0 || fds[1] >= 0 || inFd >= 0) {
        pollfd p[3] = {{fds[0], POLLIN, 0}, {fds[1], POLLIN, 0}, {inFd, POLLOUT, 0}};
        if (poll(p, 3, -1) < 0) {
            if (errno == EINTR)
                continue;
            break;
        }
        for (int i = 0; i < 2; ++i) {
            if (fds[i] >= 0 && (p[i].revents & (POLLIN | POLLHUP | POLLERR))) {
                char buf[65536];
                ssize_t n = read(fds[i], buf, sizeof buf);
                if (n > 0) {
                    sinks[i]->append(buf, n);
                } else if (n == 0 || errno != EINTR) {
                    close(fds[i]);
                    fds[i] = -1;
                }
            }
        }
        if (inFd >= 0 && (p[2].revents & (POLLOUT | POLLERR | POLLHUP))) {
            ssize_t n = write(inFd, input.data() + written, input.size() - written);
            if (n > 0)
                written += n;
            if ((n < 0 && errno != EAGAIN && errno != EINTR) || written == input.size()) {
                close(inFd);
                inFd = -1;
            }
        }
    }
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFEXITED(status))
        result.exitStatus = WEXITSTATUS(status);
    else if (WIFSIGNALED(status))
        result.exitStatus = 128 + WTERMSIG(status);
    return result;
}

std::string binPath(const std::string& name)
{
    return std::string(KELO_BIN_DIR) + "/" + name;
}

std::string sourcePath(const std::string& relative)
{
    return std::string(KELO_SOURCE_DIR) + "/" + relative;
}

} // namespace KeloTest

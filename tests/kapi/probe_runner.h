#ifndef TESTS_KAPI_PROBE_RUNNER_H
#define TESTS_KAPI_PROBE_RUNNER_H
// Test helper: runs a probe program from KELO_BIN_DIR as a child process with a chosen
// environment, its standard output and standard error captured in files of a private temporary
// directory (removed with the object). The child's environment is this process's, minus every
// variable whose name starts with one of `dropPrefixes`, plus `setVars` ("NAME=value").
#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <spawn.h>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char** environ;

class ProbeProcess
{
public:
    ProbeProcess(const std::string& program, const std::vector<std::string>& args,
                 const std::vector<std::string>& setVars,
                 const std::vector<std::string>& dropPrefixes)
    {
        char dirTemplate[] = "/tmp/kelo_probe_XXXXXX";
        if (mkdtemp(dirTemplate) == nullptr) {
            ADD_FAILURE() << "mkdtemp: " << strerror(errno);
            return;
        }
        m_dir = dirTemplate;
        const std::string path = std::string(KELO_BIN_DIR) + "/" + program;

        std::vector<std::string> argStrings{path};
        argStrings.insert(argStrings.end(), args.begin(), args.end());
        std::vector<std::string> envStrings;
        for (char** e = environ; *e != nullptr; ++e) {
            bool drop = false;
            for (const std::string& prefix : dropPrefixes) {
                drop = drop || strncmp(*e, prefix.c_str(), prefix.size()) == 0;
            }
            if (!drop) {
                envStrings.push_back(*e);
            }
        }
        envStrings.insert(envStrings.end(), setVars.begin(), setVars.end());
        std::vector<char*> argv = pointers(argStrings);
        std::vector<char*> envp = pointers(envStrings);

        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&actions, 1, outPath().c_str(),
                                         O_WRONLY | O_CREAT | O_TRUNC, 0600);
        posix_spawn_file_actions_addopen(&actions, 2, errPath().c_str(),
                                         O_WRONLY | O_CREAT | O_TRUNC, 0600);
        const int result =
            posix_spawn(&m_pid, path.c_str(), &actions, nullptr, argv.data(), envp.data());
        posix_spawn_file_actions_destroy(&actions);
        if (result != 0) {
            ADD_FAILURE() << "posix_spawn " << path << ": " << strerror(result);
            m_pid = -1;
        }
    }

    ~ProbeProcess()
    {
        if (m_pid > 0 && !m_exited) {
            ::kill(m_pid, SIGKILL);
            wait(60);
        }
        if (!m_dir.empty()) {
            unlink(outPath().c_str());
            unlink(errPath().c_str());
            unlink((m_dir + "/extra").c_str());
            rmdir(m_dir.c_str());
        }
    }
    ProbeProcess(const ProbeProcess&) = delete;
    ProbeProcess& operator=(const ProbeProcess&) = delete;

    pid_t pid() const { return m_pid; }
    // A file name in the private directory that the destructor also removes.
    std::string extraPath() const { return m_dir + "/extra"; }

    // Waits for the child to end, at most `seconds`; true when it has ended.
    bool wait(int seconds)
    {
        for (int tick = 0; m_pid > 0 && !m_exited && tick <= seconds * 20; ++tick) {
            int status = 0;
            const pid_t done = waitpid(m_pid, &status, WNOHANG);
            if (done == m_pid) {
                m_exited = true;
                m_status = status;
                break;
            }
            usleep(50 * 1000);
        }
        return m_exited;
    }
    void kill(int signal = SIGKILL) { ::kill(m_pid, signal); }

    bool exited() const { return m_exited; }
    // Exit status when the child exited normally, else -1.
    int exitCode() const { return m_exited && WIFEXITED(m_status) ? WEXITSTATUS(m_status) : -1; }
    // The signal that ended the child, else 0.
    int termSignal() const { return m_exited && WIFSIGNALED(m_status) ? WTERMSIG(m_status) : 0; }

    std::string out() const { return readFile(outPath()); }
    std::string err() const { return readFile(errPath()); }

    static std::string readFile(const std::string& path)
    {
        std::ifstream file(path, std::ios::binary);
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    }

private:
    std::string outPath() const { return m_dir + "/out"; }
    std::string errPath() const { return m_dir + "/err"; }

    static std::vector<char*> pointers(std::vector<std::string>& strings)
    {
        std::vector<char*> result;
        for (std::string& s : strings) {
            result.push_back(s.data());
        }
        result.push_back(nullptr);
        return result;
    }

    std::string m_dir;
    pid_t m_pid = -1;
    bool m_exited = false;
    int m_status = 0;
};

#endif

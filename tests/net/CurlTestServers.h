#ifndef KELO_TESTS_NET_CURLTESTSERVERS_H
#define KELO_TESTS_NET_CURLTESTSERVERS_H
// Loopback servers for tests: PortServer runs a child process whose first line of standard
// output is the port it listens on (127.0.0.1 only); start() waits for that line and the
// destructor stops the process group (SIGTERM, then waits). startHttpServer runs
// tests/fixtures/http_server.py, plain or TLS; testPkiDir is the test PKI of
// tools/make-test-pki.sh, made once per build tree; startNginx serves a directory with nginx;
// WithHttpServer gives a suite one shared plain server. Failures come back as the return value
// with a reason in lastError().
//
//     KeloTest::PortServer server;
//     ASSERT_TRUE(KeloTest::startHttpServer(server, {}));
//     std::string url = server.url("/fixed");   // "http://127.0.0.1:PORT/fixed"
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <gtest/gtest.h>
#include <poll.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace KeloTest {

class PortServer
{
public:
    PortServer() = default;
    ~PortServer() { stop(); }
    PortServer(const PortServer&) = delete;
    PortServer& operator=(const PortServer&) = delete;

    // Starts argv[0] with the given arguments and waits up to `waitMs` for the port line.
    bool start(const std::vector<std::string>& argv, bool tls = false, int waitMs = 20000)
    {
        stop();
        m_tls = tls;
        int pipeFds[2];
        if (pipe(pipeFds) != 0)
            return fail("pipe failed");
        m_pid = fork();
        if (m_pid == 0) {
            setpgid(0, 0); // own group: stop() reaches the server's children too
            dup2(pipeFds[1], STDOUT_FILENO);
            close(pipeFds[0]);
            close(pipeFds[1]);
            std::vector<char*> args;
            for (const std::string& arg : argv)
                args.push_back(const_cast<char*>(arg.c_str()));
            args.push_back(nullptr);
            execv(args[0], args.data());
            _exit(127);
        }
        close(pipeFds[1]);
        // The pipe stays open after the line: a server that prints more must not fail.
        m_outFd = pipeFds[0];
        if (m_pid < 0)
            return fail("fork failed");
        std::string line;
        char c = 0;
        pollfd fd{m_outFd, POLLIN, 0};
        while (::poll(&fd, 1, waitMs) > 0 && read(m_outFd, &c, 1) == 1 && c != '\n')
            line += c;
        m_port = c == '\n' ? atoi(line.c_str()) : 0;
        return m_port > 0 || fail("no port line from " + argv[0]);
    }

    void stop()
    {
        if (m_pid > 0) {
            kill(-m_pid, SIGTERM);
            kill(m_pid, SIGTERM);
            int status = 0;
            while (waitpid(m_pid, &status, 0) < 0 && errno == EINTR) {
            }
        }
        if (m_outFd >= 0)
            close(m_outFd);
        m_pid = -1;
        m_outFd = -1;
        m_port = 0;
    }

    int port() const { return m_port; }
    std::string url(const std::string& path) const
    {
        return std::string(m_tls ? "https" : "http") + "://127.0.0.1:" + std::to_string(m_port) +
               path;
    }
    const std::string& lastError() const { return m_error; }

private:
    bool fail(const std::string& why)
    {
        stop();
        m_error = why;
        return false;
    }

    pid_t m_pid = -1;
    int m_outFd = -1;
    int m_port = 0;
    bool m_tls = false;
    std::string m_error;
};

inline std::string fixturePath(const std::string& relative)
{
    return std::string(KELO_SOURCE_DIR) + "/" + relative;
}

// http_server.py with extra options, e.g. {"--cert", chain, "--key", key, "--tls-max", "1.0"}.
inline bool startHttpServer(PortServer& server, const std::vector<std::string>& options)
{
    std::vector<std::string> argv = {"/usr/bin/python3",
                                     fixturePath("tests/fixtures/http_server.py")};
    argv.insert(argv.end(), options.begin(), options.end());
    bool tls = false;
    for (const std::string& option : options)
        tls = tls || option == "--cert";
    return server.start(argv, tls);
}

// nginx serving `rootDir` (tests/fixtures/nginx/run-nginx.sh); `rate` as nginx's limit_rate
// ("0": none).
inline bool startNginx(PortServer& server, const std::string& rootDir,
                       const std::string& rate = "0")
{
    return server.start(
        {"/bin/sh", fixturePath("tests/fixtures/nginx/run-nginx.sh"), rootDir, "0", rate});
}

// The directory of the build's test PKI (made on first use); "" when it cannot be made.
inline std::string testPkiDir()
{
    static const std::string s_dir = [] {
        const std::string dir = std::string(KELO_BIN_DIR) + "/../test-pki";
        const std::string command =
            "/bin/sh '" + fixturePath("tools/make-test-pki.sh") + "' '" + dir + "' >/dev/null 2>&1";
        return system(command.c_str()) == 0 ? dir : std::string();
    }();
    return s_dir;
}

inline std::string pkiFile(const std::string& name)
{
    return testPkiDir() + "/" + name;
}

// TLS options for http_server.py serving the PKI's certificate NAME ("server", "expired",
// "notyet", "foreign-server") with its chain.
inline std::vector<std::string> tlsOptions(const std::string& name)
{
    const std::string cert =
        name == "foreign-server" ? pkiFile(name + ".pem") : pkiFile(name + "-chain.pem");
    return {"--cert", cert, "--key", pkiFile(name + ".key")};
}

// The repeating 0..255 pattern of http_server.py's /bytes/N, `count` bytes from `first`.
inline std::string patternBytes(size_t first, size_t count)
{
    std::string out(count, '\0');
    for (size_t i = 0; i < count; ++i)
        out[i] = static_cast<char>((first + i) % 256);
    return out;
}

// A suite base (over `Base`, e.g. testing::Test) with one plain loopback server started for
// the whole suite; url("/fixed") addresses it.
template <class Base = testing::Test> class WithHttpServer : public Base
{
protected:
    static void SetUpTestSuite()
    {
        s_server = new PortServer;
        ASSERT_TRUE(startHttpServer(*s_server, {})) << s_server->lastError();
    }
    static void TearDownTestSuite()
    {
        delete s_server;
        s_server = nullptr;
    }
    static std::string url(const std::string& path) { return s_server->url(path); }

    static inline PortServer* s_server = nullptr;
};

} // namespace KeloTest

#endif

#ifndef KELO_TESTS_PORT_PORTSYSLOGCAPTURE_H
#define KELO_TESTS_PORT_PORTSYSLOGCAPTURE_H
// Test helper: collects what the device port writes to the system log with _kkSysLog. For its
// lifetime the system log is opened with LOG_PERROR (every record is also written to standard
// error as "<ident>: <text>") and standard error goes to a private file; lines() gives the
// texts of the records that carry a port tag ("<Tag.label>: ..."), in order, without the ident.
// The client's own log back end is created first so that it cannot reopen the log meanwhile;
// the destructor restores standard error and the back end's options.
#include "kapi/Log.h"

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <syslog.h>
#include <unistd.h>
#include <vector>

class PortSysLogCapture
{
public:
    PortSysLogCapture()
    {
        Kapi::Log::Get();
        char name[] = "/tmp/kelo-syslog-capture.XXXXXX";
        m_fd = mkstemp(name);
        unlink(name);
        fflush(stderr);
        m_savedStderr = dup(STDERR_FILENO);
        dup2(m_fd, STDERR_FILENO);
        openlog("capture", LOG_PERROR, LOG_LOCAL0);
    }
    ~PortSysLogCapture()
    {
        stop();
        close(m_fd);
    }
    PortSysLogCapture(const PortSysLogCapture&) = delete;
    PortSysLogCapture& operator=(const PortSysLogCapture&) = delete;

    // The captured record texts so far, e.g. "<SettingsSQLite.info>: Upgrade to schema version 1".
    std::vector<std::string> lines() const
    {
        std::string all;
        char buffer[4096];
        for (off_t at = 0;;) {
            const ssize_t got = pread(m_fd, buffer, sizeof(buffer), at);
            if (got <= 0)
                break;
            all.append(buffer, static_cast<size_t>(got));
            at += got;
        }
        std::vector<std::string> result;
        const std::string prefix = "capture: <";
        size_t start = 0;
        while (start < all.size()) {
            size_t end = all.find('\n', start);
            if (end == std::string::npos)
                end = all.size();
            const std::string line = all.substr(start, end - start);
            if (line.compare(0, prefix.size(), prefix) == 0)
                result.push_back(line.substr(prefix.size() - 1));
            start = end + 1;
        }
        return result;
    }

    // Restores standard error; lines() still works afterwards.
    void stop()
    {
        if (m_savedStderr < 0)
            return;
        openlog(nullptr, LOG_CONS | LOG_PID, LOG_LOCAL0);
        fflush(stderr);
        dup2(m_savedStderr, STDERR_FILENO);
        close(m_savedStderr);
        m_savedStderr = -1;
    }

private:
    int m_fd = -1;
    int m_savedStderr = -1;
};

#endif

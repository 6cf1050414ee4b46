#ifndef KELO_TESTS_LOGCAPTURE_H
#define KELO_TESTS_LOGCAPTURE_H
// Test helper: collects the log messages a piece of code writes. A LogCapture registers, for its
// lifetime, a logger of its own whose levels admit the given source up to the given level (or
// every source), and keeps each delivered message fully expanded. Other loggers are untouched.
//
//     LogCapture capture(VLOGSRC_MISC_SYSTEM, VLOG_WARNING);
//     ... code under test ...
//     EXPECT_EQ(capture.summary()[0], "misc_system.warning: trouble parsing line #3 'left 0'\n");
#include "kapi/Log.h"
#include "kapi/ModuleLogger.h"
#include "kapi/vLog.h"

#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <string>
#include <vector>

class LogCapture
{
public:
    struct Line
    {
        std::string source;           // the source name, e.g. "misc_system"
        Kapi::Log::Priority priority; // level - 1 for levels 1..5, else PRIO_ERROR
        std::string text;             // the message with its arguments expanded
    };

    // Every source up to `level`.
    explicit LogCapture(vLogLevel level = VLOG_DEBUG) : LogCapture(-1, level) {}
    // One source up to `level`; all other sources at "none".
    LogCapture(vLogSource source, vLogLevel level) : m_logger(&m_backEnd, "capture")
    {
        m_logger.levels().setLevelAll(source < 0 ? level : VLOG_NONE);
        if (source >= 0)
            m_logger.levels().setLevel(source, level);
        Kapi::ModuleLogger::registerLogger(&m_logger);
    }
    ~LogCapture() { Kapi::ModuleLogger::unregisterLogger(&m_logger); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    Kapi::ModuleLogger& logger() { return m_logger; }
    std::vector<Line> lines() const
    {
        std::lock_guard<std::mutex> lock(m_backEnd.mutex);
        return m_backEnd.lines;
    }
    // "source.priority: text" for each line, e.g. "kapi_ddl.info: Invalid value for Colour: 5".
    std::vector<std::string> summary() const
    {
        std::vector<std::string> result;
        for (const Line& line : lines())
            result.push_back(line.source + "." + Kapi::Log::priorityName(line.priority) + ": " +
                             line.text);
        return result;
    }

private:
    struct BackEnd : Kapi::Log
    {
        void log(const char* source, Priority priority, const char* format, ...) override
        {
            va_list args;
            va_start(args, format);
            vlog(source, priority, format, args);
            va_end(args);
        }
        void vlog(const char* source, Priority priority, const char* format, va_list args) override
        {
            va_list copy;
            va_copy(copy, args);
            const int length = vsnprintf(nullptr, 0, format, copy);
            va_end(copy);
            std::string text(length > 0 ? static_cast<size_t>(length) : 0, '\0');
            vsnprintf(text.data(), text.size() + 1, format, args);
            std::lock_guard<std::mutex> lock(mutex);
            lines.push_back(Line{source, priority, text});
        }
        void setLogToConsole(bool) override {}
        void setHighRes(bool) override {}

        mutable std::mutex mutex;
        std::vector<Line> lines; // guarded by mutex
    };

    BackEnd m_backEnd; // declared first: outlives the logger that points at it
    Kapi::ModuleLogger m_logger;
};

#endif

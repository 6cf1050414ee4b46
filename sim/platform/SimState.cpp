// The simulator's state, failure switches and call log.
#include "SimState.h"

#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace SimPlatform {

static std::set<std::string> parseNames_i(const std::string& text)
{
    std::set<std::string> names;
    std::stringstream in(text);
    std::string name;
    while (std::getline(in, name, ',')) {
        size_t b = name.find_first_not_of(" \t");
        size_t e = name.find_last_not_of(" \t");
        if (b != std::string::npos)
            names.insert(name.substr(b, e - b + 1));
    }
    return names;
}

State& state()
{
    static State* s_state = [] {
        State* s = new State; // lives until exit: detached client threads may still call in
        if (const char* fail = getenv("KELO_SIM_FAIL"))
            s->failures = parseNames_i(fail);
        if (const char* file = getenv("KELO_SIM_LOG"))
            s->logFile = file;
        return s;
    }();
    return *s_state;
}

bool failing_i(State& s, const char* name)
{
    return s.failures.count(name) != 0;
}

void record_i(State& s, const char* name, int32_t result, const char* argsFormat, ...)
{
    char args[256];
    va_list ap;
    va_start(ap, argsFormat);
    vsnprintf(args, sizeof(args), argsFormat, ap);
    va_end(ap);
    std::string line = std::string(name) + "(" + args + ") = " + std::to_string(result);
    if (failing_i(s, name))
        line += " (injected failure)";
    s.log.push_back(line);
    if (!s.logFile.empty()) {
        if (FILE* f = fopen(s.logFile.c_str(), "a")) {
            fprintf(f, "%s\n", line.c_str());
            fclose(f);
        }
    }
}

void setFailures(const std::string& commaSeparatedNames)
{
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    s.failures = parseNames_i(commaSeparatedNames);
}

std::string failures()
{
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    std::string text;
    for (const std::string& name : s.failures)
        text += (text.empty() ? "" : ",") + name;
    return text;
}

std::vector<std::string> callLog()
{
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    return s.log;
}

void clearCallLog()
{
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    s.log.clear();
}

void reset()
{
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    s.pbInit = false;
    s.nextPbHandle = 1;
    s.pb.clear();
    s.cfgInit = false;
    s.nextCfgHandle = 1;
    s.cfgHandles.clear();
    s.cps = IMTKCFG_VID_CPS_INFO_T{};
    s.supportFormat = IMTKCFG_SUPPORT_FORMAT_T{0x3f, 0};
    s.sourceInfo = IMTKCFG_VID_SOURCE_INFO_T{};
    s.failures.clear();
    s.log.clear();
}

} // namespace SimPlatform

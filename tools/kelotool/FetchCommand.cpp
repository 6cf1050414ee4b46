// kelotool fetch [--timeout SECONDS] [--limit BYTES] [--range FIRST-LAST] [--ca FILE]
//                [--cert FILE --key FILE] [--tolerant] [--output FILE] URL
// One request through the client's own curl layer (CurlAsync with the client's request
// defaults and TLS handling), after starting the services it needs the way the client starts
// them: the start-up runner over CurlInitNode (OpenSSL, the task scheduler, then curl).
//
// Prints one line on standard output:
//     result=<curl code> http=<status> bytes=<body bytes received> seconds=<elapsed>
// and exits 0 when the result is 0, 1 otherwise (64 for a usage error). Without --output the
// body is kept in memory, at most --limit bytes (default 4096, the layer's default), and then
// dropped; with --output it is written to FILE and --limit does not apply. --range FIRST-LAST
// asks for bytes FIRST..LAST inclusive, "FIRST-" for everything from FIRST. --ca enables the
// peer check against that CA file (host names are not checked); --tolerant accepts an expired
// or not-yet-valid server certificate in that check.
#include "Command.h"

#include "kapi/Init.h"
#include "kapi/StringUtil.h"
#include "kapi/Timer.h"
#include "kapi/net/CurlAsync.h"
#include "kapi/net/CurlInitNode.h"
#include "kapi/vConfig.h"

#include <cstdio>

namespace KeloTool {

namespace {

struct FetchOptions
{
    uint32 timeout = 0;
    uint32 limit = 4096;
    bool hasRange = false;
    long long rangeFirst = 0;
    long long rangeEnd = -1; // exclusive; -1: open-ended
    std::string ca;
    std::string cert;
    std::string key;
    bool tolerant = false;
    std::string output;
    std::string url;
};

bool parseRange(const std::string& text, FetchOptions& options)
{
    const size_t dash = text.find('-');
    if (dash == std::string::npos || dash == 0) {
        return false;
    }
    uint64 first = 0;
    if (!Kapi::StringUtil::asUInteger64(text.substr(0, dash), first)) {
        return false;
    }
    options.hasRange = true;
    options.rangeFirst = static_cast<long long>(first);
    const std::string lastText = text.substr(dash + 1);
    if (lastText.empty()) {
        options.rangeEnd = -1;
        return true;
    }
    uint64 last = 0;
    if (!Kapi::StringUtil::asUInteger64(lastText, last) || last < first) {
        return false;
    }
    options.rangeEnd = static_cast<long long>(last) + 1;
    return true;
}

bool parseArgs(const Args& args, FetchOptions& options)
{
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        const bool hasValue = i + 1 < args.size();
        if (arg == "--tolerant") {
            options.tolerant = true;
        } else if (arg == "--timeout" && hasValue) {
            if (!Kapi::StringUtil::asUInteger32(args[++i], options.timeout)) {
                return false;
            }
        } else if (arg == "--limit" && hasValue) {
            if (!Kapi::StringUtil::asUInteger32(args[++i], options.limit)) {
                return false;
            }
        } else if (arg == "--range" && hasValue) {
            if (!parseRange(args[++i], options)) {
                return false;
            }
        } else if (arg == "--ca" && hasValue) {
            options.ca = args[++i];
        } else if (arg == "--cert" && hasValue) {
            options.cert = args[++i];
        } else if (arg == "--key" && hasValue) {
            options.key = args[++i];
        } else if (arg == "--output" && hasValue) {
            options.output = args[++i];
        } else if (!arg.empty() && arg[0] != '-' && options.url.empty()) {
            options.url = arg;
        } else {
            return false;
        }
    }
    // A client certificate needs its key and the other way round.
    return !options.url.empty() && options.cert.empty() == options.key.empty();
}

} // namespace

int runFetch(const Args& args)
{
    FetchOptions options;
    if (!parseArgs(args, options)) {
        return usageError("fetch");
    }
    Kapi::Init::Init init("kelotool-fetch", Kapi::Net::CurlInitNode::s_instance);
    if (!init.start(Kapi::vConfig())) {
        fprintf(stderr, "kelotool fetch: the curl layer failed to start\n");
        init.stop();
        return kExitNo;
    }
    int code;
    long status;
    long long bytes;
    double seconds;
    {
        Kapi::Net::CurlAsync request(Kapi::Net::CurlInitNode::s_instance->getCurlPool());
        request.setUrl(options.url);
        if (options.timeout > 0) {
            request.setTimeout(options.timeout);
        }
        request.mMaxBodySize = options.limit;
        if (options.hasRange) {
            if (options.rangeEnd < 0) {
                request.setResumeFrom(options.rangeFirst);
            } else {
                request.setRange(options.rangeFirst, options.rangeEnd);
            }
        }
        request.setCertFiles(options.ca, options.cert, options.key, !options.tolerant);
        request.setOutputFile(options.output);
        const int64 start = Kapi::Timer::now();
        code = request.perform();
        seconds = static_cast<double>(Kapi::Timer::now() - start) / 1e6;
        status = request.getStatusCode();
        bytes = request.getDownloadSize();
        if (code != 0 && !request.mErrorMessage.empty()) {
            fprintf(stderr, "kelotool fetch: %s\n", request.mErrorMessage.c_str());
        }
    }
    init.stop();
    printf("result=%d http=%ld bytes=%lld seconds=%.3f\n", code, status, bytes, seconds);
    return code == 0 ? kExitOk : kExitNo;
}

} // namespace KeloTool

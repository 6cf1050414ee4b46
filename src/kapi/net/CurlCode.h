#ifndef KAPI_NET_CURLCODE_H
#define KAPI_NET_CURLCODE_H
// Result codes of the curl layer: libcurl's CURLcode values passed through unchanged, plus
// the few values this layer gives a role of its own. 206 is not a libcurl code: it is the
// value a query holds until its transfer has run, so a listener that sees it knows the
// request never reached the network.
namespace Kapi {
namespace Net {
namespace Curl {

typedef int Code;

enum : Code
{
    kOk = 0,
    kFailedInit = 2,      // the multi handle refused the request
    kPartialFile = 18,    // cancelled, or never completed
    kWriteError = 23,     // output file not writable, body over its limit, listener abort
    kTimedOut = 28,       // this layer's own deadline passed
    kSslCertProblem = 58, // the SSL-context callback could not apply the parameters
    kQueryNotRun = 206    // initial value of a query's result
};

} // namespace Curl
} // namespace Net
} // namespace Kapi

#endif

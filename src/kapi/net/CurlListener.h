#ifndef KAPI_NET_CURLLISTENER_H
#define KAPI_NET_CURLLISTENER_H
// The owner side of a finished query: its result code (a libcurl code, or 206 when the request
// never ran) and, for an in-memory body, the body (empty unless the code is 0). Called on the
// thread the query's CallMeFactory stands for.
#include <string>

namespace Kapi {
namespace Net {

class CurlListener
{
public:
    virtual ~CurlListener() {}
    virtual void queryFinished(int code, const std::string& body) = 0;
};

} // namespace Net
} // namespace Kapi

#endif

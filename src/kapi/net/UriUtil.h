#ifndef KAPI_NET_URIUTIL_H
#define KAPI_NET_URIUTIL_H
// Kapi::UriUtil: the few URI questions the client asks: which scheme an address has, file
// addresses to and from local paths, and the path of an http address.
//
// The scheme is the text before the first ":" (none when there is no colon or it comes
// first), compared without regard to case against "file", "http", "https", "kelo", "bundle" in
// that order over the text's own length only: a shortened scheme names the first known scheme
// it begins ("fil" is file, "h" and "htt" are http). "https" addresses are not http ones for
// these functions. File names inside file addresses are escaped segment by segment with
// Kapi::UrlCodec ("/" kept, blanks as "+"). Stateless; safe from any thread.
#include <string>

namespace Kapi {

class UriUtil
{
public:
    enum Scheme
    {
        SCHEME_UNKNOWN = 0,
        SCHEME_NONE = 1,
        SCHEME_FILE = 2,
        SCHEME_HTTP = 3,
        SCHEME_HTTPS = 4,
        SCHEME_KELO = 5,
        SCHEME_BUNDLE = 6
    };

    UriUtil() = delete;

    static Scheme getScheme(const std::string& uri);
    // "file" ... "bundle" for the known schemes, null otherwise.
    static const char* schemeToString(Scheme scheme);
    static bool isFileUri(const std::string& uri);
    static bool isHttpUri(const std::string& uri);

    // "file://" and the path's "/"-separated segments, each URL-encoded.
    static std::string fileUriNew(const std::string& path);
    // The decoded path of a file address; empty when it is not one or does not decode.
    static std::string fileUriGetFilename(const std::string& uri);
    static bool fileUriExists(const std::string& uri);
    // The file name when it lies under "/assets/", "/mnt/nas/" or "/tmp/nas_test_mountpoint/";
    // empty otherwise.
    static std::string fileUriIsSecureToFetch(const std::string& uri);
    // For an http address longer than 8 characters, the text from the first "/" at or after
    // position 7; empty otherwise.
    static std::string httpGetPath(const std::string& uri);
};

} // namespace Kapi

#endif

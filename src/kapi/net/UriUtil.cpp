// Scheme recognition, file addresses and http paths.
#include "kapi/net/UriUtil.h"

#include "kapi/FileUtil.h"
#include "kapi/StringUtil.h"
#include "kapi/UrlCodec.h"

#include <strings.h>

namespace Kapi {

namespace {

const char* const kSchemeNames[] = {"file", "http", "https", "kelo", "bundle"};
constexpr int kFirstNamedScheme = UriUtil::SCHEME_FILE;

const char kFilePrefix[] = "file://";
constexpr size_t kFilePrefixLength = sizeof(kFilePrefix) - 1;
constexpr size_t kHttpPathStart = 7; // just past "http://"
constexpr size_t kHttpMinLength = 8;

const char* const kSecurePrefixes[] = {"/assets/", "/mnt/nas/", "/tmp/nas_test_mountpoint/"};

// The text of a file address after its scheme: after "file://", or for a shortened scheme
// ("fil:") after the colon and an optional "//".
std::string fileUriBody(const std::string& uri)
{
    if (StringUtil::startsWith(uri, kFilePrefix, true))
        return uri.substr(kFilePrefixLength);
    std::string body = uri.substr(uri.find(':') + 1);
    if (StringUtil::startsWith(body, "//"))
        body.erase(0, 2);
    return body;
}

} // namespace

UriUtil::Scheme UriUtil::getScheme(const std::string& uri)
{
    const size_t colon = uri.find(':');
    if (colon == std::string::npos || colon == 0)
        return SCHEME_NONE;
    const std::string scheme = uri.substr(0, colon);
    for (int i = 0; i < static_cast<int>(sizeof(kSchemeNames) / sizeof(kSchemeNames[0])); ++i) {
        // Over the text's length only: a prefix of a known name matches it (the name's NUL
        // ends the comparison for longer texts).
        if (strncasecmp(scheme.c_str(), kSchemeNames[i], scheme.size()) == 0)
            return static_cast<Scheme>(kFirstNamedScheme + i);
    }
    return SCHEME_UNKNOWN;
}

const char* UriUtil::schemeToString(Scheme scheme)
{
    const int index = static_cast<int>(scheme) - kFirstNamedScheme;
    if (index < 0 || index >= static_cast<int>(sizeof(kSchemeNames) / sizeof(kSchemeNames[0])))
        return nullptr;
    return kSchemeNames[index];
}

bool UriUtil::isFileUri(const std::string& uri)
{
    return getScheme(uri) == SCHEME_FILE;
}

bool UriUtil::isHttpUri(const std::string& uri)
{
    return getScheme(uri) == SCHEME_HTTP;
}

std::string UriUtil::fileUriNew(const std::string& path)
{
    std::string uri = kFilePrefix;
    size_t start = 0;
    for (;;) {
        const size_t slash = path.find('/', start);
        uri += UrlCodec::encode(path.substr(start, slash - start));
        if (slash == std::string::npos)
            return uri;
        uri += '/';
        start = slash + 1;
    }
}

std::string UriUtil::fileUriGetFilename(const std::string& uri)
{
    if (!isFileUri(uri))
        return std::string();
    std::string name;
    if (!UrlCodec::decode(fileUriBody(uri), &name))
        return std::string();
    return name;
}

bool UriUtil::fileUriExists(const std::string& uri)
{
    const std::string name = fileUriGetFilename(uri);
    return !name.empty() && FileUtil::exists(name);
}

std::string UriUtil::fileUriIsSecureToFetch(const std::string& uri)
{
    const std::string name = fileUriGetFilename(uri);
    for (const char* prefix : kSecurePrefixes) {
        if (StringUtil::startsWith(name, prefix))
            return name;
    }
    return std::string();
}

std::string UriUtil::httpGetPath(const std::string& uri)
{
    if (!isHttpUri(uri) || uri.size() <= kHttpMinLength)
        return std::string();
    const size_t slash = uri.find('/', kHttpPathStart);
    return slash == std::string::npos ? std::string() : uri.substr(slash);
}

} // namespace Kapi

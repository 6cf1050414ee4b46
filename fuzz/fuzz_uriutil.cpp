// URI helpers fed with arbitrary bytes: nothing may crash or read out of bounds, the scheme is
// always one of the seven values, a file address made from any path reads back as that path,
// the fetchable answer is either empty or the decoded name under a fetchable root, and an http
// path always starts with "/".
#include "kapi/net/UriUtil.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

using Kapi::UriUtil;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);

    const UriUtil::Scheme scheme = UriUtil::getScheme(text);
    if (scheme < UriUtil::SCHEME_UNKNOWN || scheme > UriUtil::SCHEME_BUNDLE)
        abort();
    const char* name = UriUtil::schemeToString(scheme);
    if ((name != nullptr) != (scheme >= UriUtil::SCHEME_FILE))
        abort();
    if (UriUtil::isHttpUri(text) && UriUtil::isFileUri(text))
        abort();

    const std::string filename = UriUtil::fileUriGetFilename(text);
    const std::string secure = UriUtil::fileUriIsSecureToFetch(text);
    if (!secure.empty() && secure != filename)
        abort();

    const std::string path = UriUtil::httpGetPath(text);
    if (!path.empty() && (path[0] != '/' || text.size() <= 8 || !UriUtil::isHttpUri(text)))
        abort();

    if (UriUtil::fileUriGetFilename(UriUtil::fileUriNew(text)) != text)
        abort();
    return 0;
}

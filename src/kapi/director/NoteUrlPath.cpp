// Kapi::Director::NoteUrlPath: the path form - segments split at "/", taken two at a time as
// key and value, with the "*" codec.
#include "kapi/director/NoteUrlPath.h"

#include "kapi/UrlCodec.h"
#include "kapi/director/NoteUrlForm.h"
#include "kapi/vLog.h"

#include <vector>

namespace Kapi {
namespace Director {

namespace {

bool isPathSafe_i(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '-' ||
           c == '_' || c == '.';
}

std::string KeloUrlCodecEncode(const std::string& in)
{
    return UrlCodecDetail::encode(in, '*', &isPathSafe_i);
}

bool KeloUrlCodecDecode(const std::string& in, std::string* out)
{
    return UrlCodecDetail::decode(in, out, '*', "KeloUrlCodecDecode", VLOGSRC_KAPI_DIRECTOR);
}

const NoteUrlForm::Syntax kPath = {'/',   '/',          &KeloUrlCodecEncode,
                                   "*00", "._type/*00", "NoteUrlPath::fromString():"};

} // namespace

std::string NoteUrlPath::toString(const std::shared_ptr<Note>& note)
{
    std::string out;
    toStringAux(note, std::string(), &out);
    return out;
}

void NoteUrlPath::toStringAux(const std::shared_ptr<Note>& note, const std::string& prefix,
                              std::string* out)
{
    if (note && out)
        NoteUrlForm::flatten(kPath, *note, prefix, *out);
}

std::shared_ptr<Note> NoteUrlPath::fromString(const std::string& url)
{
    std::string path = url;
    if (!path.empty() && path.front() == '/')
        path.erase(0, 1);
    if (!path.empty() && path.back() == '/')
        path.pop_back();
    std::vector<std::string> segments;
    for (size_t start = 0; !path.empty();) {
        const size_t end = path.find('/', start);
        segments.push_back(path.substr(start, end - start));
        if (end == std::string::npos)
            break;
        start = end + 1;
    }
    if (segments.size() % 2 != 0) {
        NoteUrlForm::fail("NoteUrlPath::fromString(): not an even number of fields in url '%s'",
                          url.c_str());
        return nullptr;
    }
    NoteUrlForm::Rebuild rebuild;
    for (size_t i = 0; i < segments.size(); i += 2) {
        const std::string& key = segments[i];
        const std::string& value = segments[i + 1];
        if (key.empty()) {
            NoteUrlForm::fail("NoteUrlPath::fromString(): missing name in key/value pair '%s/%s' "
                              "in url '%s'",
                              key.c_str(), value.c_str(), url.c_str());
            return nullptr;
        }
        NoteUrlForm::Pair pair{std::string(), std::string(), true};
        if (!KeloUrlCodecDecode(key, &pair.key)) {
            NoteUrlForm::fail("NoteUrlPath::fromString(): failed to decode name '%s'", key.c_str());
            return nullptr;
        }
        if (!KeloUrlCodecDecode(value, &pair.value)) {
            NoteUrlForm::fail("NoteUrlPath::fromString(): failed to decode value '%s'",
                              value.c_str());
            return nullptr;
        }
        if (pair.value.empty()) {
            NoteUrlForm::fail("NoteUrlPath::fromString(): empty values not supported in url '%s' "
                              "(use *00)",
                              url.c_str());
            return nullptr;
        }
        if (pair.value == std::string(1, '\0'))
            pair.value.clear();
        if (!NoteUrlForm::apply(kPath, rebuild, pair, url))
            return nullptr;
    }
    return rebuild.root;
}

} // namespace Director
} // namespace Kapi

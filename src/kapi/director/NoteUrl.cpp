// Kapi::Director::NoteUrl: the query form - pieces split at "&", each at "=", then handed to
// the shared pair machinery.
#include "kapi/director/NoteUrl.h"

#include "kapi/UrlCodec.h"
#include "kapi/director/NoteUrlForm.h"

namespace Kapi {
namespace Director {

namespace {

const NoteUrlForm::Syntax kQuery = {'&', '=', &UrlCodec::encode, "", "", "NoteUrl::fromString():"};

std::vector<std::string> split_i(const std::string& text, char at)
{
    std::vector<std::string> pieces;
    size_t start = 0;
    for (;;) {
        const size_t end = text.find(at, start);
        pieces.push_back(text.substr(start, end - start));
        if (end == std::string::npos)
            return pieces;
        start = end + 1;
    }
}

} // namespace

std::string NoteUrl::toString(const std::shared_ptr<Note>& note)
{
    std::string out;
    toStringAux(note, std::string(), &out);
    return out;
}

void NoteUrl::toStringAux(const std::shared_ptr<Note>& note, const std::string& prefix,
                          std::string* out)
{
    if (note && out)
        NoteUrlForm::flatten(kQuery, *note, prefix, *out);
}

std::shared_ptr<Note> NoteUrl::fromString(const std::string& url)
{
    NoteUrlForm::Rebuild rebuild;
    for (const std::string& piece : split_i(url, '&')) {
        if (piece.empty())
            continue;
        const std::vector<std::string> parts = split_i(piece, '=');
        if (parts.size() > 2) {
            NoteUrlForm::fail("NoteUrl::fromString(): badly formatted key/value pair '%s' has %zu "
                              "parts instead of 1 or 2 in url '%s'",
                              piece.c_str(), parts.size(), url.c_str());
            return nullptr;
        }
        if (parts[0].empty()) {
            NoteUrlForm::fail("NoteUrl::fromString(): missing name in key/value pair '%s' in url "
                              "'%s'",
                              piece.c_str(), url.c_str());
            return nullptr;
        }
        NoteUrlForm::Pair pair{std::string(), std::string(), parts.size() == 2};
        if (!UrlCodec::decode(parts[0], &pair.key)) {
            NoteUrlForm::fail("NoteUrl::fromString(): failed to decode name '%s'",
                              parts[0].c_str());
            return nullptr;
        }
        if (pair.hasValue && !UrlCodec::decode(parts[1], &pair.value)) {
            NoteUrlForm::fail("NoteUrl::fromString(): failed to decode value '%s'",
                              parts[1].c_str());
            return nullptr;
        }
        if (!NoteUrlForm::apply(kQuery, rebuild, pair, url))
            return nullptr;
    }
    return rebuild.root;
}

} // namespace Director
} // namespace Kapi

// Flattening notes into URL pairs and rebuilding them pair by pair; shared by the query and the
// path forms, which differ only in their separators, codec and messages.
#include "kapi/director/NoteUrlForm.h"

#include "kapi/StringUtil.h"
#include "kapi/director/NoteUrl.h"
#include "kapi/vLog.h"

#include <cstdarg>
#include <vector>

namespace Kapi {
namespace Director {
namespace NoteUrlForm {

namespace {

void startPair_i(const Syntax& syntax, std::string& out)
{
    if (!out.empty() && out.back() != syntax.separator)
        out.push_back(syntax.separator);
}

void writePair_i(const Syntax& syntax, const std::string& key, const std::string& value,
                 std::string& out)
{
    startPair_i(syntax, out);
    out += key;
    out.push_back(syntax.joiner);
    out += value.empty() ? std::string(syntax.emptyValue) : syntax.encode(value);
}

std::string join_i(const std::string& prefix, const std::string& part)
{
    return prefix.empty() ? part : prefix + "." + part;
}

std::vector<std::string> splitAtDots_i(const std::string& key)
{
    std::vector<std::string> parts;
    size_t start = 0;
    for (;;) {
        const size_t dot = key.find('.', start);
        parts.push_back(key.substr(start, dot - start));
        if (dot == std::string::npos)
            return parts;
        start = dot + 1;
    }
}

} // namespace

bool fail(const char* format, ...)
{
    if (vLogLevelEnabled(VLOGSRC_KAPI_DIRECTOR, VLOG_ERROR)) {
        va_list args;
        va_start(args, format);
        vLogMessageVar(VLOGSRC_KAPI_DIRECTOR, VLOG_ERROR, format, args);
        va_end(args);
    }
    return false;
}

void flatten(const Syntax& syntax, const Note& note, const std::string& prefix, std::string& out)
{
    startPair_i(syntax, out);
    if (!prefix.empty() && note.getType().empty() && note.empty()) {
        out += prefix;
        out += syntax.emptyNoteSuffix;
        return;
    }
    if (!note.getType().empty())
        writePair_i(syntax, join_i(prefix, "_type"), note.getType(), out);
    const std::string* previous = nullptr;
    int index = 0;
    for (const auto& [name, value] : note.entries()) {
        index = (previous && *previous == name) ? index + 1 : 0;
        previous = &name;
        const std::string key = join_i(prefix, syntax.encode(name));
        if (value.note)
            flatten(syntax, *value.note, StringUtil::newPrintf("%s.%i", key.c_str(), index), out);
        else
            writePair_i(syntax, key, value.str, out);
    }
}

bool apply(const Syntax& syntax, Rebuild& rebuild, const Pair& pair, const std::string& url)
{
    const std::string& key = pair.key;
    if (!key.empty() && key.back() == '.')
        return fail("%spath '%s' ends with a dot!", syntax.who, key.c_str());
    const std::vector<std::string> parts = splitAtDots_i(key);
    const int nParts = static_cast<int>(parts.size());
    const bool even = nParts % 2 == 0;
    const int pathParts = even ? nParts : nParts - 1;
    if (static_cast<unsigned>(pathParts / 2) >= Note::kMaxDepth)
        return fail("NoteUrl::findNoteByPath(): path '%s' is nested deeper than %u levels",
                    key.c_str(), Note::kMaxDepth);
    // One (name, index) step at a time, from the longest prefix already resolved.
    std::shared_ptr<Note> target = rebuild.root;
    std::string prefix;
    for (int i = 0; i < pathParts; i += 2) {
        if (i > 0)
            prefix.push_back('.');
        prefix += parts[i];
        prefix.push_back('.');
        prefix += parts[i + 1];
        auto known = rebuild.resolved.find(prefix);
        if (known != rebuild.resolved.end()) {
            target = known->second;
            continue;
        }
        std::shared_ptr<Note> next;
        if (!NoteUrl::findNoteByPath(target, &parts[i], 2, key, &next))
            return false;
        target = next;
        rebuild.resolved.emplace(prefix, std::move(next));
    }
    if (even) {
        if (pair.hasValue)
            return fail("%s even-length path '%s' in url '%s' has a value, but even-length paths "
                        "just create a note.",
                        syntax.who, key.c_str(), url.c_str());
        return true;
    }
    const std::string& name = parts.back();
    if (name == "_type") {
        if (!rebuild.typed.insert(target.get()).second)
            return fail("%s more than one _type '%s' in url '%s'", syntax.who, key.c_str(),
                        url.c_str());
        target->setType(pair.value);
    } else {
        target->add(name, pair.value);
    }
    return true;
}

} // namespace NoteUrlForm

bool NoteUrl::findNoteByPath(const std::shared_ptr<Note>& root, const std::string* parts,
                             int nParts, const std::string& path, std::shared_ptr<Note>* note)
{
    if (nParts % 2 != 0)
        return NoteUrlForm::fail("NoteUrl::findNoteByPath(): nParts must be even. nParts is %i",
                                 nParts);
    if (static_cast<unsigned>(nParts / 2) >= Note::kMaxDepth)
        return NoteUrlForm::fail("NoteUrl::findNoteByPath(): path '%s' is nested deeper than %u "
                                 "levels",
                                 path.c_str(), Note::kMaxDepth);
    std::shared_ptr<Note> current = root;
    for (int i = 0; i < nParts; i += 2) {
        const std::string& name = parts[i];
        const std::string& indexText = parts[i + 1];
        if (name.empty() || indexText.empty())
            return NoteUrlForm::fail("NoteUrl::findNoteByPath(): empty part in path '%s'",
                                     path.c_str());
        int32 index = 0;
        if (!StringUtil::asInteger32(indexText, index, 10) || index < 0)
            return NoteUrlForm::fail("NoteUrl::findNoteByPath(): can't parse index part '%s' as "
                                     "integer in path '%s'",
                                     indexText.c_str(), path.c_str());
        const int count = static_cast<int>(current->count(name));
        if (index == count) {
            std::shared_ptr<Note> created = Note::create();
            current->add(name, created);
            current = std::move(created);
            continue;
        }
        if (index > count)
            return NoteUrlForm::fail("NoteUrl::findNoteByPath(): index %s is too big. '%s' only "
                                     "has %i values so far, so index must be less than or equal "
                                     "to that in path '%s'",
                                     indexText.c_str(), name.c_str(), count, path.c_str());
        std::shared_ptr<Note> existing;
        if (!current->getNote(name, static_cast<unsigned>(index), &existing))
            return NoteUrlForm::fail("NoteUrl::findNoteByPath(): can't get %s[%i] as a note in "
                                     "path '%s'",
                                     name.c_str(), index, path.c_str());
        current = std::move(existing);
    }
    *note = std::move(current);
    return true;
}

} // namespace Director
} // namespace Kapi

// The configuration store: parsing of the INI-like text, its text form and the getters.
// Sections and keys live in multimaps whose equal keys keep insertion (text) order; `current`
// is set only for the duration of fromStringVector().
#include "kapi/vConfig.h"

#include "kapi/Address.h"
#include "kapi/FileUtil.h"
#include "kapi/StringUtil.h"
#include "kapi/vLog.h"

#include <iterator>

namespace Kapi {

namespace {

// Integers in the configuration follow C rules so that "0x..." pointers read back.
constexpr int kIntegerBase = 0;

// The common frame of the typed getters: `out` starts as the default, the raw text is fetched
// with an empty default, an empty text keeps the default, and a text that does not convert
// restores the default and fails.
template <typename T, typename Convert>
bool getConverted(const vConfig::vSection& section, const std::string& key, T& out,
                  const T& defaultValue, Convert convert)
{
    out = defaultValue;
    std::string text;
    if (!section.getSingleValue(key, text, std::string()))
        return false;
    if (text.empty())
        return true;
    if (!convert(text, out)) {
        out = defaultValue;
        return false;
    }
    return true;
}

bool convertBoolean(const std::string& text, bool& out)
{
    if (text == "1" || StringUtil::equals(text, "true", true)) {
        out = true;
        return true;
    }
    if (text == "0" || StringUtil::equals(text, "false", true)) {
        out = false;
        return true;
    }
    return false;
}

void appendEntries(const vConfig::vSection& section, std::string& out)
{
    for (const auto& entry : section) {
        out += entry.first;
        out += " = ";
        out += entry.second;
        out += '\n';
    }
}

} // namespace

// ---------------------------------------------------------------------------------------------
// vSection

vConfig::vSection::~vSection() = default;

bool vConfig::vSection::getSingleValue(const std::string& key, std::string& out,
                                       const std::string& defaultValue) const
{
    const auto range = equal_range(key);
    if (range.first == range.second) {
        out = defaultValue;
        return true;
    }
    if (std::next(range.first) != range.second)
        return false;
    out = range.first->second;
    return true;
}

bool vConfig::vSection::getSingleBooleanValue(const std::string& key, bool& out,
                                              bool defaultValue) const
{
    return getConverted(*this, key, out, defaultValue, convertBoolean);
}

bool vConfig::vSection::getSingleIntegerValue(const std::string& key, int& out,
                                              int defaultValue) const
{
    return getConverted(*this, key, out, defaultValue, [](const std::string& text, int& value) {
        int32 converted = 0;
        if (!StringUtil::asInteger32(text, converted, kIntegerBase))
            return false;
        value = converted;
        return true;
    });
}

bool vConfig::vSection::getSingleInteger64Value(const std::string& key, int64& out,
                                                int64 defaultValue) const
{
    return getConverted(*this, key, out, defaultValue, [](const std::string& text, int64& value) {
        return StringUtil::asInteger64(text, value, kIntegerBase);
    });
}

bool vConfig::vSection::getSingleUInteger32Value(const std::string& key, uint32& out,
                                                 uint32 defaultValue) const
{
    return getConverted(*this, key, out, defaultValue, [](const std::string& text, uint32& value) {
        return StringUtil::asUInteger32(text, value, kIntegerBase);
    });
}

bool vConfig::vSection::getSingleUInteger16Value(const std::string& key, uint16& out,
                                                 uint16 defaultValue) const
{
    return getConverted(*this, key, out, defaultValue, [](const std::string& text, uint16& value) {
        return StringUtil::asUInteger16(text, value, kIntegerBase);
    });
}

bool vConfig::vSection::getSingleUInteger32WithScaleValue(const std::string& key, uint32& out,
                                                          uint32 defaultValue) const
{
    return getConverted(*this, key, out, defaultValue, [](const std::string& text, uint32& value) {
        return StringUtil::asUInteger32WithScale(text, value, kIntegerBase);
    });
}

bool vConfig::vSection::getSingleAddressValue(const std::string& key, Address& out,
                                              const Address& defaultValue) const
{
    return getConverted(*this, key, out, defaultValue, [](const std::string& text, Address& value) {
        Address parsed(text);
        if (!parsed.isValid())
            return false;
        value = parsed;
        return true;
    });
}

void vConfig::vSection::getValues(const std::string& key, StringVector& out) const
{
    out.clear();
    const auto range = equal_range(key);
    for (auto it = range.first; it != range.second; ++it)
        out.push_back(it->second);
}

void vConfig::vSection::getNames(std::set<std::string>& out) const
{
    out.clear();
    for (const auto& entry : *this)
        out.insert(out.end(), entry.first);
}

bool vConfig::vSection::setSingleValue(const std::string& key, const std::string& value)
{
    const auto range = equal_range(key);
    if (range.first == range.second) {
        emplace(key, value);
        return true;
    }
    if (std::next(range.first) != range.second)
        return false;
    range.first->second = value;
    return true;
}

// ---------------------------------------------------------------------------------------------
// vConfig: parsing and text form

vConfig::vConfig(const vConfig& other)
    : global(other.global), sections(other.sections), mErrorLine(other.mErrorLine),
      mErrorText(other.mErrorText)
{
}

vConfig& vConfig::operator=(const vConfig& other)
{
    if (this != &other) {
        current = nullptr;
        global = other.global;
        sections = other.sections;
        mErrorLine = other.mErrorLine;
        mErrorText = other.mErrorText;
    }
    return *this;
}

vConfig::~vConfig() = default;

bool vConfig::fromString(const std::string& text)
{
    return fromStringVector(StringVector::split(text, '\n'));
}

bool vConfig::fromFile(const std::string& path)
{
    StringVector lines;
    if (!FileUtil::toStringVector(path, lines)) {
        mErrorLine = 0;
        mErrorText.clear();
        return false;
    }
    return fromStringVector(lines);
}

bool vConfig::fromStringVector(const StringVector& lines)
{
    global.clear();
    sections.clear();
    mErrorLine = 0;
    mErrorText.clear();
    current = &global;

    int number = 0;
    for (const std::string& line : lines) {
        ++number;
        if (!processLine(line)) {
            current = nullptr;
            mErrorLine = number;
            mErrorText = line;
            if (vLogLevelEnabled(VLOGSRC_MISC_SYSTEM, VLOG_WARNING))
                vLogMessage(VLOGSRC_MISC_SYSTEM, VLOG_WARNING, "trouble parsing line #%d '%s'\n",
                            number, line.c_str());
            return false;
        }
    }
    current = nullptr;
    return true;
}

bool vConfig::processLine(const std::string& rawLine)
{
    const std::string line = StringUtil::trimWhiteSpace(rawLine);
    if (line.empty())
        return true;

    // A "[" line without the closing "]" falls through to the key rule below.
    if (line.size() >= 2 && line.front() == '[' && line.back() == ']') {
        const std::string name = line.substr(1, line.size() - 2);
        if (name.empty())
            return false;
        current = &sections.emplace(name, vSection())->second;
        return true;
    }

    if (line.front() == '#')
        return true;

    const std::string::size_type equals = line.find('=');
    if (equals == std::string::npos)
        return false;
    const std::string key = StringUtil::trimTailWhiteSpace(line.substr(0, equals));
    if (key.empty())
        return false;
    current->emplace(key, StringUtil::trimHeadWhiteSpace(line.substr(equals + 1)));
    return true;
}

std::string vConfig::toString() const
{
    std::string out;
    appendEntries(global, out);
    for (const auto& section : sections) {
        out += "\n[";
        out += section.first;
        out += "]\n";
        appendEntries(section.second, out);
    }
    return out;
}

// ---------------------------------------------------------------------------------------------
// vConfig: lookups

bool vConfig::getSingleSection(const std::string& name, const vSection*& out) const
{
    if (name.empty()) {
        out = &global;
        return true;
    }
    const auto range = sections.equal_range(name);
    if (range.first == range.second || std::next(range.first) != range.second)
        return false;
    out = &range.first->second;
    return true;
}

namespace {

// A section that holds nothing, standing in for a missing or ambiguous one so that every
// getter gives its default with success.
const vConfig::vSection& emptySection()
{
    static const vConfig::vSection s_empty;
    return s_empty;
}

const vConfig::vSection& sectionOrEmpty(const vConfig& config, const std::string& name)
{
    const vConfig::vSection* section = nullptr;
    return config.getSingleSection(name, section) ? *section : emptySection();
}

} // namespace

bool vConfig::getSingleValue(const std::string& section, const std::string& key, std::string& out,
                             const std::string& defaultValue) const
{
    return sectionOrEmpty(*this, section).getSingleValue(key, out, defaultValue);
}

bool vConfig::getSingleBooleanValue(const std::string& section, const std::string& key, bool& out,
                                    bool defaultValue) const
{
    return sectionOrEmpty(*this, section).getSingleBooleanValue(key, out, defaultValue);
}

bool vConfig::getSingleIntegerValue(const std::string& section, const std::string& key, int& out,
                                    int defaultValue) const
{
    return sectionOrEmpty(*this, section).getSingleIntegerValue(key, out, defaultValue);
}

bool vConfig::getSingleInteger64Value(const std::string& section, const std::string& key,
                                      int64& out, int64 defaultValue) const
{
    return sectionOrEmpty(*this, section).getSingleInteger64Value(key, out, defaultValue);
}

bool vConfig::getSingleUInteger32Value(const std::string& section, const std::string& key,
                                       uint32& out, uint32 defaultValue) const
{
    return sectionOrEmpty(*this, section).getSingleUInteger32Value(key, out, defaultValue);
}

bool vConfig::getSingleUInteger16Value(const std::string& section, const std::string& key,
                                       uint16& out, uint16 defaultValue) const
{
    return sectionOrEmpty(*this, section).getSingleUInteger16Value(key, out, defaultValue);
}

bool vConfig::getSingleUInteger32WithScaleValue(const std::string& section, const std::string& key,
                                                uint32& out, uint32 defaultValue) const
{
    return sectionOrEmpty(*this, section).getSingleUInteger32WithScaleValue(key, out, defaultValue);
}

bool vConfig::getSingleAddressValue(const std::string& section, const std::string& key,
                                    Address& out, const Address& defaultValue) const
{
    return sectionOrEmpty(*this, section).getSingleAddressValue(key, out, defaultValue);
}

bool vConfig::getValues(const std::string& section, const std::string& key, StringVector& out) const
{
    out.clear();
    const vSection* found = nullptr;
    if (!getSingleSection(section, found))
        return false;
    found->getValues(key, out);
    return true;
}

bool vConfig::getSections(const std::string& name, std::vector<const vSection*>& out) const
{
    out.clear();
    if (name.empty()) {
        out.push_back(&global);
        return true;
    }
    const auto range = sections.equal_range(name);
    for (auto it = range.first; it != range.second; ++it)
        out.push_back(&it->second);
    return !out.empty();
}

bool vConfig::setSingleValue(const std::string& section, const std::string& key,
                             const std::string& value)
{
    if (section.empty())
        return global.setSingleValue(key, value);
    const auto range = sections.equal_range(section);
    if (range.first == range.second)
        return sections.emplace(section, vSection())->second.setSingleValue(key, value);
    if (std::next(range.first) != range.second)
        return false;
    return range.first->second.setSingleValue(key, value);
}

} // namespace Kapi

// StringVector: a std::vector<std::string> with the joined, JSON and split text forms. The
// strings are held as given (any bytes, embedded NULs included); nothing is normalised.
#include "kapi/StringVector.h"

#include "kapi/StringUtil.h"

namespace Kapi {

std::string StringVector::join(const std::string& separator) const
{
    std::string result;
    for (size_t i = 0; i < size(); ++i) {
        if (i != 0)
            result += separator;
        result += (*this)[i];
    }
    return result;
}

std::string StringVector::toJsonString() const
{
    std::string result = "[ ";
    for (size_t i = 0; i < size(); ++i) {
        if (i != 0)
            result += ", ";
        result += StringUtil::makeJsonString((*this)[i]);
    }
    result += " ]";
    return result;
}

StringVector StringVector::split(const std::string& text, char separator)
{
    StringVector result;
    if (text.empty())
        return result;
    size_t start = 0;
    for (;;) {
        const size_t at = text.find(separator, start);
        if (at == std::string::npos) {
            result.push_back(text.substr(start));
            return result;
        }
        result.push_back(text.substr(start, at - start));
        start = at + 1;
    }
}

int StringVector::compareTo(const StringVector& other) const
{
    const size_t common = size() < other.size() ? size() : other.size();
    for (size_t i = 0; i < common; ++i) {
        const int c = StringUtil::compareTo((*this)[i], other[i]);
        if (c != 0)
            return c;
    }
    if (size() == other.size())
        return 0;
    return size() < other.size() ? -1 : 1;
}

} // namespace Kapi

#ifndef KAPI_STRINGVECTOR_H
#define KAPI_STRINGVECTOR_H
// An ordered list of strings with the text forms the rest of the library uses.
#include <string>
#include <vector>

namespace Kapi {

class StringVector : public std::vector<std::string>
{
public:
    StringVector() = default;
    StringVector(std::initializer_list<std::string> items) : std::vector<std::string>(items) {}

    // The strings joined with `separator`.
    std::string join(const std::string& separator) const;
    // "[ " + quoted strings joined with ", " + " ]"; "[  ]" when empty.
    std::string toJsonString() const;
    // Splits `text` at every occurrence of `separator` (empty pieces kept); an empty text
    // gives an empty vector.
    static StringVector split(const std::string& text, char separator);
    // Negative, zero or positive: element by element byte-wise, then by length.
    int compareTo(const StringVector& other) const;
};

} // namespace Kapi

#endif

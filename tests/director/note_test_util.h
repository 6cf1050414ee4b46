#ifndef KELO_TESTS_DIRECTOR_NOTE_TEST_UTIL_H
#define KELO_TESTS_DIRECTOR_NOTE_TEST_UTIL_H
// Helpers for the note tests: byte strings from lists, and notes generated from a seed so that a
// failing round trip can be replayed.
#include "kapi/director/Note.h"

#include <random>
#include <string>

namespace NoteTest {

using Kapi::Director::Note;
using NotePtr = std::shared_ptr<Note>;

inline std::string bytes(std::initializer_list<int> list)
{
    std::string out;
    for (int b : list)
        out.push_back(static_cast<char>(b));
    return out;
}

inline std::string hex(const std::string& data)
{
    static const char digits[] = "0123456789abcdef";
    std::string out;
    for (unsigned char c : data) {
        if (!out.empty())
            out.push_back(' ');
        out.push_back(digits[c >> 4]);
        out.push_back(digits[c & 15]);
    }
    return out;
}

// Which bytes generated strings may hold: any byte; any byte but NUL; or only what XML text
// can carry (printable ASCII, tab, newline, some UTF-8).
enum class Alphabet
{
    Binary,
    NoNul,
    XmlText
};

class NoteGenerator
{
public:
    NoteGenerator(unsigned seed, Alphabet alphabet) : m_random(seed), m_alphabet(alphabet) {}

    NotePtr note(unsigned maxDepth = 4)
    {
        NotePtr n = Note::create(chance(3) ? std::string() : text(12));
        const unsigned names = uniform(0, 6);
        for (unsigned i = 0; i < names; ++i) {
            const std::string entryName = name();
            const unsigned values = chance(2) ? 1 : uniform(2, 4);
            for (unsigned v = 0; v < values; ++v) {
                if (maxDepth > 1 && chance(4))
                    n->add(entryName, note(maxDepth - 1));
                else
                    n->add(entryName, chance(5) ? std::string() : text(30));
            }
        }
        return n;
    }

    // XML names that are also usable as URL keys: no dots, never "_type".
    std::string name()
    {
        static const char first[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_";
        static const char rest[] = "abcdefghijklmnopqrstuvwxyz0123456789-_";
        std::string out(1, first[uniform(0, sizeof first - 2)]);
        const unsigned length = uniform(0, 8);
        for (unsigned i = 0; i < length; ++i)
            out.push_back(rest[uniform(0, sizeof rest - 2)]);
        return out == "_type" ? "type_" : out;
    }

    std::string text(unsigned maxLength)
    {
        std::string out;
        const unsigned length = uniform(1, maxLength);
        while (out.size() < length) {
            switch (m_alphabet) {
            case Alphabet::Binary:
                out.push_back(static_cast<char>(uniform(0, 255)));
                break;
            case Alphabet::NoNul:
                out.push_back(static_cast<char>(uniform(1, 255)));
                break;
            case Alphabet::XmlText: {
                static const char* const pieces[] = {
                    "a",  "Z", "9", " ", "<", ">", "&", "'",        "\"",           "\t",
                    "\n", "=", "%", "*", "+", "/", ".", "\xc3\xa9", "\xe2\x82\xac", "]]>"};
                out += pieces[uniform(0, sizeof pieces / sizeof pieces[0] - 1)];
                break;
            }
            }
        }
        return out;
    }

    unsigned uniform(unsigned low, unsigned high)
    {
        return std::uniform_int_distribution<unsigned>(low, high)(m_random);
    }
    bool chance(unsigned oneIn) { return uniform(1, oneIn) == 1; }

private:
    std::mt19937 m_random;
    Alphabet m_alphabet;
};

} // namespace NoteTest

#endif

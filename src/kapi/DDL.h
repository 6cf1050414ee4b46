#ifndef KAPI_DDL_H
#define KAPI_DDL_H
/*
 * Name/value tables of the enumerations that travel as text.
 *
 * An enumeration is described by two constant arrays of equal length: `StringToValue` rows
 * {name, value} sorted by name (byte-wise, no name twice), and `ValueToIndex` rows {value,
 * index of that value's row in the first array} sorted by value, plus the type name used in
 * messages. Several names may share a value; then each has its own by-value row, and the
 * name printed for the value is that of the first by-value row of the value (for an
 * `Enumeration`, the name listed first).
 *
 * `Kapi::Enumeration` builds both arrays from one unordered list of pairs, at compile time
 * when declared constexpr (an inconsistent list, such as a repeated name, is then a compile
 * error naming DDL::reportInconsistentTable). A protocol enumeration declares its pair
 * functions like this:
 *
 *     enum GoodbyeReason { GOODBYE_NORMAL = 0, GOODBYE_KICKED = 1, GOODBYE_TIMEOUT = 2 };
 *
 *     // In one .cpp (or as `inline constexpr` in a header):
 *     constexpr Kapi::Enumeration kGoodbyeReason("GoodbyeReason", {
 *         {"NORMAL", GOODBYE_NORMAL},
 *         {"KICKED", GOODBYE_KICKED},
 *         {"TIMEOUT", GOODBYE_TIMEOUT},
 *     });
 *
 *     bool parseE(const std::string& text, GoodbyeReason& out)
 *     {
 *         return kGoodbyeReason.parse(text, out);
 *     }
 *     bool printE(GoodbyeReason value, std::string& out)
 *     {
 *         return kGoodbyeReason.print(value, out);
 *     }
 *
 * A scoped enumeration writes its values as static_cast<int>(E::X) in the list. Everything
 * here is stateless and safe from any thread.
 */
#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <type_traits>

namespace Kapi {

namespace DDL {

struct StringToValue
{
    const char* name;
    int value;
};

struct ValueToIndex
{
    int value;
    unsigned index;
};

// Exact, case-sensitive binary search of `text` among the names. Found: `out` = the value,
// true. Otherwise false and `out` unchanged.
bool parseEnum(const std::string& text, const StringToValue* rows, unsigned count, int& out);

// Binary search of `value` in `byValue`. Found: `out` = its name, true. Otherwise `out` = the
// value in decimal, info "Invalid value for %s: %d" (source kapi_ddl) with `typeName`, false.
bool printEnum(int value, const char* typeName, const ValueToIndex* byValue,
               const StringToValue* rows, unsigned count, std::string& out);

// Called when a table fails tablesAreConsistent() while an Enumeration is built. Not
// constexpr on purpose: reaching it in a constant expression stops the compilation; at run
// time it logs an error naming the type.
void reportInconsistentTable(const char* typeName);

// The debug check of a pair of tables: names present and strictly increasing, values
// non-decreasing, every index in range, pointing at a row of the same value, and used once.
constexpr bool tablesAreConsistent(const StringToValue* rows, const ValueToIndex* byValue,
                                   unsigned count)
{
    for (unsigned i = 0; i < count; ++i) {
        if (rows[i].name == nullptr)
            return false;
        if (i > 0 && std::string_view(rows[i - 1].name) >= std::string_view(rows[i].name))
            return false;
    }
    for (unsigned i = 0; i < count; ++i) {
        const ValueToIndex& row = byValue[i];
        if (i > 0 && byValue[i - 1].value > row.value)
            return false;
        if (row.index >= count || rows[row.index].value != row.value)
            return false;
        // Equal values sit next to each other, so a repeated index can only be in this run.
        for (unsigned j = i; j > 0 && byValue[j - 1].value == row.value; --j)
            if (byValue[j - 1].index == row.index)
                return false;
    }
    return true;
}

} // namespace DDL

// Both tables of one enumeration, sorted from an unordered list of pairs. Immutable once
// built; parse/print are the DDL searches over its arrays.
template <std::size_t N> class Enumeration
{
public:
    constexpr Enumeration(const char* typeName, const DDL::StringToValue (&pairs)[N])
        : mTypeName(typeName), mByName(), mByValue()
    {
        std::array<std::size_t, N> listed{}; // listed[i]: list position of mByName[i]
        for (std::size_t i = 0; i < N; ++i) {
            mByName[i] = pairs[i];
            listed[i] = i;
        }
        sortByName_i(listed);
        // By-value rows in list order, so that after the stable sort the first row of a value
        // is the name listed first.
        for (std::size_t position = 0; position < N; ++position)
            for (std::size_t i = 0; i < N; ++i)
                if (listed[i] == position)
                    mByValue[position] =
                        DDL::ValueToIndex{mByName[i].value, static_cast<unsigned>(i)};
        sortByValue_i();
        if (!isConsistent())
            DDL::reportInconsistentTable(typeName);
    }

    bool parse(const std::string& text, int& out) const
    {
        return DDL::parseEnum(text, mByName.data(), size(), out);
    }

    bool print(int value, std::string& out) const
    {
        return DDL::printEnum(value, mTypeName, mByValue.data(), mByName.data(), size(), out);
    }

    template <typename E>
    requires std::is_enum_v<E>
    bool parse(const std::string& text, E& out) const
    {
        int value = 0;
        if (!parse(text, value))
            return false;
        out = static_cast<E>(value);
        return true;
    }

    template <typename E>
    requires std::is_enum_v<E>
    bool print(E value, std::string& out) const { return print(static_cast<int>(value), out); }

    constexpr const char* typeName() const { return mTypeName; }
    constexpr unsigned size() const { return static_cast<unsigned>(N); }
    constexpr const DDL::StringToValue* byName() const { return mByName.data(); }
    constexpr const DDL::ValueToIndex* byValue() const { return mByValue.data(); }
    constexpr bool isConsistent() const
    {
        return DDL::tablesAreConsistent(mByName.data(), mByValue.data(), size());
    }

private:
    // Insertion sorts: stable, constexpr, and the tables are small.
    constexpr void sortByName_i(std::array<std::size_t, N>& listed)
    {
        for (std::size_t i = 1; i < N; ++i) {
            const DDL::StringToValue row = mByName[i];
            const std::size_t position = listed[i];
            std::size_t j = i;
            for (; j > 0 && nameBefore_i(row.name, mByName[j - 1].name); --j) {
                mByName[j] = mByName[j - 1];
                listed[j] = listed[j - 1];
            }
            mByName[j] = row;
            listed[j] = position;
        }
    }

    constexpr void sortByValue_i()
    {
        for (std::size_t i = 1; i < N; ++i) {
            const DDL::ValueToIndex row = mByValue[i];
            std::size_t j = i;
            for (; j > 0 && row.value < mByValue[j - 1].value; --j)
                mByValue[j] = mByValue[j - 1];
            mByValue[j] = row;
        }
    }

    static constexpr bool nameBefore_i(const char* a, const char* b)
    {
        // A missing name sorts first; tablesAreConsistent() then rejects the table.
        if (a == nullptr || b == nullptr)
            return a == nullptr && b != nullptr;
        return std::string_view(a) < std::string_view(b);
    }

    const char* mTypeName;
    std::array<DDL::StringToValue, N> mByName;
    std::array<DDL::ValueToIndex, N> mByValue;
};

} // namespace Kapi

#endif

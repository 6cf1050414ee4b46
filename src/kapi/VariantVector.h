#ifndef KAPI_VARIANTVECTOR_H
#define KAPI_VARIANTVECTOR_H
// VariantVector: an ordered list of Variants (a std::vector, so every vector operation
// applies). The typed getters convert one element as Variant::as...() does; an index past
// the end converts as Undefined (0, false, "", empty).
//
// Text forms: toString() joins the elements' texts with ","; parse() splits at "," into
// String elements (so an element whose text holds a comma does not survive the round
// trip). JSON: "[ " + elements joined with ", " + " ]" ("[  ]" when empty).
#include "kapi/Variant.h"

#include <string>
#include <vector>

namespace Kapi {

class VariantVector : public std::vector<Variant>
{
public:
    using std::vector<Variant>::vector;
    VariantVector() = default;

    std::string getValueAsString(size_t index) const;
    StringVector getValueAsStringVector(size_t index) const;
    int32 getValueAsInteger32(size_t index) const;
    int64 getValueAsInteger64(size_t index) const;
    bool getValueAsBoolean(size_t index) const;

    // Element-wise conversions. From: int32 -> Integer32; uint32 -> Integer32 when it fits
    // in 32 signed bits, else Integer64; strings -> String. To: asInteger32() per element;
    // uint32 takes the low 32 bits of asInteger64(); asString() per element.
    static VariantVector fromInt32Vector(const std::vector<int32>& values);
    static VariantVector fromUInt32Vector(const std::vector<uint32>& values);
    static VariantVector fromStringVector(const StringVector& values);
    std::vector<int32> toInt32Vector() const;
    std::vector<uint32> toUInt32Vector() const;
    StringVector toStringVector() const;

    void append(const Variant& value) { push_back(value); }
    void append(Variant&& value) { push_back(std::move(value)); }
    // Every element of `other`, in order.
    void append(const VariantVector& other);

    // Reads toString()'s form into `out` (cleared first); an empty text gives an empty
    // vector. Always true.
    static bool parse(const std::string& text, VariantVector& out);
    // withTypes as Variant::toString(bool): elements written with their type names.
    std::string toString(bool withTypes = false) const;
    std::string toJsonString() const;
    // Appends toJsonString() to `out`.
    void appendJsonString(std::string& out) const;

    // Negative, zero or positive: element by element, then by length.
    int compareTo(const VariantVector& other) const;
};

} // namespace Kapi

#endif

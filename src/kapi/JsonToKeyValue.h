#ifndef KAPI_JSONTOKEYVALUE_H
#define KAPI_JSONTOKEYVALUE_H
// JsonToKeyValue: builds Variants from the JsonParser callbacks. Objects become Map values,
// arrays Array values, strings String, true/false Boolean, null Undefined. A number whose
// text has a '.' becomes Double; any other number converts to int64 and is stored as
// Integer32 when it fits in 32 signed bits, else as Integer64; a number outside the int64
// range (for example 1e300, or inf/nan as strtod reads them) stays a Double.
//
// Representation: a stack of open containers, each with the member name waiting for its
// value, and the last finished value. The stack owns everything it holds, so a failed
// parse releases it all with the object. One parse per object.
#include "kapi/JsonParser.h"
#include "kapi/KeyValueMap.h"

#include <string>
#include <vector>

namespace Kapi {

class JsonToKeyValue : public JsonParser
{
public:
    explicit JsonToKeyValue(const char* text);
    ~JsonToKeyValue() override;

    // After a successful parse(): true when the top-level value is an object, which is then
    // moved into `out`; `out` is left unchanged otherwise.
    bool finish(KeyValueMap& out);
    // After a successful parse(): the top-level value, whatever its type.
    const Variant& getValue() const { return mValue; }
    Variant& getValue() { return mValue; }

protected:
    void gotBoolean(bool value) override;
    void gotNull() override;
    void gotNumber(double value, bool isFloat) override;
    void gotString(const char* value) override;
    void arrayBegin() override;
    void arrayEnd() override;
    void arrayNewItem(int index) override;
    void objectBegin() override;
    void objectEnd() override;
    void objectNewField() override;

private:
    struct Frame
    {
        Variant container; // Array or Map
        std::string name;  // member name awaiting its value (objects only)
        bool haveName = false;
    };

    void endContainer_i();

    std::vector<Frame> mStack;
    Variant mValue;
};

} // namespace Kapi

#endif

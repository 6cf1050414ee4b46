// DDL: the two binary searches over an enumeration's tables (layout and invariants in DDL.h).
// Both searches are lower bounds, so with several names for one value printEnum finds the
// first by-value row of that value.
#include "kapi/DDL.h"

#include "kapi/StringUtil.h"
#include "kapi/vLog.h"

namespace Kapi {
namespace DDL {

bool parseEnum(const std::string& text, const StringToValue* rows, unsigned count, int& out)
{
    // string_view keeps the comparison length-aware: "A\0B" must not match "A".
    const std::string_view wanted(text);
    unsigned low = 0;
    unsigned high = count;
    while (low < high) {
        const unsigned middle = low + (high - low) / 2;
        if (std::string_view(rows[middle].name) < wanted)
            low = middle + 1;
        else
            high = middle;
    }
    if (low == count || wanted != rows[low].name)
        return false;
    out = rows[low].value;
    return true;
}

bool printEnum(int value, const char* typeName, const ValueToIndex* byValue,
               const StringToValue* rows, unsigned count, std::string& out)
{
    unsigned low = 0;
    unsigned high = count;
    while (low < high) {
        const unsigned middle = low + (high - low) / 2;
        if (byValue[middle].value < value)
            low = middle + 1;
        else
            high = middle;
    }
    if (low < count && byValue[low].value == value) {
        out = rows[byValue[low].index].name;
        return true;
    }
    out = StringUtil::toString(value);
    if (vLogLevelEnabled(VLOGSRC_KAPI_DDL, VLOG_INFO))
        vLogMessage(VLOGSRC_KAPI_DDL, VLOG_INFO, "Invalid value for %s: %d",
                    typeName != nullptr ? typeName : "", value);
    return false;
}

void reportInconsistentTable(const char* typeName)
{
    if (vLogLevelEnabled(VLOGSRC_KAPI_DDL, VLOG_ERROR))
        vLogMessage(VLOGSRC_KAPI_DDL, VLOG_ERROR,
                    "Enumeration table for %s is not sorted or not consistent",
                    typeName != nullptr ? typeName : "(unnamed)");
}

} // namespace DDL
} // namespace Kapi

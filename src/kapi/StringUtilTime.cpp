// StringUtil time conversions: microseconds since the epoch <-> calendar text, always in UTC
// on the proleptic Gregorian calendar. The calendar arithmetic is done here on 64-bit day
// counts (no timegm/gmtime), so it is thread-safe, independent of TZ and of the width of
// time_t (32 bits on the device), and exact for negative times.
#include "kapi/StringUtil.h"

#include <cstdint>

namespace Kapi {

namespace {

constexpr int64 kMicrosPerSecond = 1000000;
constexpr int64 kSecondsPerDay = 86400;

int64 floorDiv(int64 a, int64 b)
{
    const int64 q = a / b;
    return (a % b != 0 && (a < 0) != (b < 0)) ? q - 1 : q;
}

// Days since 1970-01-01 of a civil date (month 1..12, day 1..31).
int64 daysFromCivil(int64 year, unsigned month, unsigned day)
{
    year -= month <= 2 ? 1 : 0;
    const int64 era = (year >= 0 ? year : year - 399) / 400;
    const unsigned yearOfEra = static_cast<unsigned>(year - era * 400);
    const unsigned dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
    const unsigned dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + static_cast<int64>(dayOfEra) - 719468;
}

struct CivilDate
{
    int64 year;
    unsigned month;
    unsigned day;
};

CivilDate civilFromDays(int64 days)
{
    days += 719468;
    const int64 era = (days >= 0 ? days : days - 146096) / 146097;
    const unsigned dayOfEra = static_cast<unsigned>(days - era * 146097);
    const unsigned yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const unsigned dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const unsigned mp = (5 * dayOfYear + 2) / 153;
    const unsigned day = dayOfYear - (153 * mp + 2) / 5 + 1;
    const unsigned month = mp < 10 ? mp + 3 : mp - 9;
    return CivilDate{static_cast<int64>(yearOfEra) + era * 400 + (month <= 2 ? 1 : 0), month, day};
}

bool isLeapYear(int64 year)
{
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

unsigned daysInMonth(int64 year, unsigned month)
{
    static const unsigned kDays[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && isLeapYear(year) ? 29 : kDays[month - 1];
}

// Reads exactly `count` decimal digits at `pos`.
bool readDigits(const std::string& text, size_t& pos, size_t count, unsigned& value)
{
    if (pos + count > text.size())
        return false;
    unsigned v = 0;
    for (size_t i = 0; i < count; ++i) {
        const char c = text[pos + i];
        if (c < '0' || c > '9')
            return false;
        v = v * 10 + static_cast<unsigned>(c - '0');
    }
    pos += count;
    value = v;
    return true;
}

bool expect(const std::string& text, size_t& pos, char c)
{
    if (pos >= text.size() || text[pos] != c)
        return false;
    ++pos;
    return true;
}

// "YYYY-MM-DD[( |T)HH:MM:SS[.f{1,6}]][Z]".
bool parseCalendar(const std::string& text, long long& out)
{
    size_t pos = 0;
    unsigned year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0, micros = 0;
    if (!readDigits(text, pos, 4, year) || !expect(text, pos, '-') ||
        !readDigits(text, pos, 2, month) || !expect(text, pos, '-') ||
        !readDigits(text, pos, 2, day))
        return false;
    if (pos < text.size() && (text[pos] == ' ' || text[pos] == 'T')) {
        ++pos;
        if (!readDigits(text, pos, 2, hour) || !expect(text, pos, ':') ||
            !readDigits(text, pos, 2, minute) || !expect(text, pos, ':') ||
            !readDigits(text, pos, 2, second))
            return false;
        if (pos < text.size() && text[pos] == '.') {
            ++pos;
            unsigned digits = 0;
            while (pos < text.size() && text[pos] >= '0' && text[pos] <= '9' && digits < 6) {
                micros = micros * 10 + static_cast<unsigned>(text[pos] - '0');
                ++pos;
                ++digits;
            }
            if (digits == 0)
                return false;
            for (; digits < 6; ++digits)
                micros *= 10;
        }
    }
    if (pos < text.size() && text[pos] == 'Z')
        ++pos;
    if (pos != text.size())
        return false;
    if (month < 1 || month > 12 || day < 1 || day > daysInMonth(year, month) || hour > 23 ||
        minute > 59 || second > 59)
        return false;
    const int64 seconds =
        daysFromCivil(year, month, day) * kSecondsPerDay + hour * 3600 + minute * 60 + second;
    out = seconds * kMicrosPerSecond + micros;
    return true;
}

struct Broken
{
    CivilDate date;
    unsigned hour, minute, second, millis;
};

Broken breakDown(long long microseconds)
{
    const int64 seconds = floorDiv(microseconds, kMicrosPerSecond);
    const int64 micros = microseconds - seconds * kMicrosPerSecond;
    const int64 days = floorDiv(seconds, kSecondsPerDay);
    const unsigned inDay = static_cast<unsigned>(seconds - days * kSecondsPerDay);
    return Broken{civilFromDays(days), inDay / 3600, inDay / 60 % 60, inDay % 60,
                  static_cast<unsigned>(micros / 1000)};
}

} // namespace

bool StringUtil::asTime(const std::string& text, long long& out)
{
    if (text.size() >= 5 && text[4] == '-')
        return parseCalendar(text, out);
    int64 seconds = 0;
    if (!asInteger64(text, seconds, 10))
        return false;
    if (seconds > INT64_MAX / kMicrosPerSecond || seconds < INT64_MIN / kMicrosPerSecond)
        return false;
    out = seconds * kMicrosPerSecond;
    return true;
}

std::string StringUtil::timeToString(long long microseconds)
{
    const Broken b = breakDown(microseconds);
    return newPrintf("%04lld-%02u-%02u %02u:%02u:%02u.%03u", static_cast<long long>(b.date.year),
                     b.date.month, b.date.day, b.hour, b.minute, b.second, b.millis);
}

std::string StringUtil::timeToDateString(long long microseconds)
{
    const Broken b = breakDown(microseconds);
    return newPrintf("%04lld-%02u-%02u", static_cast<long long>(b.date.year), b.date.month,
                     b.date.day);
}

} // namespace Kapi

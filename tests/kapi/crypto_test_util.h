#ifndef KELO_TESTS_CRYPTO_TEST_UTIL_H
#define KELO_TESTS_CRYPTO_TEST_UTIL_H
// Helpers for the crypto tests: hex conversion, byte strings, regex escaping for death-test
// messages, and a scope that registers a crypto driver with the registry.
#include "core/CryptoDriver.h"
#include "core/Services.h"

#include <cstdio>
#include <string>

namespace CryptoTest {

typedef std::basic_string<unsigned char> Bytes;

inline Bytes fromHex(const std::string& hex)
{
    Bytes out;
    for (size_t i = 0; i + 1 < hex.size(); i += 2)
        out.push_back(static_cast<unsigned char>(std::stoul(hex.substr(i, 2), nullptr, 16)));
    return out;
}

inline std::string toHex(const unsigned char* data, size_t length)
{
    std::string out;
    char pair[3];
    for (size_t i = 0; i < length; ++i) {
        snprintf(pair, sizeof(pair), "%02x", data[i]);
        out += pair;
    }
    return out;
}

inline std::string toHex(const Bytes& bytes)
{
    return toHex(bytes.data(), bytes.size());
}

inline std::string toText(const Bytes& bytes)
{
    return std::string(bytes.begin(), bytes.end());
}

inline Bytes fromText(const std::string& text)
{
    return Bytes(text.begin(), text.end());
}

// The text as a literal for a death-test (POSIX extended) regular expression.
inline std::string literal(const std::string& text)
{
    std::string out;
    for (char c : text) {
        if (std::string("\\^$.|?*+()[]{}").find(c) != std::string::npos)
            out += '\\';
        out += c;
    }
    return out;
}

// Registers `driver` as the crypto driver for the scope's lifetime (null: none registered).
class DriverScope
{
public:
    explicit DriverScope(KELO::CryptoDriver* driver)
    {
        KELO::CryptoService& service = KELO::Services::getInstance().getCryptoService();
        if (driver != nullptr)
            service.registerDriver(driver);
        else
            service.unregisterDriver();
    }
    ~DriverScope() { KELO::Services::getInstance().getCryptoService().unregisterDriver(); }
    DriverScope(const DriverScope&) = delete;
    DriverScope& operator=(const DriverScope&) = delete;
};

} // namespace CryptoTest

#endif

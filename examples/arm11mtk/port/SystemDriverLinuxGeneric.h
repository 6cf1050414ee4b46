#ifndef ARM11MTK_PORT_SYSTEMDRIVERLINUXGENERIC_H
#define ARM11MTK_PORT_SYSTEMDRIVERLINUXGENERIC_H
// The Linux part of the device's system driver: temporary path, total memory, MAC address and
// the unique device id "<mfgId>-<modelId>-<MAC as 12 upper-case hex digits>" ("NoMacAddress"
// in place of the MAC when none can be read). The id is made once, on the first getUID(), and
// cached for the driver's lifetime. Subclasses provide the settings store.
//
// Paths: "/tmp" and "/proc/meminfo" are device paths (KELO_ROOT prefixes them); when KELO_ROOT
// names a root without "proc/meminfo" the system's own file is read instead.
//
// Threads: getUID() is for one thread at a time (the core's); the other queries are stateless.
#include "core/SystemDriver.h"

#include <string>

namespace KELO {

class SystemDriverLinuxGeneric : public SystemDriver
{
public:
    SystemDriverLinuxGeneric(const std::string& mfgId, const std::string& modelId,
                             const std::string& softwareVersion = "SystemDriverLinuxGeneric 1.0");

    // No store of its own: NOT_SUPPORTED with a null store (subclasses provide one).
    int32 GetSettings(Settings** settings) override;
    bool getUID(std::string& uid) override;
    std::string getSoftwareVersion() const override;
    int getSystemMemoryKB() const override;
    std::string getTempPath() const override;

    // The hardware address of "KELO_LINK_INTERFACE" (default "eth0"), else of the first
    // interface that is up with an IPv4 address and a non-zero hardware address.
    bool getMACAddress(unsigned char mac[6]) const;
    // The MemTotal value of a meminfo text (at most its first 99 bytes count): -1 when the
    // text does not start with "MemTotal:" followed by a decimal number or the number is
    // negative; INT32_MIN (0x80000000) when it does not fit in 32 bits.
    static int parseMemTotal(const std::string& text);

protected:
    virtual std::string makeUID(const std::string& mfgId, const std::string& modelId);

private:
    bool getMACAddressFromConnection_i(int sock, unsigned char mac[6]) const;

    std::string m_mfgId;
    std::string m_modelId;
    std::string m_softwareVersion;
    std::string m_uid; // empty until first asked
};

} // namespace KELO

#endif

// The system drivers: memory, temporary path, identity, settings and the deactivation file.
#include "SystemDriverArm11mtk.h"
#include "SystemDriverLinuxGeneric.h"

#include "../PortDrivers.h"
#include "DeviceState.h"
#include "PortSysLogCapture.h"
#include "support/TestFiles.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>


using KELO::SystemDriverLinuxGeneric;
using Lines = std::vector<std::string>;

namespace {

// A device root in a fresh directory, set as KELO_ROOT for the test's lifetime.
class DeviceRootTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        char dir[] = "/tmp/kelo-sysdriver.XXXXXX";
        ASSERT_NE(mkdtemp(dir), nullptr);
        m_root = dir;
        mkdir((m_root + "/misc").c_str(), 0755);
        mkdir((m_root + "/proc").c_str(), 0755);
        setenv("KELO_ROOT", m_root.c_str(), 1);
    }
    void TearDown() override
    {
        DestroyArm11mtkSystemDriver();
        unsetenv("KELO_ROOT");
        unsetenv("KELO_LINK_INTERFACE");
        std::system(("rm -rf '" + m_root + "'").c_str());
    }

    std::string m_root;
};

} // namespace

TEST(SystemMemory, MemTotalIsReadFromTheStartOfTheText)
{
    EXPECT_EQ(SystemDriverLinuxGeneric::parseMemTotal("MemTotal:   512000 kB\nMemFree: 1 kB\n"),
              512000);
    EXPECT_EQ(SystemDriverLinuxGeneric::parseMemTotal("MemTotal:\t7 kB"), 7);
    EXPECT_EQ(SystemDriverLinuxGeneric::parseMemTotal("MemTotal:0"), 0);
    EXPECT_EQ(SystemDriverLinuxGeneric::parseMemTotal("MemTotal: 2147483647 kB"), INT_MAX);
    // Too large for 32 bits.
    EXPECT_EQ(SystemDriverLinuxGeneric::parseMemTotal("MemTotal: 2147483648 kB"), INT_MIN);
    EXPECT_EQ(SystemDriverLinuxGeneric::parseMemTotal("MemTotal: 99999999999999999999999 kB"),
              INT_MIN);
    // Failures.
    EXPECT_EQ(SystemDriverLinuxGeneric::parseMemTotal("MemTotal: -5 kB"), -1);
    EXPECT_EQ(SystemDriverLinuxGeneric::parseMemTotal("MemFree: 5 kB\nMemTotal: 9 kB"), -1);
    EXPECT_EQ(SystemDriverLinuxGeneric::parseMemTotal(" MemTotal: 5 kB"), -1);
    EXPECT_EQ(SystemDriverLinuxGeneric::parseMemTotal("MemTotal: kB"), -1);
    EXPECT_EQ(SystemDriverLinuxGeneric::parseMemTotal(""), -1);
    // Only the first 99 bytes are read: a number that starts after them is not seen.
    EXPECT_EQ(SystemDriverLinuxGeneric::parseMemTotal("MemTotal:" + std::string(89, ' ') + "5"), 5);
    EXPECT_EQ(SystemDriverLinuxGeneric::parseMemTotal("MemTotal:" + std::string(90, ' ') + "5"),
              -1);
    EXPECT_EQ(SystemDriverLinuxGeneric::parseMemTotal("MemTotal:" + std::string(88, ' ') + "123"),
              12);
}

TEST_F(DeviceRootTest, MemoryAndTemporaryPathComeFromTheDeviceRoot)
{
    SystemDriverLinuxGeneric driver("TOVA", "M130");
    KeloTest::writeFile(m_root + "/proc/meminfo", "MemTotal:   512000 kB\nMemFree: 12 kB\n");
    EXPECT_EQ(driver.getSystemMemoryKB(), 512000);
    EXPECT_EQ(driver.getTempPath(), m_root + "/tmp");
    EXPECT_EQ(driver.getSoftwareVersion(), "SystemDriverLinuxGeneric 1.0");
    // A root without its own meminfo reads the system's.
    unlink((m_root + "/proc/meminfo").c_str());
    EXPECT_GT(driver.getSystemMemoryKB(), 0);
}

TEST_F(DeviceRootTest, TheUniqueIdJoinsMakerModelAndMacAndIsMadeOnce)
{
    // The loopback interface exists everywhere and has an all-zero hardware address.
    setenv("KELO_LINK_INTERFACE", "lo", 1);
    SystemDriverLinuxGeneric driver("TOVA", "M130");
    unsigned char mac[6] = {1, 1, 1, 1, 1, 1};
    EXPECT_TRUE(driver.getMACAddress(mac));
    EXPECT_EQ(std::string(reinterpret_cast<char*>(mac), 6), std::string(6, '\0'));

    PortSysLogCapture capture;
    std::string uid;
    EXPECT_TRUE(driver.getUID(uid));
    EXPECT_EQ(uid, "TOVA-M130-000000000000");
    setenv("KELO_LINK_INTERFACE", "nosuch0", 1);
    std::string again;
    EXPECT_TRUE(driver.getUID(again)); // cached: the interface is not asked again
    capture.stop();
    EXPECT_EQ(again, uid);
    EXPECT_EQ(capture.lines(),
              (Lines{"<SystemDriverLinuxGeneric.info>: UID: TOVA-M130-000000000000",
                     "<SystemDriverLinuxGeneric.info>: ######## mfg TOVA model M130 id "
                     "TOVA-M130-000000000000"}));
}

TEST_F(DeviceRootTest, TheDeviceDriverUsesTheJsonStoreUnderTheDeviceRoot)
{
    memcpy(mfgId, "TOVA", 5);
    memcpy(modelId, "R7A2", 5);
    setenv("KELO_LINK_INTERFACE", "lo", 1);
    PortSysLogCapture capture;
    KELO::SystemDriver* driver = CreateArm11mtkSystemDriver("/misc/kelo-settings.db");
    capture.stop();
    ASSERT_NE(driver, nullptr);
    EXPECT_EQ(CreateArm11mtkSystemDriver("/misc/kelo-settings.db"), driver);
    EXPECT_EQ(capture.lines(), Lines{"<SystemDriverArm11mtk.info>: CreateArm11mtkSystemDriver: "
                                     "dbPath=/misc/kelo-settings.db"});

    EXPECT_EQ(driver->getSoftwareVersion(), "SystemDriverArm11mtk BD 1.0");
    std::string uid;
    EXPECT_TRUE(driver->getUID(uid));
    EXPECT_EQ(uid, "TOVA-R7A2-000000000000");

    KELO::Settings* settings = nullptr;
    ASSERT_EQ(driver->GetSettings(&settings), KELO::SUCCESS);
    ASSERT_NE(settings, nullptr);
    EXPECT_TRUE(settings->set("esn", "abc"));
    EXPECT_EQ(KeloTest::readFile(m_root + "/misc/kelo-json-settings.txt"), "{ \"esn\" : \"abc\" }");
    EXPECT_EQ(driver->GetSettings(nullptr), KELO::INVALID_ARGUMENTS);

    // The store goes with the driver; a new driver loads the file again.
    DestroyArm11mtkSystemDriver();
    driver = CreateArm11mtkSystemDriver("/misc/kelo-settings.db");
    ASSERT_EQ(driver->GetSettings(&settings), KELO::SUCCESS);
    std::string value;
    EXPECT_TRUE(settings->get("esn", value));
    EXPECT_EQ(value, "abc");
}

TEST_F(DeviceRootTest, TheDeactivationFileTellsARequestAndTakesTheAcknowledgement)
{
    KELO::SystemDriver* driver = CreateArm11mtkSystemDriver("/misc/kelo-settings.db");
    const std::string state = m_root + "/misc/KeloDeactivateState";

    EXPECT_FALSE(driver->deactivateRequested()); // no file: no request

    KeloTest::writeFile(state, "1");
    testing::internal::CaptureStdout();
    EXPECT_TRUE(driver->deactivateRequested());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "active state = 1\n");

    driver->deactivateAcknowledged();
    EXPECT_EQ(KeloTest::readFile(state), "0\n");
    testing::internal::CaptureStdout();
    EXPECT_FALSE(driver->deactivateRequested());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "active state = 0\n");

    KeloTest::writeFile(state, "");
    EXPECT_FALSE(driver->deactivateRequested()); // nothing to read

    // Without its delegate the driver falls back to the base behaviour.
    KeloTest::writeFile(state, "1\n");
    driver->setDeactivationDelegate(nullptr);
    EXPECT_FALSE(driver->deactivateRequested());
    driver->deactivateAcknowledged();
    EXPECT_EQ(KeloTest::readFile(state), "1\n");
}

TEST_F(DeviceRootTest, AnAcknowledgementThatCannotBeWrittenIsPrinted)
{
    MtkDelegate delegate;
    std::system(("rm -rf '" + m_root + "/misc'").c_str());
    testing::internal::CaptureStdout();
    delegate.deactivateAcknowledged();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "open KeloDeactivateState for write fail\n");
}

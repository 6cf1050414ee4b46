// The display's platform side against the platform simulator's configuration client: the
// monitor report, the return to 2D output and the copy-protection switch.
#include "CopyProtection.h"
#include "DeviceState.h"
#include "DisplayDfb.h"
#include "SimPlatform.h"
#include "Tv3d.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

using namespace KELO;

namespace {

class DisplayPlatform : public ::testing::Test
{
protected:
    void SetUp() override
    {
        SimPlatform::reset();
        IMTK_CFG_HANDLE_T handle = -1;
        ASSERT_EQ(IMtkCfg_Init(), IMTK_CFG_ERROR_CODE_OK);
        ASSERT_EQ(IMtkCfg_Open(&handle), IMTK_CFG_ERROR_CODE_OK);
        hCfgHandle = handle;
        support_soc = true;
        SimPlatform::clearCallLog();
    }
    void TearDown() override
    {
        hCfgHandle = -1;
        support_soc = false;
        SimPlatform::reset();
    }

    static int calls(const std::string& name)
    {
        const auto log = SimPlatform::callLog();
        return static_cast<int>(std::count_if(log.begin(), log.end(), [&](const std::string& l) {
            return l.rfind(name + "(", 0) == 0;
        }));
    }

    DisplayDfb mDisplay{nullptr};
};

} // namespace

TEST_F(DisplayPlatform, MonitorReportFollowsTheTelevision)
{
    struct Case
    {
        const char* name;
        IMTKCFG_SUPPORT_FORMAT_T format;
        const char* failing;
        bool connected;
        uint32 modes;
    } const cases[] = {
        {"2D television", {0x1f, 0}, "", true, 0},
        {"3D television", {0x1f, 0x3}, "", true, 0xEFF},
        {"no sink", {0, 0x3}, "", false, 0},
        {"client fails", {0x1f, 0x3}, "IMtkCfg_Get_Support_Format", false, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        SimPlatform::setSupportFormat(c.format);
        SimPlatform::setFailures(c.failing);
        Display::HDMISetupInfo info;
        testing::internal::CaptureStdout();
        ASSERT_EQ(mDisplay.GetMonitorInfo(&info), SUCCESS);
        const std::string out = testing::internal::GetCapturedStdout();
        EXPECT_EQ(info.preferredMode, Display::OUTPUT_MODE_720P);
        EXPECT_EQ(info.isConnected, c.connected);
        EXPECT_EQ(info.supportedModes, c.modes);
        char line[128];
        std::snprintf(line, sizeof line,
                      "[kelo test]GetMonitorInfo hdmi_connected = %s, supportedmode(0xeff)=%X\n",
                      c.connected ? "on" : "off", c.modes);
        EXPECT_NE(out.find(line), std::string::npos) << out;
        EXPECT_EQ(out.find("TV do not support 3D") != std::string::npos,
                  c.connected && c.modes == 0);
    }
    SimPlatform::setFailures("");
}

TEST_F(DisplayPlatform, TwoDimensionalModeUndoesA3DSource)
{
    Display::VideoMode mode;
    mode.mode = Display::OUTPUT_MODE_720P;
    testing::internal::CaptureStdout();
    mDisplay.SetVideoMode(mode); // nothing to undo
    EXPECT_NE(testing::internal::GetCapturedStdout().find(
                  "[kelo tester] kelo_reset3d_resolution it is 2D movie, do not need to reset\n"),
              std::string::npos);
    EXPECT_EQ(calls("IMtkCfg_Vid_SetSourceInfo"), 0);

    ASSERT_TRUE(kelo_set3d_resolution(IMTKCFG_VID_SRC_3D_SIDE_BY_SIDE, 1920, 1080));
    mode.mode = static_cast<Display::OutputMode>(Display::OUTPUT_MODE_1080P_24 |
                                                 Display::EXT_MODE_3D_TOP_AND_BOTTOM);
    mDisplay.SetVideoMode(mode); // a 3D mode keeps the 3D source
    EXPECT_TRUE(DisplayDfb::is3DMode());
    EXPECT_EQ(SimPlatform::cfgSourceInfo().eFormat, IMTKCFG_VID_SRC_3D_SIDE_BY_SIDE);

    mode.mode = Display::OUTPUT_MODE_1080I;
    mDisplay.SetVideoMode(mode);
    EXPECT_FALSE(DisplayDfb::is3DMode());
    const IMTKCFG_VID_SOURCE_INFO_T source = SimPlatform::cfgSourceInfo();
    EXPECT_EQ(source.eFormat, IMTKCFG_VID_SRC_2D);
    EXPECT_EQ(source.u4Width, 1280u);
    EXPECT_EQ(source.u4Height, 720u);
    EXPECT_EQ(calls("IMtkCfg_Vid_SetSourceInfo"), 2);
}

TEST_F(DisplayPlatform, CopyProtectionSwitchesOneFieldPerStandard)
{
    struct Case
    {
        Display::CopyProtectionStandard standard;
        uint8_t aps, cgms;
        bool ict;
    } const cases[] = {
        {Display::CP_MV_AGC, 1, 0, false},
        {Display::CP_MV_AGC_4LINE, 3, 0, false},
        {Display::CP_CGMS_A_ONE_COPY, 0, 2, false},
        {Display::CP_CGMS_A_NO_COPY, 0, 3, false},
        {Display::CP_SOC, 0, 0, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(static_cast<int>(c.standard));
        testing::internal::CaptureStdout();
        EXPECT_EQ(mDisplay.EnableCopyProtection(true, c.standard), SUCCESS);
        char line[96];
        std::snprintf(line, sizeof line, "[kelostub] EnableCopyProtection: copy=on   standard=%d\n",
                      static_cast<int>(c.standard));
        EXPECT_NE(testing::internal::GetCapturedStdout().find(line), std::string::npos);
        IMTKCFG_VID_CPS_INFO_T info = SimPlatform::cfgCpsInfo();
        EXPECT_EQ(info.u1Aps, c.aps);
        EXPECT_EQ(info.u1Cgms, c.cgms);
        EXPECT_EQ(info.fgICT, c.ict);
        EXPECT_EQ(mDisplay.EnableCopyProtection(false, c.standard), SUCCESS);
        info = SimPlatform::cfgCpsInfo();
        EXPECT_EQ(info.u1Aps + info.u1Cgms + info.fgICT, 0);
    }

    // Two standards at once keep each other's field.
    kelo_copyprotection_on(Display::CP_MV_AGC_2LINE);
    kelo_copyprotection_on(Display::CP_CGMS_A_NO_COPY);
    kelo_copyprotection_off(Display::CP_MV_AGC_2LINE);
    EXPECT_EQ(SimPlatform::cfgCpsInfo().u1Cgms, 3);
    EXPECT_EQ(SimPlatform::cfgCpsInfo().u1Aps, 0);
}

TEST_F(DisplayPlatform, CopyProtectionLeavesTheOutputAloneWhereItCannot)
{
    SimPlatform::clearCallLog();
    EXPECT_FALSE(kelo_copyprotection_on(Display::CP_HDCP)); // no analogue control
    EXPECT_EQ(calls("IMtkCfg_Vid_Set_Cps_Info"), 0);
    support_soc = false;
    EXPECT_FALSE(kelo_copyprotection_on(Display::CP_MV_AGC));
    EXPECT_EQ(calls("IMtkCfg_Vid_Get_Cps_Info"), 1); // only the HDCP attempt read them
    EXPECT_EQ(calls("IMtkCfg_Vid_Set_Cps_Info"), 0);
    support_soc = true;
    SimPlatform::setFailures("IMtkCfg_Vid_Set_Cps_Info");
    EXPECT_FALSE(kelo_copyprotection_on(Display::CP_MV_AGC));
    SimPlatform::setFailures("");
    EXPECT_EQ(SimPlatform::cfgCpsInfo().u1Aps, 0);
    // The display still answers success: the switch is best effort on the platform.
    EXPECT_EQ(mDisplay.EnableCopyProtection(true, Display::CP_HDCP), SUCCESS);
}

// The minimal drivers the entry runs with before the device port exists: what they have,
// what they refuse, and the user input's wait, inject and cancel.
#include "MinimalLinkStatusDriver.h"
#include "MinimalMultimediaDriver.h"
#include "MinimalSystemDriver.h"
#include "MinimalUserInputDriver.h"
#include "PortDrivers.h"

#include <gtest/gtest.h>

#include <thread>

using namespace SimDrivers;

TEST(MinimalSystemDriver, SettingsLiveInMemory)
{
    MinimalSystemDriver driver("/misc/kelo-settings.db");
    EXPECT_EQ(driver.dbPath(), "/misc/kelo-settings.db");
    KELO::Settings* settings = nullptr;
    ASSERT_EQ(driver.GetSettings(&settings), KELO::SUCCESS);
    EXPECT_EQ(driver.GetSettings(nullptr), KELO::INVALID_ARGUMENTS);
    std::string value = "stale";
    EXPECT_FALSE(settings->get("k", value));
    EXPECT_EQ(value, "");
    EXPECT_TRUE(settings->set("k", "v1"));
    EXPECT_TRUE(settings->set("k", "v2"));
    EXPECT_TRUE(settings->get("k", value));
    EXPECT_EQ(value, "v2");
    settings->reset();
    EXPECT_FALSE(settings->get("k", value));
    EXPECT_GT(driver.getSystemMemoryKB(), 0);
    EXPECT_EQ(driver.getSoftwareVersion(), "MinimalSystemDriver 1.0");
}

TEST(MinimalMultimediaDriver, OnlyADisplayWithoutMonitorAndAPlayerThatPlaysNothing)
{
    MinimalMultimediaDriver driver;
    KELO::Graphics* graphics = reinterpret_cast<KELO::Graphics*>(1);
    EXPECT_EQ(driver.GetGraphics(&graphics), KELO::NOT_SUPPORTED);
    EXPECT_EQ(graphics, nullptr);
    KELO::Mixer* mixer = reinterpret_cast<KELO::Mixer*>(1);
    EXPECT_EQ(driver.GetMixer(&mixer), KELO::NOT_SUPPORTED);
    EXPECT_EQ(mixer, nullptr);
    KELO::CA* ca = reinterpret_cast<KELO::CA*>(1);
    EXPECT_EQ(driver.GetCA(&ca), KELO::NOT_SUPPORTED);
    EXPECT_EQ(ca, nullptr);

    KELO::Display* display = nullptr;
    ASSERT_EQ(driver.GetDisplay(&display), KELO::SUCCESS);
    KELO::Display::HDMISetupInfo monitor;
    monitor.isConnected = true;
    ASSERT_EQ(display->GetMonitorInfo(&monitor), KELO::SUCCESS);
    EXPECT_FALSE(monitor.isConnected);
    EXPECT_EQ(monitor.supportedModes, 0u);
    KELO::Display::VideoMode mode;
    mode.mode = KELO::Display::OUTPUT_MODE_1080P_24;
    ASSERT_EQ(display->SetVideoMode(mode), KELO::SUCCESS);
    KELO::Display::VideoMode back;
    ASSERT_EQ(display->GetVideoMode(&back), KELO::SUCCESS);
    EXPECT_EQ(back.mode, KELO::Display::OUTPUT_MODE_1080P_24);
    EXPECT_EQ(display->EnableCopyProtection(true, KELO::Display::CP_HDCP), KELO::NOT_SUPPORTED);

    KELO::MediaPlayer* player = nullptr;
    ASSERT_EQ(driver.GetPlayer(&player), KELO::SUCCESS);
    EXPECT_EQ(player->GetCapabilities().containers, 0);
    EXPECT_EQ(player->SetSource(reinterpret_cast<KELO::MediaBuffer*>(&driver)),
              KELO::NOT_SUPPORTED);
    EXPECT_EQ(player->SetSource(nullptr), KELO::SUCCESS);
    int position = -1, speed = -1;
    EXPECT_EQ(player->GetPosAndSpeed(&position, &speed), KELO::FAILURE);
    EXPECT_EQ(position, 0);
    EXPECT_EQ(speed, 0);
}

TEST(MinimalUserInput, WaitTimesOutDeliversInjectedEventsAndHonoursCancel)
{
    MinimalUserInputDriver driver;
    KELO::UserInput* input = nullptr;
    ASSERT_EQ(driver.GetUserInput(&input), KELO::SUCCESS);
    KELO::UserInput::Event event;
    EXPECT_EQ(input->wait(&event, 0), KELO::TIMED_OUT);
    EXPECT_EQ(input->wait(nullptr, 0), KELO::INVALID_ARGUMENTS);

    KELO::UserInput::Event a, b;
    a.evCategory = KELO::UserInput::BUTTON;
    a.arg.button.code = KELO::UserInput::EVENT_TYPE_SELECT;
    b.evCategory = KELO::UserInput::UNICODE_BUTTON;
    b.arg.unicode.keyValue = 'x';
    input->inject(a);
    input->inject(b);
    ASSERT_EQ(input->wait(&event, 0), KELO::SUCCESS);
    EXPECT_EQ(event.arg.button.code, KELO::UserInput::EVENT_TYPE_SELECT);
    ASSERT_EQ(input->wait(&event, 0), KELO::SUCCESS);
    EXPECT_EQ(event.arg.unicode.keyValue, 'x');

    // A cancel with nobody waiting ends the next wait, once.
    input->cancel_wait();
    EXPECT_EQ(input->wait(&event, -1), KELO::ABORT);
    EXPECT_EQ(input->wait(&event, 0), KELO::TIMED_OUT);

    // A wait without a limit ends when another thread cancels it.
    std::thread canceller([input] { input->cancel_wait(); });
    EXPECT_EQ(input->wait(&event, -1), KELO::ABORT);
    canceller.join();
}

TEST(MinimalPort, FactoriesHandOutOneDriverOfEachKind)
{
    KELO::SystemDriver* system = CreateArm11mtkSystemDriver("/misc/kelo-settings.db");
    EXPECT_EQ(CreateArm11mtkSystemDriver("/other"), system);
    KELO::MultimediaDriver* multimedia = CreateDfbMultimediaDriver();
    EXPECT_EQ(CreateDfbMultimediaDriver(), multimedia);
    KELO::LinkStatusDriver* link = CreateGenericLinkStatusDriver();
    KELO::LinkStatusMonitor* monitor = link->getLinkStatusMonitor();
    ASSERT_NE(monitor, nullptr);
    EXPECT_EQ(monitor->AddListener(nullptr, nullptr), KELO::INVALID_ARGUMENTS);
    EXPECT_NE(CreateDfbUserInputDriver(), nullptr);
    KELO::RemuxerDriver* remuxer = VRMX_CreateRemuxerDriver();
    EXPECT_NE(remuxer, nullptr);
    VRMX_DestroyRemuxerDriver(remuxer);
    DestroyGenericLinkStatusDriver();
    DestroyDfbUserInputDriver();
    DestroyDfbMultimediaDriver();
    DestroyArm11mtkSystemDriver();
}

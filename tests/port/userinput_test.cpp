// The DirectFB user input end to end: key and button events are sent to the application window
// (as a remote or keyboard would), reach the driver's event buffer and come out of wait().
#include "DeviceState.h"
#include "DfbInit.h"
#include "DfbKeymap.h"
#include "support/DfbTestDriver.h"
#include "UserInputDfb.h"
#include "UserInputDriverDfb.h"
#include "kapi/Timer.h"
#include "support/RunProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <set>
#include <string>
#include <thread>

namespace {

using KELO::UserInput;
using Event = KELO::UserInput::Event;

class UserInputDfbTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_NE(KeloTest::dfbTestDriver(), nullptr);
        ASSERT_NE(KELO::DfbInit::window(), nullptr);
        m_savedRecvKey = g_fgRecvKey.load();
        g_fgRecvKey = true;
        m_driver = static_cast<KELO::UserInputDriverDfb*>(CreateDfbUserInputDriver());
        ASSERT_NE(m_driver, nullptr);
        UserInput* input = nullptr;
        ASSERT_EQ(m_driver->GetUserInput(&input), KELO::SUCCESS);
        m_input = static_cast<KELO::UserInputDfb*>(input);
        ASSERT_NE(m_input, nullptr);
    }

    void TearDown() override
    {
        DestroyDfbUserInputDriver();
        g_fgRecvKey = m_savedRecvKey;
    }

    // What a remote key press looks like on the window.
    static void sendWindowEvent(DFBWindowEventType type, unsigned keySymbol)
    {
        IDirectFBWindow* window = KELO::DfbInit::window();
        DFBWindowEvent event = {};
        event.clazz = DFEC_WINDOW;
        event.type = type;
        event.key_symbol = static_cast<DFBInputDeviceKeySymbol>(keySymbol);
        ASSERT_EQ(window->SendEvent(window, &event), DFB_OK);
    }

    void postUserEvent(unsigned type)
    {
        DFBEvent event = {};
        event.user.clazz = DFEC_USER;
        event.user.type = type;
        IDirectFBEventBuffer* buffer = m_driver->eventBuffer();
        ASSERT_EQ(buffer->PostEvent(buffer, &event), DFB_OK);
    }

    bool m_savedRecvKey = true;
    KELO::UserInputDriverDfb* m_driver = nullptr;
    KELO::UserInputDfb* m_input = nullptr;
};

Event makeEvent(UserInput::EventCategory category, int32 w0, int32 w1, int32 w2)
{
    Event event;
    event.evCategory = category;
    event.arg.words[0] = w0;
    event.arg.words[1] = w1;
    event.arg.words[2] = w2;
    return event;
}

TEST_F(UserInputDfbTest, CharacterKeyGivesUnicodeButtonWithItsLabel)
{
    sendWindowEvent(DWET_KEYDOWN, 0xf601);
    sendWindowEvent(DWET_KEYUP, 0xf61b); // the "0" character key, whose shifted label is ")"

    testing::internal::CaptureStdout();
    const int64 before = Kapi::Timer::now();
    Event down;
    const int32 downStatus = m_input->wait(&down, 2000);
    Event up;
    const int32 upStatus = m_input->wait(&up, 2000);
    const int64 after = Kapi::Timer::now();
    const std::string out = testing::internal::GetCapturedStdout();

    ASSERT_EQ(downStatus, KELO::SUCCESS);
    EXPECT_EQ(down.device_id, 4);
    EXPECT_EQ(down.evCategory, UserInput::UNICODE_BUTTON);
    EXPECT_EQ(down.arg.unicode.action, UserInput::BUTTON_PRESS);
    EXPECT_EQ(down.arg.unicode.keyValue, 0xf601);
    ASSERT_NE(down.arg.unicode.label, nullptr);
    EXPECT_STREQ(down.arg.unicode.label, "a");
    EXPECT_GE(down.timestamp, before);
    EXPECT_LE(down.timestamp, after);
    EXPECT_STREQ(m_input->getLabelFromEvent(down), "Unicode Button");

    ASSERT_EQ(upStatus, KELO::SUCCESS);
    EXPECT_EQ(up.evCategory, UserInput::UNICODE_BUTTON);
    EXPECT_EQ(up.arg.unicode.action, UserInput::BUTTON_RELEASE);
    EXPECT_EQ(up.arg.unicode.keyValue, 0xf61b);
    EXPECT_STREQ(up.arg.unicode.label, "0");
    EXPECT_GE(up.timestamp, down.timestamp);

    EXPECT_NE(out.find("key == a\nkey press\n"), std::string::npos) << out;
    EXPECT_NE(out.find("key == 0\nkey release\n"), std::string::npos) << out;
}

TEST_F(UserInputDfbTest, RemoteKeysGiveButtonEventsInArrivalOrder)
{
    struct Case
    {
        DFBWindowEventType type;
        unsigned keySymbol;
        int32 action;
        int32 code;
        const char* label;
    };
    const Case cases[] = {
        {DWET_KEYDOWN, 0x30, UserInput::BUTTON_PRESS, UserInput::EVENT_TYPE_NUMBER_0, "ERROR"},
        {DWET_KEYDOWN, 0x39, UserInput::BUTTON_PRESS, UserInput::EVENT_TYPE_NUMBER_9, "ERROR"},
        {DWET_KEYDOWN, 0xf048, UserInput::BUTTON_PRESS, UserInput::EVENT_TYPE_BACK, "BACK"},
        {DWET_KEYDOWN, 0xf014, UserInput::BUTTON_PRESS, UserInput::EVENT_TYPE_MORE, "MORE"},
        {DWET_KEYDOWN, 0xf01f, UserInput::BUTTON_PRESS, UserInput::EVENT_TYPE_HOME, "HOME"},
        {DWET_KEYDOWN, 0xf000, UserInput::BUTTON_PRESS, UserInput::EVENT_TYPE_DIRECTION_LEFT,
         "DIRECTION_LEFT"},
        {DWET_KEYDOWN, 0xf052, UserInput::BUTTON_PRESS, UserInput::EVENT_TYPE_STOP, "ERROR"},
        {DWET_KEYUP, 0xf00c, UserInput::BUTTON_RELEASE, UserInput::EVENT_TYPE_SELECT, "SELECT"},
        // A button going down is reported as a release, like every event but key down.
        {DWET_BUTTONDOWN, 0xf002, UserInput::BUTTON_RELEASE, UserInput::EVENT_TYPE_DIRECTION_UP,
         "DIRECTION_UP"},
        {DWET_BUTTONUP, 0xf003, UserInput::BUTTON_RELEASE, UserInput::EVENT_TYPE_DIRECTION_DOWN,
         "DIRECTION_DOWN"},
    };
    for (const Case& c : cases)
        sendWindowEvent(c.type, c.keySymbol);

    testing::internal::CaptureStdout();
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << std::hex << "key 0x" << c.keySymbol);
        Event event;
        ASSERT_EQ(m_input->wait(&event, 2000), KELO::SUCCESS);
        EXPECT_EQ(event.device_id, 4);
        EXPECT_EQ(event.evCategory, UserInput::BUTTON);
        EXPECT_EQ(event.arg.words[0], c.action);
        EXPECT_EQ(event.arg.words[1], 0);
        EXPECT_EQ(event.arg.words[2], c.code);
        EXPECT_EQ(event.arg.words[3], 0);
        EXPECT_STREQ(m_input->getLabelFromEvent(event), c.label);
    }
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_NE(out.find("key == RETURN\nkey press\n"), std::string::npos) << out;
    EXPECT_NE(out.find("key == UP\nkey release\n"), std::string::npos) << out;
}

TEST_F(UserInputDfbTest, UnknownKeysAndOtherEventsAreDroppedAndTheWaitGoesOn)
{
    sendWindowEvent(DWET_KEYDOWN, 0x1234);
    sendWindowEvent(DWET_MOTION, 0xf601);               // a mapped symbol, but not a key event
    postUserEvent(2);                                   // only type 1 cancels
    sendWindowEvent(DWET_KEYDOWN, KELO::kDfbKeymapEnd); // the end row is never a match
    sendWindowEvent(DWET_KEYDOWN, 0xf05a);

    testing::internal::CaptureStdout();
    Event event;
    const int32 status = m_input->wait(&event, 2000);
    const std::string out = testing::internal::GetCapturedStdout();

    ASSERT_EQ(status, KELO::SUCCESS);
    EXPECT_EQ(event.evCategory, UserInput::BUTTON);
    EXPECT_EQ(event.arg.button.code, UserInput::EVENT_TYPE_FAST_FW);
    EXPECT_NE(out.find("not found key index, 1234\nkey press\n"), std::string::npos) << out;
    EXPECT_NE(out.find("not found key index, f600\nkey press\n"), std::string::npos) << out;
    const size_t first = out.find("DFB Event : Not Recognised");
    ASSERT_NE(first, std::string::npos) << out;
    EXPECT_NE(out.find("DFB Event : Not Recognised", first + 1), std::string::npos) << out;
    EXPECT_NE(out.find("key == FASTFORWARD\nkey press\n"), std::string::npos) << out;
}

TEST_F(UserInputDfbTest, TimeoutAnswersFailureAfterTheWholeWait)
{
    testing::internal::CaptureStdout();
    const auto start = std::chrono::steady_clock::now();
    Event event;
    const int32 status = m_input->wait(&event, 1500);
    const auto waited = std::chrono::steady_clock::now() - start;
    const std::string out = testing::internal::GetCapturedStdout();

    EXPECT_EQ(status, KELO::FAILURE);
    EXPECT_GE(waited, std::chrono::milliseconds(1400));
    const size_t line = out.find("DFB ERROR: UserInputDfb:");
    ASSERT_NE(line, std::string::npos) << out;
    const std::string errorLine = out.substr(line, out.find('\n', line) - line);
    EXPECT_THAT(errorLine, testing::MatchesRegex("DFB ERROR: UserInputDfb:[0-9]+ \\[wait\\]: "
                                                 "returned error " +
                                                 std::to_string(int(DFB_TIMEOUT))));

    // A zero time-out polls: nothing there is a failure at once.
    testing::internal::CaptureStdout();
    EXPECT_EQ(m_input->wait(&event, 0), KELO::FAILURE);
    testing::internal::GetCapturedStdout();

    // The driver stays usable after a failed wait.
    sendWindowEvent(DWET_KEYDOWN, 0xf051);
    ASSERT_EQ(m_input->wait(&event, 2000), KELO::SUCCESS);
    EXPECT_EQ(event.arg.button.code, UserInput::EVENT_TYPE_PLAY);
}

TEST_F(UserInputDfbTest, CancelEndsAnUnlimitedWaitFromAnotherThread)
{
    std::atomic<int32> status{-1};
    std::atomic<bool> entered{false};
    std::thread reader([&] {
        Event event;
        entered = true;
        status = m_input->wait(&event, -1);
    });
    while (!entered)
        std::this_thread::yield();
    // Give the reader time to block; the result does not depend on it (a cancel sent first
    // waits in the buffer).
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(m_input->cancel_wait(), KELO::SUCCESS);
    reader.join();
    EXPECT_EQ(status.load(), KELO::ABORT);
}

TEST_F(UserInputDfbTest, CancelBeforeWaitAbortsOnlyTheNextWait)
{
    ASSERT_EQ(m_input->cancel_wait(), KELO::SUCCESS);
    sendWindowEvent(DWET_KEYDOWN, 0xf00a);

    Event event;
    EXPECT_EQ(m_input->wait(&event, 2000), KELO::ABORT);
    ASSERT_EQ(m_input->wait(&event, 2000), KELO::SUCCESS);
    EXPECT_EQ(event.arg.button.code, UserInput::EVENT_TYPE_PAUSE);
}

TEST_F(UserInputDfbTest, KeysAreDroppedWhileTheScreenSaverOwnsThem)
{
    g_fgRecvKey = false;
    sendWindowEvent(DWET_KEYDOWN, 0xf601);
    testing::internal::CaptureStdout();
    Event event;
    const int32 whileSaving = m_input->wait(&event, 300);
    const std::string out = testing::internal::GetCapturedStdout();
    g_fgRecvKey = true;

    EXPECT_EQ(whileSaving, KELO::FAILURE);
    EXPECT_NE(out.find("Screen Saver on,ignore key index, f601\n"), std::string::npos) << out;
    EXPECT_EQ(out.find("key press"), std::string::npos) << out;

    sendWindowEvent(DWET_KEYDOWN, 0xf602);
    ASSERT_EQ(m_input->wait(&event, 2000), KELO::SUCCESS);
    EXPECT_STREQ(event.arg.unicode.label, "b");
}

TEST_F(UserInputDfbTest, LabelsPerCategory)
{
    Event none;
    EXPECT_STREQ(m_input->getLabelFromEvent(none), "NONE");

    struct Case
    {
        int32 code;
        const char* label;
    };
    const Case buttons[] = {{0, "NONE"},     {1, "POWER"},       {36, "KEY_RETURN"},
                            {57, "KEY_F12"}, {68, "WHEEL_DOWN"}, {69, "ERROR"},
                            {80, "ERROR"},   {87, "ERROR"},      {88, "UNKNOWN"},
                            {89, "ERROR"},   {-1, "ERROR"},      {0x7fffffff, "ERROR"}};
    for (const Case& c : buttons) {
        SCOPED_TRACE(c.code);
        Event button = makeEvent(UserInput::BUTTON, UserInput::BUTTON_PRESS, 0, c.code);
        EXPECT_STREQ(m_input->getLabelFromEvent(button), c.label);
        EXPECT_STREQ(m_input->getLabelFromTranslation(button), c.label);
        Event scalar = makeEvent(UserInput::SCALAR, 7, c.code, 1);
        EXPECT_STREQ(m_input->getLabelFromEvent(scalar), c.label);
        EXPECT_STREQ(m_input->getLabelFromTranslation(scalar), c.label);
    }

    Event stop =
        makeEvent(UserInput::BUTTON, UserInput::BUTTON_PRESS, 0, UserInput::EVENT_TYPE_STOP);
    EXPECT_STREQ(m_input->getLabelFromEvent(stop), "ERROR");

    // Categories that carry no button code answer with their name; the translation reads word 1.
    Event unicode = makeEvent(UserInput::UNICODE_BUTTON, UserInput::BUTTON_PRESS, 13, 99);
    EXPECT_STREQ(m_input->getLabelFromEvent(unicode), "Unicode Button");
    EXPECT_STREQ(m_input->getLabelFromTranslation(unicode), "PLAY");
    Event motion = makeEvent(UserInput::MOTION, 1, 2, 3);
    EXPECT_STREQ(m_input->getLabelFromEvent(motion), "Motion");
    Event platform = makeEvent(UserInput::PLATFORM_DEFINED, 1, 2, 3);
    EXPECT_STREQ(m_input->getLabelFromEvent(platform), "Platform Defined");
    Event odd = makeEvent(static_cast<UserInput::EventCategory>(6), 1, 2, 3);
    EXPECT_STREQ(m_input->getLabelFromEvent(odd), "ERROR:UNKNOWN CATEGORY");
    odd.evCategory = static_cast<UserInput::EventCategory>(-1);
    EXPECT_STREQ(m_input->getLabelFromEvent(odd), "ERROR:UNKNOWN CATEGORY");

    const char* const names[] = {
        "None", "Button", "Unicode Button", "Scalar", "Motion", "Platform Defined", "None"};
    for (int32 category = 0; category <= 6; ++category)
        EXPECT_STREQ(KELO::UserInputDfb::getCategoryName(category), names[category]) << category;
    EXPECT_STREQ(KELO::UserInputDfb::getCategoryName(-1), "None");
}

TEST_F(UserInputDfbTest, DriverIdentifiersAndNoOpOperations)
{
    const char* const ids[] = {"KELO:DFB:UNKNOWN",        "KELO:DFB:RF01:1.0",
                               "KELO:DFB:IR01:1.0",       "KELO:DFB:MOUSE01:1.0",
                               "KELO:DFB:KEYBOARD01:1.0", "KELO:DFB:UNKNOWN"};
    for (int device = 0; device <= 5; ++device)
        EXPECT_STREQ(m_input->remoteDriverIdentifier(device), ids[device]) << device;
    EXPECT_STREQ(m_input->remoteDriverIdentifier(-4), "KELO:DFB:UNKNOWN");

    // Injected events go nowhere: the next wait still times out.
    Event injected =
        makeEvent(UserInput::BUTTON, UserInput::BUTTON_PRESS, 0, UserInput::EVENT_TYPE_SELECT);
    EXPECT_EQ(m_input->inject(injected), KELO::SUCCESS);
    EXPECT_EQ(m_input->enableDevice(1), KELO::SUCCESS);
    EXPECT_EQ(m_input->disableDevice(1), KELO::SUCCESS);
    EXPECT_EQ(m_input->warpMotionDevice(3, UserInput::MPTRM_SELECT, 1, 2, 3), KELO::SUCCESS);
    EXPECT_EQ(m_input->setMotionPointerMode(3, UserInput::MPTRM_BUSY), KELO::SUCCESS);
    testing::internal::CaptureStdout();
    Event event;
    EXPECT_EQ(m_input->wait(&event, 100), KELO::FAILURE);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(m_input->wait(nullptr, 100), KELO::INVALID_ARGUMENTS);
}

TEST_F(UserInputDfbTest, OneDriverAndOneUserInputPerProcess)
{
    EXPECT_EQ(CreateDfbUserInputDriver(), m_driver);
    EXPECT_EQ(KELO::UserInputDfb::Create(nullptr), m_input);
    EXPECT_EQ(m_driver->GetUserInput(nullptr), KELO::INVALID_ARGUMENTS);

    // The window's events reach a driver made again after destruction. (DirectFB may hand a
    // window event to its listeners a little later, so a key sent while no driver exists can
    // still reach the next one: nothing is asserted about such keys.)
    DestroyDfbUserInputDriver();
    auto* again = static_cast<KELO::UserInputDriverDfb*>(CreateDfbUserInputDriver());
    ASSERT_NE(again, nullptr);
    UserInput* input = nullptr;
    ASSERT_EQ(again->GetUserInput(&input), KELO::SUCCESS);
    ASSERT_NE(input, nullptr);
    sendWindowEvent(DWET_KEYDOWN, 0xf605);
    Event event;
    ASSERT_EQ(input->wait(&event, 2000), KELO::SUCCESS);
    EXPECT_STREQ(event.arg.unicode.label, "e");
}

TEST(UserInputDfbNoDirectFb, FactoryDeclinesWithoutDirectFb)
{
    const KeloTest::ProcessResult result = KeloTest::runProcess(
        KeloTest::binPath("userinput_nodfb_probe"), {}, "", {"VLOGTOCONSOLE=1", "VLOGLEVEL=debug"});
    EXPECT_EQ(result.exitStatus, 0) << result.out << result.err;
    EXPECT_EQ(result.out, "no driver\n");
    EXPECT_NE(result.err.find("no user input"), std::string::npos) << result.err;
}

TEST(DfbKeymapTest, EveryRowIsReachableAndCharacterRowsFollowTheirKeys)
{
    std::set<uint32> seen;
    int rows = 0;
    for (const KELO::DfbKeymapEntry* entry = KELO::dfbKeymap;
         entry->keyValue != KELO::kDfbKeymapEnd; ++entry, ++rows) {
        EXPECT_TRUE(seen.insert(entry->keyValue).second) << std::hex << entry->keyValue;
        EXPECT_EQ(KELO::findDfbKey(entry->keyValue), entry) << std::hex << entry->keyValue;
        if (entry->code != UserInput::EVENT_TYPE_UNKNOWN) {
            EXPECT_STREQ(entry->shiftedLabel, "") << entry->label;
        }
    }
    EXPECT_EQ(rows, 26 + 10 + 10 + 22);

    for (int i = 0; i < 26; ++i) {
        const KELO::DfbKeymapEntry* entry = KELO::findDfbKey(0xf601 + i);
        ASSERT_NE(entry, nullptr);
        EXPECT_EQ(entry->label, std::string(1, char('a' + i)));
        EXPECT_EQ(entry->shiftedLabel, std::string(1, char('A' + i)));
        EXPECT_EQ(entry->code, UserInput::EVENT_TYPE_UNKNOWN);
    }
    const char* const shiftedDigits = ")!@#$%^&*(";
    for (int i = 0; i < 10; ++i) {
        const KELO::DfbKeymapEntry* character = KELO::findDfbKey(0xf61b + i);
        const KELO::DfbKeymapEntry* remote = KELO::findDfbKey(0x30 + i);
        ASSERT_NE(character, nullptr);
        ASSERT_NE(remote, nullptr);
        EXPECT_EQ(character->label, std::string(1, char('0' + i)));
        EXPECT_EQ(character->shiftedLabel, std::string(1, shiftedDigits[i]));
        EXPECT_STREQ(remote->label, character->label);
        EXPECT_EQ(remote->code, UserInput::EVENT_TYPE_NUMBER_0 + i);
    }
    EXPECT_EQ(KELO::findDfbKey(KELO::kDfbKeymapEnd), nullptr);
    EXPECT_EQ(KELO::findDfbKey(0), nullptr);
    EXPECT_EQ(KELO::findDfbKey(0xf625), nullptr);
}

} // namespace

// The text forms of Core::Event and Core::CommandArgs, and the driver registry's slots.
#include "core/Core.h"
#include "core/Services.h"

#include "core/CoreTestDrivers.h"

#include <gtest/gtest.h>

using KELO::Core;

TEST(CoreEvent, NamedEventListsItsArgumentsInKeyOrder)
{
    Core::Event event("x", Core::EventArgs{{"b", "2"}, {"a", "1"}});
    EXPECT_EQ(event.type, 6);
    EXPECT_EQ(event.toString(), "x(a=1, b=2)");
    EXPECT_EQ(Core::Event("newPlaybackSession", {}).toString(), "newPlaybackSession");
    // Byte-wise order: upper case before lower case.
    EXPECT_EQ(Core::Event("n", Core::EventArgs{{"a", ""}, {"B", "v"}}).toString(), "n(B=v, a=)");
}

TEST(CoreEvent, FixedKindsPrintTheirNamesAndCommandArgsJoinWithSemicolons)
{
    const std::pair<int, const char*> kinds[] = {{1, "EVENT_USER_REQUESTED_QUIT"},
                                                 {2, "EVENT_USER_IS_IDLE"},
                                                 {3, "EVENT_CUSTOM_USER_IDLE_TIMEOUT"},
                                                 {4, "EVENT_USER_REQUESTED_GOTO_NETWORK_CONFIG"},
                                                 {5, "5"},
                                                 {0, "0"},
                                                 {-3, "-3"}};
    for (const auto& [kind, text] : kinds)
        EXPECT_EQ(Core::Event(kind).toString(), text);
    // A fixed kind ignores a name it happens to carry.
    Core::Event idle(2);
    idle.name = "ignored";
    EXPECT_EQ(idle.toString(), "EVENT_USER_IS_IDLE");
    EXPECT_EQ(Core::CommandArgs().toString(), "");
    EXPECT_EQ((Core::CommandArgs{{"b", "2"}, {"a", "1"}}).toString(), "a=1;b=2");
    EXPECT_EQ((Core::CommandArgs{{"only", ""}}).toString(), "only=");
}

TEST(Services, SlotsHoldOneDriverEach)
{
    KELO::SystemService& slot = KELO::Services::getInstance().getSystemService();
    CoreTest::FakeSystemDriver first;
    CoreTest::FakeSystemDriver second;
    KELO::SystemDriver* out = nullptr;

    EXPECT_EQ(slot.getDriver(&out), KELO::FAILURE);
    EXPECT_EQ(slot.getDriver(nullptr), KELO::FAILURE);
    EXPECT_EQ(slot.registerDriver(&first), KELO::SUCCESS);
    EXPECT_EQ(slot.getDriver(nullptr), KELO::FAILURE);
    ASSERT_EQ(slot.getDriver(&out), KELO::SUCCESS);
    EXPECT_EQ(out, &first);
    // A second registration replaces the first.
    EXPECT_EQ(slot.registerDriver(&second), KELO::SUCCESS);
    ASSERT_EQ(slot.getDriver(&out), KELO::SUCCESS);
    EXPECT_EQ(out, &second);
    EXPECT_EQ(slot.unregisterDriver(), KELO::SUCCESS);
    out = nullptr;
    EXPECT_EQ(slot.getDriver(&out), KELO::FAILURE);
    EXPECT_EQ(out, nullptr);
}

TEST(Services, SurfaceMemoryLimitDefaultsTo24MiB)
{
    KELO::MultimediaService& slot = KELO::Services::getInstance().getMultimediaService();
    EXPECT_EQ(slot.getSurfaceMemoryLimit(), 25165824u);
    slot.setSurfaceMemoryLimit(1000);
    EXPECT_EQ(slot.getSurfaceMemoryLimit(), 1000u);
    slot.setSurfaceMemoryLimit(KELO::MultimediaService::kDefaultSurfaceMemoryLimit);
}

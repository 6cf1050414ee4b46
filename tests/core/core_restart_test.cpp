// The country restart: with the country "auto" the core runs a restarter thread; a country
// event from the scripts stores the new country and makes the restarter stop the core and
// start it again, the early settings pass then taking the stored country.
#include "core/Core.h"
#include "core/CoreRestarter.h"
#include "core/STBCoreDetail.h"
#include "support/LogCapture.h"
#include "support/StartupOrder.h"

#include "core/CoreTestDrivers.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using KELO::Core;

using CoreTest::countText;
using CoreTest::initLines;

std::string country(const char* key)
{
    std::string value;
    KELO::STBCoreDetail::Get()->getConfig().getSingleValue("locale", key, value, "<absent>");
    return value;
}

class CoreRestartTest : public ::testing::Test
{
protected:
    CoreRestartTest()
    {
        KELO::CoreLinks::setScriptEngine(&engine);
        KELO::CoreLinks::setProvisioning(&provisioning);
    }

    CoreTest::ClearedLinks links;
    CoreTest::RegisteredDrivers drivers;
    CoreTest::FakeScriptEngine engine;
    CoreTest::FakeProvisioning provisioning;
};

} // namespace

TEST_F(CoreRestartTest, AutoCountryTakesThePreviouslyEstablishedOne)
{
    provisioning.setEstablishedCountryCode("se");
    Core core("[locale]\ncountry = auto\n");
    LogCapture capture(VLOGSRC_APP, VLOG_INFO);
    ASSERT_TRUE(core.start("movies", {}));
    EXPECT_NE(KELO::CoreRestarter::instance, nullptr);
    EXPECT_NE(KELO::CoreRestarter::pThread, nullptr);
    EXPECT_TRUE(KELO::gRestartData.autoCountry);
    EXPECT_EQ(country("country"), "se");
    EXPECT_EQ(country("country_oem"), "auto");
    EXPECT_EQ(countText(capture, "STBCoreDetail: auto detect country"), 1u);
    EXPECT_EQ(countText(capture, "Use country form previous geo-error: se"), 1u);
    core.stop();
    EXPECT_EQ(KELO::CoreRestarter::instance, nullptr);
    EXPECT_EQ(KELO::CoreRestarter::pThread, nullptr);
}

TEST_F(CoreRestartTest, CountryEventRestartsTheCoreWithTheNewCountry)
{
    Core core("[locale]\ncountry = auto\n");
    ASSERT_TRUE(core.start("movies", {{"k", "v"}}));
    EXPECT_EQ(country("country"), "auto"); // nothing established yet

    LogCapture capture(VLOG_INFO);
    ASSERT_TRUE(
        engine.sendCoreEvent(Core::Event("standInThePlaceWhereYouLive", {{"country", "fr"}})));
    ASSERT_TRUE(CoreTest::eventually(
        [&] { return countText(capture, "Init: kelo-app-init-node->start()") == 1; }));
    ASSERT_TRUE(CoreTest::eventually([&] { return core.isRunning(); }));
    EXPECT_EQ(countText(capture, "Posting request to restart"), 1u);
    EXPECT_EQ(countText(capture, "STBCoreDetail restart"), 1u);
    EXPECT_EQ(countText(capture, "Use country form previous geo-error: fr"), 1u);
    EXPECT_EQ(country("country"), "fr");
    EXPECT_EQ(provisioning.log.calls(), (std::vector<std::string>{"provisioning.setCountry fr"}));

    // The whole graph stopped in reverse order, then started again in order.
    std::vector<std::string> expected;
    std::vector<std::string> order = KeloTest::documentedStartOrder();
    for (auto it = order.rbegin(); it != order.rend(); ++it)
        expected.push_back("Init: " + *it + "->stop()");
    expected.push_back("Init: SettingsHelper->start()");
    expected.push_back("Init: SettingsHelper->stop()");
    for (const std::string& name : order)
        expected.push_back("Init: " + name + "->start()");
    EXPECT_EQ(initLines(capture), expected);
    // The restart repeated the launch command of the first start.
    EXPECT_EQ(engine.log.count("engine.setLaunchCommand movies k=v"), 2u);

    core.stop();
    EXPECT_FALSE(core.isRunning());
    EXPECT_EQ(KELO::CoreRestarter::instance, nullptr);
}

TEST_F(CoreRestartTest, StopRightAfterARestartRequestLeavesTheCoreStopped)
{
    Core core("[locale]\ncountry = auto\n");
    ASSERT_TRUE(core.start("movies", {}));
    ASSERT_TRUE(
        engine.sendCoreEvent(Core::Event("standInThePlaceWhereYouLive", {{"country", "it"}})));
    // Whether the restart ran first or was abandoned, stop wins.
    core.stop();
    EXPECT_FALSE(core.isRunning());
    EXPECT_EQ(KELO::CoreRestarter::instance, nullptr);
}

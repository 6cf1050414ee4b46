#ifndef KELO_TESTS_CORE_CORETESTDRIVERS_H
#define KELO_TESTS_CORE_CORETESTDRIVERS_H
// Test stand-ins for the platform drivers and the core's subsystem links. The drivers answer
// with fixed values; the links record what the core asked of them (under a mutex, since the
// UI main thread calls them). RegisteredDrivers registers the three drivers the core requires
// (and optionally others) for a test's lifetime; InstalledLinks does the same for CoreLinks.
#include "core/CoreLinks.h"
#include "core/Drivers.h"
#include "support/LogCapture.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace CoreTest {

// Stores `value` in `*out` and reports success, for the drivers' getters.
template <typename T, typename V> int32 handOut(T* out, V value)
{
    *out = value;
    return KELO::SUCCESS;
}

class FakeSettings : public KELO::Settings
{
public:
    void reset() override {}
    bool get(const std::string&, std::string& value) override
    {
        value.clear();
        return false;
    }
    bool set(const std::string&, const std::string&) override { return true; }
};

class FakeSystemDriver : public KELO::SystemDriver
{
public:
    int32 GetSettings(KELO::Settings** settings) override { return handOut(settings, &mSettings); }
    bool getUID(std::string& uid) override { return handOut(&uid, "TESTUID") == KELO::SUCCESS; }
    std::string getSoftwareVersion() const override { return "test 1.0"; }
    int getSystemMemoryKB() const override { return 512000; }
    std::string getTempPath() const override { return "/tmp"; }

private:
    FakeSettings mSettings;
};

class FakeMediaPlayer : public KELO::MediaPlayer
{
public:
    Capabilities GetCapabilities() const override { return Capabilities{}; }
    int GetSupportedVideoCodecs(KELO::Containers) const override { return 0; }
    int GetSupportedAudioCodecs(KELO::Containers) const override { return 0; }
    int32 AddListener(void*, KELO::MediaPlayerListener*, int) override { return KELO::SUCCESS; }
    int32 RemoveListener(KELO::MediaPlayerListener*) override { return KELO::SUCCESS; }
    int32 SetSource(KELO::MediaBuffer*) override { return KELO::SUCCESS; }
    int32 SetOutput(KELO::Layer*) override { return KELO::SUCCESS; }
    int32 SetPosAndSpeed(int, int, int) override { return KELO::SUCCESS; }
    int32 GetPosAndSpeed(int*, int*) override { return KELO::SUCCESS; }
    int32 FrameAdvance() override { return KELO::NOT_SUPPORTED; }
    int32 FrameReverse() override { return KELO::NOT_SUPPORTED; }
};

class FakeDisplay : public KELO::Display
{
public:
    int GetCapabilities() const override { return 0; }
    int32 AddListener(void*, KELO::DisplayListener*, int) override { return KELO::SUCCESS; }
    int32 RemoveListener(KELO::DisplayListener*) override { return KELO::SUCCESS; }
    int32 SetVideoMode(const VideoMode&) override { return KELO::SUCCESS; }
    int32 GetVideoMode(VideoMode* mode) override { return handOut(mode, VideoMode{}); }
    int32 SetAudioMode(const AudioMode&) override { return KELO::SUCCESS; }
    int32 GetAudioMode(AudioMode* mode) override { return handOut(mode, AudioMode{}); }
    int32 GetMonitorInfo(HDMISetupInfo* info) override { return handOut(info, HDMISetupInfo{}); }
    int32 EnableConnectors(bool, int) override { return KELO::SUCCESS; }
    int32 EnableCopyProtection(bool, CopyProtectionStandard) override { return KELO::SUCCESS; }
    int32 EnableWatermarking(bool, unsigned) override { return KELO::NOT_SUPPORTED; }
    int32 SetAudioDelay(int) override { return KELO::SUCCESS; }
    int32 GetAudioDelay(int* delay) override { return handOut(delay, 0); }
    int32 EnableVideoEnhancementsBypass(bool, const VideoEnhancementsBypassRegion&) override
    {
        return KELO::NOT_SUPPORTED;
    }
};

class FakeMultimediaDriver : public KELO::MultimediaDriver
{
public:
    int GetCapabilities() const override { return 0; }
    int32 GetGraphics(KELO::Graphics**) override { return KELO::NOT_SUPPORTED; }
    int32 GetMixer(KELO::Mixer**) override { return KELO::NOT_SUPPORTED; }
    int32 GetDisplay(KELO::Display** out) override
    {
        return hasDisplay ? handOut(out, &mDisplay) : KELO::FAILURE;
    }
    int32 GetPlayer(KELO::MediaPlayer** player) override { return handOut(player, &mPlayer); }
    int32 GetCA(KELO::CA**) override { return KELO::NOT_SUPPORTED; }

    KELO::Display* display() { return &mDisplay; }

    bool hasDisplay = true;

private:
    FakeDisplay mDisplay;
    FakeMediaPlayer mPlayer;
};

class FakeUserInputDriver : public KELO::UserInputDriver
{
public:
    int32 GetUserInput(KELO::UserInput**) override { return KELO::NOT_SUPPORTED; }
};

// Registers the system, multimedia and user-input drivers while it lives; clears every slot
// it touched at the end.
class RegisteredDrivers
{
public:
    RegisteredDrivers(bool system = true, bool multimedia = true, bool input = true)
    {
        KELO::Services& services = KELO::Services::getInstance();
        if (system)
            services.getSystemService().registerDriver(&systemDriver);
        if (multimedia)
            services.getMultimediaService().registerDriver(&multimediaDriver);
        if (input)
            services.getUserInputService().registerDriver(&inputDriver);
    }
    ~RegisteredDrivers()
    {
        KELO::Services& services = KELO::Services::getInstance();
        services.getSystemService().unregisterDriver();
        services.getMultimediaService().unregisterDriver();
        services.getUserInputService().unregisterDriver();
        services.getUpdateService().unregisterDriver();
    }
    RegisteredDrivers(const RegisteredDrivers&) = delete;
    RegisteredDrivers& operator=(const RegisteredDrivers&) = delete;

    FakeSystemDriver systemDriver;
    FakeMultimediaDriver multimediaDriver;
    FakeUserInputDriver inputDriver;
};

// Records every call as one text line. add() answers true, so that a fake can record a call and
// report success in one step.
class CallLog
{
public:
    bool add(const std::string& call)
    {
        std::lock_guard<std::mutex> lock(mMutex);
        mCalls.push_back(call);
        return true;
    }
    std::vector<std::string> calls() const
    {
        std::lock_guard<std::mutex> lock(mMutex);
        return mCalls;
    }
    size_t count(const std::string& call) const
    {
        const std::vector<std::string> all = calls();
        return static_cast<size_t>(std::count(all.begin(), all.end(), call));
    }

private:
    mutable std::mutex mMutex;
    std::vector<std::string> mCalls;
};

class FakeScreen : public KELO::ScreenLink
{
public:
    explicit FakeScreen(CallLog& log) : mLog(log) {}
    bool create() override { return mLog.add("screen.create"); }
    void setOverscan(int32 top, int32 left, int32 bottom, int32 right) override
    {
        mLog.add("screen.setOverscan " + std::to_string(top) + " " + std::to_string(left) + " " +
                 std::to_string(bottom) + " " + std::to_string(right));
    }
    bool takeScreenshot(const std::string& path) override
    {
        return mLog.add("screen.takeScreenshot " + path);
    }
    void close() override { mLog.add("screen.close"); }

private:
    CallLog& mLog;
};

class FakeScriptEngine : public KELO::ScriptEngineLink
{
public:
    void setLaunchCommand(const std::string& command, const KELO::Core::CommandArgs& args) override
    {
        log.add("engine.setLaunchCommand " + command + " " + args.toString());
    }
    void setCoreEventHandler(CoreEventHandler handler, void* context) override
    {
        std::lock_guard<std::mutex> lock(mMutex);
        mHandler = handler;
        mContext = context;
        log.add(handler != nullptr ? "engine.setCoreEventHandler" : "engine.clearCoreEventHandler");
    }
    void addRestartedCallback(RestartedCallback, void*) override { log.add("engine.addRestarted"); }
    void removeRestartedCallback(RestartedCallback, void*) override
    {
        log.add("engine.removeRestarted");
    }
    bool initialize(KELO::ScreenLink* screen) override
    {
        return log.add(screen != nullptr ? "engine.initialize screen" : "engine.initialize");
    }
    void shutdown() override { log.add("engine.shutdown"); }
    void restart() override { log.add("engine.restart"); }
    void doTestControllerCommand(const std::string& word) override
    {
        log.add("engine.testcontroller " + word);
    }
    void returnToOldWorld() override { log.add("engine.returnToOldWorld"); }

    // Sends a core event the way a script would (false when no handler is registered).
    bool sendCoreEvent(const KELO::Core::Event& event)
    {
        std::unique_lock<std::mutex> lock(mMutex);
        CoreEventHandler handler = mHandler;
        void* context = mContext;
        lock.unlock();
        if (handler != nullptr)
            handler(event, context);
        return handler != nullptr;
    }

    CallLog log;

private:
    std::mutex mMutex;
    CoreEventHandler mHandler = nullptr;
    void* mContext = nullptr;
};

class FakeProvisioning : public KELO::ProvisioningLink
{
public:
    std::string getHardwareId() override { return "HW-1"; }
    std::string getEstablishedCountryCode() override
    {
        std::lock_guard<std::mutex> lock(mMutex);
        return mCountry;
    }
    bool setEstablishedCountryCode(const std::string& country) override
    {
        std::lock_guard<std::mutex> lock(mMutex);
        mCountry = country;
        return log.add("provisioning.setCountry " + country);
    }
    bool unprovision() override { return log.add("provisioning.unprovision") && unprovisionResult; }
    bool generateHwId() override { return log.add("provisioning.generateHwId"); }
    bool corruptProvisioning() override { return log.add("provisioning.corrupt") && corruptResult; }
    bool setDeactivateFlag() override { return log.add("provisioning.setDeactivateFlag"); }

    CallLog log;
    bool unprovisionResult = true;
    bool corruptResult = true;

private:
    std::mutex mMutex;
    std::string mCountry;
};

// Empties every CoreLinks slot when created and when destroyed.
class ClearedLinks
{
public:
    ClearedLinks() { KELO::CoreLinks::clear(); }
    ~ClearedLinks() { KELO::CoreLinks::clear(); }
    ClearedLinks(const ClearedLinks&) = delete;
    ClearedLinks& operator=(const ClearedLinks&) = delete;
};

// How many captured lines have exactly this text.
inline size_t countText(const LogCapture& capture, const std::string& text)
{
    size_t n = 0;
    for (const LogCapture::Line& line : capture.lines())
        n += line.text == text ? 1 : 0;
    return n;
}

// The start-up runner's "Init: <node>->start()" / "->stop()" lines, in order.
inline std::vector<std::string> initLines(const LogCapture& capture)
{
    std::vector<std::string> result;
    for (const LogCapture::Line& line : capture.lines()) {
        if (line.source == "misc_system" && line.text.rfind("Init: ", 0) == 0)
            result.push_back(line.text);
    }
    return result;
}

// Waits until `condition` holds, for as long as a loaded machine may need; true when it held.
// Not a timing check: the limit only keeps a broken run from hanging forever.
inline bool eventually(const std::function<bool()>& condition)
{
    for (int i = 0; i < 12000; ++i) {
        if (condition())
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return condition();
}

} // namespace CoreTest

#endif

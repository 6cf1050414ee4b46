#ifndef KELO_TESTS_CORE_CORETESTDRIVERS_H
#define KELO_TESTS_CORE_CORETESTDRIVERS_H
// Test stand-ins for the platform drivers and the core's subsystem links. The drivers answer
// with fixed values; the links record what the core asked of them (under a mutex, since the
// UI main thread calls them). RegisteredDrivers registers the three drivers the core requires
// (and optionally others) for a test's lifetime; InstalledLinks does the same for CoreLinks.
#include "core/CoreLinks.h"
#include "core/Drivers.h"
#include "support/LogCapture.h"

#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace CoreTest {

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
    int32 GetSettings(KELO::Settings** settings) override
    {
        *settings = &mSettings;
        return KELO::SUCCESS;
    }
    bool getUID(std::string& uid) override
    {
        uid = "TESTUID";
        return true;
    }
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
    int32 GetVideoMode(VideoMode* mode) override
    {
        *mode = VideoMode{};
        return KELO::SUCCESS;
    }
    int32 SetAudioMode(const AudioMode&) override { return KELO::SUCCESS; }
    int32 GetAudioMode(AudioMode* mode) override
    {
        *mode = AudioMode{};
        return KELO::SUCCESS;
    }
    int32 GetMonitorInfo(HDMISetupInfo* info) override
    {
        *info = HDMISetupInfo{};
        return KELO::SUCCESS;
    }
    int32 EnableConnectors(bool, int) override { return KELO::SUCCESS; }
    int32 EnableCopyProtection(bool, CopyProtectionStandard) override { return KELO::SUCCESS; }
    int32 EnableWatermarking(bool, unsigned) override { return KELO::NOT_SUPPORTED; }
    int32 SetAudioDelay(int) override { return KELO::SUCCESS; }
    int32 GetAudioDelay(int* delay) override
    {
        *delay = 0;
        return KELO::SUCCESS;
    }
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
    int32 GetDisplay(KELO::Display** display) override
    {
        if (!hasDisplay)
            return KELO::FAILURE;
        *display = &mDisplay;
        return KELO::SUCCESS;
    }
    int32 GetPlayer(KELO::MediaPlayer** player) override
    {
        *player = &mPlayer;
        return KELO::SUCCESS;
    }
    int32 GetCA(KELO::CA**) override { return KELO::NOT_SUPPORTED; }

    KELO::Display* display() { return &mDisplay; }
    KELO::MediaPlayer* player() { return &mPlayer; }

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

// Records every call as one text line.
class CallLog
{
public:
    void add(const std::string& call)
    {
        std::lock_guard<std::mutex> lock(mMutex);
        mCalls.push_back(call);
    }
    std::vector<std::string> calls() const
    {
        std::lock_guard<std::mutex> lock(mMutex);
        return mCalls;
    }
    size_t count(const std::string& call) const
    {
        size_t n = 0;
        for (const std::string& c : calls())
            n += c == call ? 1 : 0;
        return n;
    }

private:
    mutable std::mutex mMutex;
    std::vector<std::string> mCalls;
};

class FakeScreen : public KELO::ScreenLink
{
public:
    explicit FakeScreen(CallLog& log) : mLog(log) {}
    bool create() override
    {
        mLog.add("screen.create");
        return true;
    }
    void setOverscan(int32 top, int32 left, int32 bottom, int32 right) override
    {
        mLog.add("screen.setOverscan " + std::to_string(top) + " " + std::to_string(left) + " " +
                 std::to_string(bottom) + " " + std::to_string(right));
    }
    bool takeScreenshot(const std::string& path) override
    {
        mLog.add("screen.takeScreenshot " + path);
        return true;
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
        log.add(screen != nullptr ? "engine.initialize screen" : "engine.initialize");
        return true;
    }
    void shutdown() override { log.add("engine.shutdown"); }
    void restart() override { log.add("engine.restart"); }
    void doTestControllerCommand(const std::string& subcommand) override
    {
        log.add("engine.testcontroller " + subcommand);
    }
    void returnToOldWorld() override { log.add("engine.returnToOldWorld"); }

    // Sends a core event the way a script would (false when no handler is registered).
    bool sendCoreEvent(const KELO::Core::Event& event)
    {
        CoreEventHandler handler;
        void* context;
        {
            std::lock_guard<std::mutex> lock(mMutex);
            handler = mHandler;
            context = mContext;
        }
        if (handler == nullptr)
            return false;
        handler(event, context);
        return true;
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
        log.add("provisioning.setCountry " + country);
        return true;
    }
    bool unprovision() override
    {
        log.add("provisioning.unprovision");
        return unprovisionResult;
    }
    bool generateHwId() override
    {
        log.add("provisioning.generateHwId");
        return true;
    }
    bool corruptProvisioning() override
    {
        log.add("provisioning.corrupt");
        return corruptResult;
    }
    bool setDeactivateFlag() override
    {
        log.add("provisioning.setDeactivateFlag");
        return true;
    }

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

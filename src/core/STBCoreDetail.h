#ifndef CORE_STBCOREDETAIL_H
#define CORE_STBCOREDETAIL_H
// KELO::STBCoreDetail: the set-top implementation behind KELO::Core. It holds the effective
// configuration (the text with the forced options applied), the root start-up node
// "kelo-app-init-node" over the thirteen fixed service nodes plus any extra ones, the runner
// "kelo-app", the display, the console commands of the service connection and the UI main
// thread "kelo-app-main".
//
// Invariants: stopped, the runner, root node and main thread are null and no console command
// is registered; running, all three exist, the runner has started every node and the main
// thread runs. mDeps always holds the fixed nodes first (mDepCount >= 13).
//
// Threads: start(), stop(), restart() and setExtraDependencies() serialise on the class-wide
// s_lock, which also guards s_count, s_hack and the restarter statics. restart() runs only on
// the restarter thread. handleCoreEvent() and the listener run on the UI main thread.
// postSystemEvent() runs on any poster's thread (under the system-event lock).
#include "core/ConsoleCommandRegistry.h"
#include "core/Core.h"
#include "core/CoreDetail.h"
#include "core/MainThread.h"
#include "kapi/Init.h"
#include "kapi/InitNode.h"
#include "kapi/Mutex.h"
#include "kapi/SystemEvent.h"
#include "kapi/Thread.h"
#include "kapi/vConfig.h"

#include <atomic>
#include <memory>
#include <string>

namespace KELO {

class CoreRestarter;
class Display;

// What start() was last called with, so that a restart repeats it.
struct RestartData
{
    std::string appName;
    Core::CommandArgs args;
    bool autoCountry = false;
};
extern RestartData gRestartData; // guarded by STBCoreDetail's s_lock

class STBCoreDetail : public CoreDetail, public Kapi::SystemEventDispatcher
{
public:
    explicit STBCoreDetail(const std::string& configText);
    ~STBCoreDetail() override;

    // The most recently constructed live instance, or null.
    static STBCoreDetail* Get();
    // Number of live instances.
    static unsigned getInstanceCount();

    bool start(const std::string& appName, const Core::CommandArgs& args) override;
    void stop() override;
    void post(const Core::Event& event) override;
    bool isRunning() const override { return mRunning.load(); }
    void setOEMScreenSaverState(bool on) override;
    void postSystemEvent(const Kapi::SystemEvent& event) override;
    void deviceIdUpdated(unsigned id) override;
    bool executeConsoleCommand(const std::string& command, const Kapi::StringVector& args) override;
    std::vector<std::string> consoleCommandNames() const override;

    // The fixed nodes followed by `count` more; refused while running.
    void setExtraDependencies(Kapi::Init::InitNode** nodes, unsigned count);
    // Stops and starts again with the arguments of the last start (restarter thread only).
    bool restart();
    // Registered with the script engine; `context` is the detail.
    static void handleCoreEvent(const Core::Event& event, void* context);

    const Kapi::vConfig& getConfig() const { return mConfig; }
    bool isConfigInvalid() const { return mConfigInvalid; }
    unsigned getDepCount() const { return mDepCount; }
    Kapi::Init::InitNode* const* getDeps() const { return mDeps.get(); }
    // The runner while running, else null (for inspection by tests and tools).
    const Kapi::Init::Init* getInit() const { return mInit.get(); }
    Display* getDisplay() const { return mDisplay; }

    // The options the core always sets, whatever the text said.
    static void overrideNeededOptions(Kapi::vConfig& config);

private:
    friend class CoreRestarter;

    static void ignoreSigPipe();
    // restart() for `restarter`, abandoned when the restarter was told to stop meanwhile.
    bool restartFor_i(const CoreRestarter& restarter);
    bool restartLocked_i();
    // With s_lock held: tells the restarter to stop and moves it and its thread out of the
    // statics, for the caller to join after releasing s_lock.
    static void detachRestarter_i(std::unique_ptr<CoreRestarter>& restarter,
                                  std::unique_ptr<Kapi::Thread>& thread);
    static void joinRestarter(std::unique_ptr<CoreRestarter>& restarter,
                              std::unique_ptr<Kapi::Thread>& thread);
    bool startLocked_i(const std::string& appName, const Core::CommandArgs& args);
    void setExtraDependencies_i(Kapi::Init::InitNode** nodes, unsigned count);
    bool checkDrivers() const;
    void runEarlySettingsPass_i();
    bool resourcesAllocate_i();
    void connectionCreate();
    void connectionDestroy();
    void stop_i();
    void joinAndFree_i();
    void resourcesFree_i();

    std::unique_ptr<Kapi::Init::Init> mInit;
    std::unique_ptr<Kapi::Init::NoOpInitNode> mRootNode;
    Display* mDisplay = nullptr; // the multimedia driver's
    Kapi::vConfig mConfig;
    unsigned mDepCount = 0;
    std::unique_ptr<Kapi::Init::InitNode*[]> mDeps;
    ConsoleCommandRegistry mConsoleCommands;
    std::unique_ptr<MainThread> mMainThread;
    bool mConfigInvalid = false;
    std::atomic<bool> mRunning{false};

    static Kapi::ScopedMutex s_lock;
    static unsigned s_count;
    static STBCoreDetail* s_hack;
};

} // namespace KELO

#endif

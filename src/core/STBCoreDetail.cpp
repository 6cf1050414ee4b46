// STBCoreDetail: construction, the forced options, start, stop and restart under the
// class-wide lock, and the event paths between the UI and the embedding program.
#include "core/STBCoreDetail.h"

#include "core/CoreLinks.h"
#include "core/CoreNodes.h"
#include "core/CoreRestarter.h"
#include "core/Drivers.h"
#include "core/SettingsHelperInitNode.h"
#include "core/UICoreApplication.h"
#include "kapi/KeyValueMap.h"
#include "kapi/vLog.h"

#include <csignal>
#include <pthread.h>

namespace KELO {

RestartData gRestartData;

Kapi::ScopedMutex STBCoreDetail::s_lock;
unsigned STBCoreDetail::s_count = 0;
STBCoreDetail* STBCoreDetail::s_hack = nullptr;

namespace {
const char kCountryEventName[] = "standInThePlaceWhereYouLive";
} // namespace

std::unique_ptr<CoreDetail> CoreDetail::New(const std::string& configText)
{
    return std::make_unique<STBCoreDetail>(configText);
}

STBCoreDetail::STBCoreDetail(const std::string& configText)
{
    {
        Kapi::MutexLocker lock(s_lock);
        s_hack = this;
        ++s_count;
    }
    if (vLogLevelEnabled(VLOGSRC_APP, VLOG_DEBUG))
        vLogMessage(VLOGSRC_APP, VLOG_DEBUG, "STBCoreDetail::STBCoreDetail()");
    if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
        vLogMessage(VLOGSRC_APP, VLOG_INFO, "Ignoring SIGPIPE");
    ignoreSigPipe();
    setExtraDependencies_i(nullptr, 0);

    Kapi::vConfig parsed;
    if (!parsed.fromString(configText)) {
        overrideNeededOptions(mConfig);
        mConfigInvalid = true;
        if (vLogLevelEnabled(VLOGSRC_APP, VLOG_ERROR))
            vLogMessage(VLOGSRC_APP, VLOG_ERROR, "Invalid Core config:\n%s\n", configText.c_str());
    } else {
        overrideNeededOptions(parsed);
        mConfig = parsed;
        mConfigInvalid = false;
        if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
            vLogMessage(VLOGSRC_APP, VLOG_INFO, "Configured Core with:\n%s\n",
                        mConfig.toString().c_str());
    }
    Kapi::SystemEvent::setDispatcher(this);
}

STBCoreDetail::~STBCoreDetail()
{
    std::unique_ptr<CoreRestarter> restarter;
    std::unique_ptr<Kapi::Thread> thread;
    {
        Kapi::MutexLocker lock(s_lock);
        if (s_hack == this)
            s_hack = nullptr;
        if (vLogLevelEnabled(VLOGSRC_APP, VLOG_DEBUG))
            vLogMessage(VLOGSRC_APP, VLOG_DEBUG, "STBCoreDetail::~STBCoreDetail()");
        Kapi::SystemEvent::setDispatcher(nullptr);
        if (mRunning.load())
            stop_i();
        // A restarter bound to this detail must not outlive it.
        if (CoreRestarter::instance && !CoreRestarter::instance->isStopping())
            detachRestarter_i(restarter, thread);
        --s_count;
    }
    joinRestarter(restarter, thread);
    mMainThread.reset();
    mInit.reset();
    mRootNode.reset();
}

STBCoreDetail* STBCoreDetail::Get()
{
    Kapi::MutexLocker lock(s_lock);
    return s_hack;
}

unsigned STBCoreDetail::getInstanceCount()
{
    Kapi::MutexLocker lock(s_lock);
    return s_count;
}

void STBCoreDetail::ignoreSigPipe()
{
    if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
        vLogMessage(VLOGSRC_APP, VLOG_INFO, "Ignoring SIGPIPE.");
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

void STBCoreDetail::overrideNeededOptions(Kapi::vConfig& config)
{
    config.setSingleValue("repository", "diskSizeMB", "0");
    config.setSingleValue("network", "p2pEnabled", "false");
    config.setSingleValue("", "allowProvisioning", "true");
    config.setSingleValue("client", "useWatchdog", "false");
    config.setSingleValue("client", "showTraceMem", "false");
    std::string priority;
    config.getSingleValue("misc", "networkThreadPriority", priority, "");
    if (priority.empty()) {
        if (vLogLevelEnabled(VLOGSRC_APP, VLOG_ERROR))
            vLogMessage(VLOGSRC_APP, VLOG_ERROR, "Cannot get misc->networkThreadPriority");
        priority = "normal";
    }
    config.setSingleValue("misc", "networkThreadPriority", priority);
}

void STBCoreDetail::setExtraDependencies(Kapi::Init::InitNode** nodes, unsigned count)
{
    Kapi::MutexLocker lock(s_lock);
    if (mRunning.load()) {
        if (vLogLevelEnabled(VLOGSRC_APP, VLOG_ERROR))
            vLogMessage(VLOGSRC_APP, VLOG_ERROR, "Cannot set extra dependencies while running.");
        return;
    }
    setExtraDependencies_i(nodes, count);
}

void STBCoreDetail::setExtraDependencies_i(Kapi::Init::InitNode** nodes, unsigned count)
{
    const FixedStartupNodes fixed = getFixedStartupNodes();
    mDepCount = kFixedStartupNodeCount + count;
    mDeps = std::make_unique<Kapi::Init::InitNode*[]>(mDepCount);
    for (unsigned i = 0; i < kFixedStartupNodeCount; ++i)
        mDeps[i] = fixed[i];
    for (unsigned i = 0; i < count; ++i)
        mDeps[kFixedStartupNodeCount + i] = nodes[i];
}

bool STBCoreDetail::start(const std::string& appName, const Core::CommandArgs& args)
{
    Kapi::MutexLocker lock(s_lock);
    gRestartData.appName = appName;
    gRestartData.args = args;
    gRestartData.autoCountry = false;
    // The running main thread reads the configuration: a start while running only updates
    // the launch command.
    if (mRunning.load())
        return startLocked_i(appName, args);

    std::string country;
    mConfig.getSingleValue("locale", "country", country, "");
    mConfig.setSingleValue("locale", "country_oem", country);
    if (country == "auto") {
        if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
            vLogMessage(VLOGSRC_APP, VLOG_INFO, "STBCoreDetail: auto detect country");
        gRestartData.autoCountry = true;
        // A second start while running keeps the restarter it already has.
        if (!CoreRestarter::instance) {
            CoreRestarter::instance = std::make_unique<CoreRestarter>(this);
            CoreRestarter::pThread = Kapi::Thread::New("CoreRestarter", Kapi::Thread::PRIORITY_LOW,
                                                       CoreRestarter::instance.get());
            CoreRestarter::pThread->start();
        }
    } else if (country.empty()) {
        if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
            vLogMessage(VLOGSRC_APP, VLOG_INFO,
                        "STBCoreDetail: no country was specified in config. Use usa.");
        mConfig.setSingleValue("locale", "country", "usa");
    } else if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO)) {
        vLogMessage(VLOGSRC_APP, VLOG_INFO,
                    "STBCoreDetail: country was specified in config. Use it (%s)", country.c_str());
    }
    return startLocked_i(appName, args);
}

bool STBCoreDetail::startLocked_i(const std::string& appName, const Core::CommandArgs& args)
{
    ScriptEngineLink* engine = CoreLinks::scriptEngine();
    if (mRunning.load()) {
        if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
            vLogMessage(VLOGSRC_APP, VLOG_INFO, "STBCoreDetail::start(): Core is already running.");
        if (engine != nullptr)
            engine->setLaunchCommand(appName, args);
        return true;
    }
    if (vLogLevelEnabled(VLOGSRC_APP, VLOG_NOTICE))
        vLogMessage(VLOGSRC_APP, VLOG_NOTICE, "STBCoreDetail::start()");
    if (mConfigInvalid) {
        if (vLogLevelEnabled(VLOGSRC_APP, VLOG_ERROR))
            vLogMessage(VLOGSRC_APP, VLOG_ERROR, "Failed to start becase the config is invalid.");
        return false;
    }
    if (!checkDrivers())
        return false;
    runEarlySettingsPass_i();
    if (!resourcesAllocate_i())
        return false;

    mMainThread = std::make_unique<MainThread>(mDisplay, mConfig, "kelo-app-main",
                                               Kapi::Thread::PRIORITY_ABOVE_NORMAL);
    if (engine != nullptr) {
        engine->setLaunchCommand(appName, args);
        engine->setCoreEventHandler(&STBCoreDetail::handleCoreEvent, this);
    }
    if (vLogLevelEnabled(VLOGSRC_APP, VLOG_DEBUG))
        vLogMessage(VLOGSRC_APP, VLOG_DEBUG, "STBCoreDetail::start() starting thread");
    mMainThread->start();
    mRunning.store(true);
    return true;
}

bool STBCoreDetail::checkDrivers() const
{
    Services& services = Services::getInstance();
    SystemDriver* system = nullptr;
    if (services.getSystemService().getDriver(&system) != SUCCESS) {
        if (vLogLevelEnabled(VLOGSRC_APP, VLOG_ERROR))
            vLogMessage(VLOGSRC_APP, VLOG_ERROR, "Missing system driver.");
        return false;
    }
    MultimediaDriver* multimedia = nullptr;
    if (services.getMultimediaService().getDriver(&multimedia) != SUCCESS) {
        if (vLogLevelEnabled(VLOGSRC_APP, VLOG_ERROR))
            vLogMessage(VLOGSRC_APP, VLOG_ERROR, "Missing multimedia driver.");
        return false;
    }
    UserInputDriver* input = nullptr;
    if (services.getUserInputService().getDriver(&input) != SUCCESS) {
        if (vLogLevelEnabled(VLOGSRC_APP, VLOG_ERROR))
            vLogMessage(VLOGSRC_APP, VLOG_ERROR, "Missing user input driver.");
        return false;
    }
    return true;
}

void STBCoreDetail::runEarlySettingsPass_i()
{
    Kapi::Init::Init early("kelo-app-init-node_early",
                           Helpers::SettingsHelperInitNode::getInstance());
    early.start(mConfig);
    if (gRestartData.autoCountry) {
        ProvisioningLink* provisioning = CoreLinks::provisioning();
        const std::string country =
            provisioning != nullptr ? provisioning->getEstablishedCountryCode() : std::string();
        if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
            vLogMessage(VLOGSRC_APP, VLOG_INFO, "Use country form previous geo-error: %s",
                        country.c_str());
        if (!country.empty())
            mConfig.setSingleValue("locale", "country", country);
    }
    early.stop();
}

void STBCoreDetail::stop()
{
    std::unique_ptr<CoreRestarter> restarter;
    std::unique_ptr<Kapi::Thread> thread;
    {
        Kapi::MutexLocker lock(s_lock);
        if (vLogLevelEnabled(VLOGSRC_APP, VLOG_DEBUG))
            vLogMessage(VLOGSRC_APP, VLOG_DEBUG, "STBCoreDetail::stop()");
        stop_i();
        if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
            vLogMessage(VLOGSRC_APP, VLOG_INFO, "CoreRestarter stop");
        detachRestarter_i(restarter, thread);
    }
    // Joined outside s_lock: a restart the thread has begun waits for s_lock, then sees the
    // stop request and gives up.
    joinRestarter(restarter, thread);
    if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
        vLogMessage(VLOGSRC_APP, VLOG_INFO, "CoreRestarter stop complete");
}

void STBCoreDetail::detachRestarter_i(std::unique_ptr<CoreRestarter>& restarter,
                                      std::unique_ptr<Kapi::Thread>& thread)
{
    if (CoreRestarter::instance)
        CoreRestarter::instance->requestStop();
    restarter = std::move(CoreRestarter::instance);
    thread = std::move(CoreRestarter::pThread);
}

void STBCoreDetail::joinRestarter(std::unique_ptr<CoreRestarter>& restarter,
                                  std::unique_ptr<Kapi::Thread>& thread)
{
    if (thread)
        thread->join();
    thread.reset();
    restarter.reset();
}

void STBCoreDetail::stop_i()
{
    if (vLogLevelEnabled(VLOGSRC_APP, VLOG_DEBUG))
        vLogMessage(VLOGSRC_APP, VLOG_DEBUG, "STBCoreDetail::stop_i()");
    if (!mRunning.load()) {
        if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
            vLogMessage(VLOGSRC_APP, VLOG_INFO, "Already stopped.");
        return;
    }
    if (vLogLevelEnabled(VLOGSRC_APP, VLOG_DEBUG))
        vLogMessage(VLOGSRC_APP, VLOG_DEBUG, "STBCoreDetail::stop_i() stopping thread");
    mMainThread->stop();
    joinAndFree_i();
    if (ScriptEngineLink* engine = CoreLinks::scriptEngine())
        engine->setCoreEventHandler(nullptr, nullptr);
}

void STBCoreDetail::joinAndFree_i()
{
    if (vLogLevelEnabled(VLOGSRC_APP, VLOG_DEBUG))
        vLogMessage(VLOGSRC_APP, VLOG_DEBUG, "STBCoreDetail::joinAndFree_i() joining thread");
    const int result = mMainThread->join();
    if (vLogLevelEnabled(VLOGSRC_APP, VLOG_DEBUG))
        vLogMessage(VLOGSRC_APP, VLOG_DEBUG, "STBCoreDetail::joinAndFree_i() thread returns %d",
                    result);
    if (vLogLevelEnabled(VLOGSRC_APP, VLOG_DEBUG))
        vLogMessage(VLOGSRC_APP, VLOG_DEBUG, "STBCoreDetail::joinAndFree_i() Resetting thread");
    mMainThread.reset();
    if (vLogLevelEnabled(VLOGSRC_APP, VLOG_DEBUG))
        vLogMessage(VLOGSRC_APP, VLOG_DEBUG, "STBCoreDetail::joinAndFree_i() freeing resources");
    resourcesFree_i();
    mRunning.store(false);
}

bool STBCoreDetail::restart()
{
    if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
        vLogMessage(VLOGSRC_APP, VLOG_INFO, "STBCoreDetail restart");
    Kapi::MutexLocker lock(s_lock);
    return restartLocked_i();
}

bool STBCoreDetail::restartFor_i(const CoreRestarter& restarter)
{
    if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
        vLogMessage(VLOGSRC_APP, VLOG_INFO, "STBCoreDetail restart");
    Kapi::MutexLocker lock(s_lock);
    if (restarter.isStopping()) {
        if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
            vLogMessage(VLOGSRC_APP, VLOG_INFO, "STBCoreDetail restart abandoned: core stopping");
        return false;
    }
    return restartLocked_i();
}

bool STBCoreDetail::restartLocked_i()
{
    // The stop and the start run under one hold of s_lock so that no stop() from the embedding
    // program can fall between them.
    stop_i();
    return startLocked_i(gRestartData.appName, gRestartData.args);
}

void STBCoreDetail::handleCoreEvent(const Core::Event& event, void* context)
{
    STBCoreDetail* detail = static_cast<STBCoreDetail*>(context);
    if (event.name != kCountryEventName) {
        if (Core::EventListener* listener = detail->getListener())
            listener->Callback(event);
        return;
    }
    const auto found = event.args.find("country");
    const std::string country = found != event.args.end() ? found->second : std::string();
    if (ProvisioningLink* provisioning = CoreLinks::provisioning())
        provisioning->setEstablishedCountryCode(country);
    else if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
        vLogMessage(VLOGSRC_APP, VLOG_INFO,
                    "No settings helper in this build: country '%s' not stored", country.c_str());
    if (CoreRestarter::instance) {
        if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
            vLogMessage(VLOGSRC_APP, VLOG_INFO, "Posting request to restart");
        CoreRestarter::instance->requestRestart();
    } else if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO)) {
        vLogMessage(VLOGSRC_APP, VLOG_INFO, "Ignore request to restart");
    }
}

void STBCoreDetail::post(const Core::Event& event)
{
    Kapi::KeyValueMap values;
    for (const auto& [key, value] : event.args)
        values.addValue(key, value);
    Kapi::SystemEvent::post("coreEvent", event.name.c_str(), values);
}

void STBCoreDetail::postSystemEvent(const Kapi::SystemEvent& event)
{
    if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
        vLogMessage(VLOGSRC_APP, VLOG_INFO, "%s(%s)", "postSystemEvent", event.toString().c_str());
    UICore::Application::post(new UICore::SystemEvent(event));
}

void STBCoreDetail::setOEMScreenSaverState(bool on)
{
    Kapi::SystemEvent::post("screensaver", "stateChanged", "on", Kapi::Variant(on));
}

void STBCoreDetail::deviceIdUpdated(unsigned id)
{
    // The data core, application loader and query initialisers take the client id once they
    // exist; until then the id is only logged.
    if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
        vLogMessage(VLOGSRC_APP, VLOG_INFO, "STBCoreDetail::deviceIdUpdated(%u)", id);
}

bool STBCoreDetail::executeConsoleCommand(const std::string& command,
                                          const Kapi::StringVector& args)
{
    return mConsoleCommands.execute(command, args);
}

std::vector<std::string> STBCoreDetail::consoleCommandNames() const
{
    return mConsoleCommands.names();
}

} // namespace KELO

// STBCoreDetail's resources: the start-up graph runner, the display and the service
// connection's console commands, allocated on start and freed on stop (both under s_lock).
#include "core/STBCoreDetail.h"

#include "core/ConsoleCommands.h"
#include "core/CoreLinks.h"
#include "core/Drivers.h"
#include "kapi/net/CurlAsyncCancelList.h"
#include "kapi/net/CurlInitNode.h"
#include "kapi/vLog.h"

namespace KELO {

bool STBCoreDetail::resourcesAllocate_i()
{
    if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
        vLogMessage(VLOGSRC_APP, VLOG_INFO, "STBCoreDetail::resourcesAllocate_i()");
    if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
        vLogMessage(VLOGSRC_APP, VLOG_INFO, "Creating init node");
    // The runner goes before the node it points at.
    mInit.reset();
    mRootNode =
        std::make_unique<Kapi::Init::NoOpInitNode>("kelo-app-init-node", mDepCount, mDeps.get());
    if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
        vLogMessage(VLOGSRC_APP, VLOG_INFO, "Creating init");
    mInit = std::make_unique<Kapi::Init::Init>("kelo-app", mRootNode.get());
    if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
        vLogMessage(VLOGSRC_APP, VLOG_INFO, "Starting init with config:\n%s\n",
                    mConfig.toString().c_str());
    if (!mInit->start(mConfig)) {
        if (vLogLevelEnabled(VLOGSRC_APP, VLOG_ERROR))
            vLogMessage(VLOGSRC_APP, VLOG_ERROR, "Failed to start Core components.");
        // The services that did start stop again so that a later start finds them startable;
        // the runner and node stay allocated until the next start or destruction.
        mInit->stop();
        return false;
    }

    MultimediaDriver* multimedia = nullptr;
    if (Services::getInstance().getMultimediaService().getDriver(&multimedia) != SUCCESS) {
        if (vLogLevelEnabled(VLOGSRC_APP, VLOG_ERROR))
            vLogMessage(VLOGSRC_APP, VLOG_ERROR, "FATAL: Missing multimedia driver.");
        mInit->stop();
        return false;
    }
    mDisplay = nullptr;
    if (multimedia->GetDisplay(&mDisplay) != SUCCESS) {
        if (vLogLevelEnabled(VLOGSRC_APP, VLOG_ERROR))
            vLogMessage(VLOGSRC_APP, VLOG_ERROR, "FATAL: Missing display driver.");
        mInit->stop();
        return false;
    }

    connectionCreate();
    if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
        vLogMessage(VLOGSRC_APP, VLOG_INFO, "STBCoreDetail::resourcesAllocate_i() done");
    return true;
}

void STBCoreDetail::connectionCreate()
{
    if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
        vLogMessage(VLOGSRC_APP, VLOG_INFO, "Starting connection.");
    ProvisioningLink* provisioning = CoreLinks::provisioning();
    const std::string hardwareId =
        provisioning != nullptr ? provisioning->getHardwareId() : std::string();
    // The service connection takes these handlers over when it exists; until then the core
    // serves them itself (Core::executeConsoleCommand).
    if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
        vLogMessage(VLOGSRC_APP, VLOG_INFO,
                    "No service connection in this build (hardware id '%s'); the core keeps the "
                    "console commands",
                    hardwareId.c_str());
    mConsoleCommands.clear();
    for (auto& handler : makeCoreConsoleCommands(CoreLinks::connection()))
        mConsoleCommands.add(std::move(handler));

    UpdateDriver* update = nullptr;
    if (Services::getInstance().getUpdateService().getDriver(&update) != SUCCESS) {
        if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
            vLogMessage(VLOGSRC_APP, VLOG_INFO, "Missing software Update driver.");
    } else if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO)) {
        vLogMessage(VLOGSRC_APP, VLOG_INFO,
                    "Software update driver registered; no connection to hand it to");
    }
}

void STBCoreDetail::connectionDestroy()
{
    if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
        vLogMessage(VLOGSRC_APP, VLOG_INFO, "Requesting all CurlAsync::perform calls to return");
    // The list exists while the curl node is started, which it is until the runner stops.
    if (Kapi::Net::CurlAsyncCancelList* transfers =
            Kapi::Net::CurlInitNode::s_instance->getCurlAsyncCancelList())
        transfers->cancelAll();
    if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
        vLogMessage(VLOGSRC_APP, VLOG_INFO, "Stopping connection");
    if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
        vLogMessage(VLOGSRC_APP, VLOG_INFO, "Shutting down client connection");
    mConsoleCommands.clear();
}

void STBCoreDetail::resourcesFree_i()
{
    if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
        vLogMessage(VLOGSRC_APP, VLOG_INFO, "STBCoreDetail::resourcesFree_i()");
    connectionDestroy();
    if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
        vLogMessage(VLOGSRC_APP, VLOG_INFO, "Stopping init");
    if (mInit)
        mInit->stop();
    if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
        vLogMessage(VLOGSRC_APP, VLOG_INFO, "Init stopped");
    mInit.reset();
    mRootNode.reset();
    if (vLogLevelEnabled(VLOGSRC_APP, VLOG_INFO))
        vLogMessage(VLOGSRC_APP, VLOG_INFO, "STBCoreDetail::resourcesFree_i() done");
}

} // namespace KELO

#ifndef KELO_TESTS_STARTUPORDER_H
#define KELO_TESTS_STARTUPORDER_H
// The documented start order of the core's runner "kelo-app" (each node once); the stop order
// is its exact reverse.
#include <string>
#include <vector>

namespace KeloTest {

inline const std::vector<std::string>& documentedStartOrder()
{
    static const std::vector<std::string> order = {
        "WatchdogInit",         "TaskScheduler",           "GenHandleLib",
        "StreamSession",        "TimeStoreInitNode",       "OpenSslInitNode",
        "CurlInitNode",         "KickstartInit",           "OpenSslSessionInitNode",
        "NetworkThreadInitNode", "P2SImpl",                "CommsInitNode",
        "NetLoggerClientInitNode", "StorageManager",       "ComponentVersionRegistry",
        "CdnStreamingManager",  "PlayerController",        "PlayerControllerCore",
        "DataCoreInit",         "KapiCryptoInit",          "LuaAppInit",
        "KeloQueryInit",        "SettingsHelper",          "kelo-app-init-node"};
    return order;
}

} // namespace KeloTest

#endif

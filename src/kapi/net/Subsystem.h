#ifndef KAPI_NET_SUBSYSTEM_H
#define KAPI_NET_SUBSYSTEM_H
// A component that joins a network event loop. The owning System sets `system` before it calls
// start(), and calls start() and stop() on its loop thread: start() when the loop begins (or at
// once when installed into a running loop), stop() when it is uninstalled or the System shuts
// down. A subsystem is owned by whoever installed it; the System only points at it.
namespace Kapi {
namespace Net {

class System;

class Subsystem
{
public:
    Subsystem() = default;
    Subsystem(const Subsystem&) = delete;
    Subsystem& operator=(const Subsystem&) = delete;

    virtual ~Subsystem() {}
    // False refuses the installation (or, at loop start, the whole run).
    virtual bool start() = 0;
    virtual void stop() = 0;

    System* system = nullptr;
};

} // namespace Net
} // namespace Kapi

#endif

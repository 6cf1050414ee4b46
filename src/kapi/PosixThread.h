#ifndef KAPI_POSIXTHREAD_H
#define KAPI_POSIXTHREAD_H
// The POSIX Thread. `m_finished` and `m_result` are guarded by `m_mutex`; completion is
// announced by broadcasting `m_cond`, so joiners wait on the flag rather than on the (detached)
// pthread. `m_finished` is true from construction until start() and again once main()
// returned. While the runnable runs, its kernel thread id is in the process-wide registry
// (Thread::getThreadCount / getThreadIds). `m_name` is always NUL-terminated, at most 19
// characters, and never changes.
#include "kapi/Condition.h"
#include "kapi/Mutex.h"
#include "kapi/Thread.h"

namespace Kapi {

class PosixThread : public Thread
{
public:
    PosixThread(const char* name, Priority priority, Runnable* runnable);
    ~PosixThread() noexcept(false) override;
    PosixThread(const PosixThread&) = delete;
    PosixThread& operator=(const PosixThread&) = delete;

    void start() override;
    int join() override;

    const char* getName() const { return m_name; }

    // The thread registry, keyed by kernel thread id.
    static void addThreadToList(pid_t tid);
    static void removeThreadFromList(pid_t tid);

private:
    static void* threadEntry_i(void* self);
    void run_i();

    std::unique_ptr<Mutex> m_mutex;
    std::unique_ptr<Condition> m_cond;
    pthread_t m_handle;
    bool m_finished;
    int m_result;
    char m_name[20];
    Priority m_priority;
    Runnable* m_runnable; // not owned
    int m_niceValue;
};

} // namespace Kapi

#endif

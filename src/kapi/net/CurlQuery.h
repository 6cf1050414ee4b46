#ifndef KAPI_NET_CURLQUERY_H
#define KAPI_NET_CURLQUERY_H
// The owner-side state of one CurlTask: where the task writes its result, and the CallMe that
// brings the completion back to the owner's thread.
//
// Representation: the CallMe (owned), the alive flag the task reads, the task (owned by the
// query until scheduled, then by the scheduler), the result code (206 until the task stores
// one), the finished flag, the listener and the body. Lifetime: a query is deleted by exactly
// one of changed() (the task has reported and nobody listens) and setListener() (the owner
// lets go of a query that has reported); an owner that lets go earlier clears the alive flag
// so that a task not yet run cancels itself.
//
// Threads: constructed, set up and released on the thread the CallMe factory stands for;
// changed() runs there too. getNumCurlQueries() is safe from any thread.
#include "kapi/StreamCallMe.h"
#include "kapi/net/CurlEasy.h"

#include <atomic>
#include <string>

namespace Kapi {
namespace Net {

class CurlListener;
class CurlTask;

class CurlQuery : public Stream::ChangeListener
{
public:
    // The body is kept in memory, up to `maxSize` bytes.
    CurlQuery(const Stream::CallMeFactory* factory, unsigned maxSize, bool useAsync);
    // The body is streamed to `listener` on the worker thread.
    CurlQuery(const Stream::CallMeFactory* factory, CurlEasy::PacketListener* listener,
              bool useAsync);

    void changed() override;
    void setListener(CurlListener* listener);

    // The task, to fill before it is scheduled; null once handed over or discarded.
    CurlTask* getTask() const { return m_task; }
    // Hands the task over (the caller schedules it); null when the query has no CallMe
    // (its factory's thread is gone) - the task is then discarded.
    CurlTask* releaseTask();
    // Deletes the query and its task, which was never scheduled.
    void discardUnscheduled();

    int getResultCode() const { return m_result; }
    bool isFinished() const { return m_finished; }

    // Queries constructed and not yet destroyed, process-wide.
    static int getNumCurlQueries();

private:
    ~CurlQuery() override;
    void init_i(const Stream::CallMeFactory* factory);

    Stream::CallMe* m_callMe;
    std::atomic<bool> m_alive;
    CurlTask* m_task;
    int m_result;
    bool m_finished;
    CurlListener* m_listener;
    std::string m_body;
};

} // namespace Net
} // namespace Kapi

#endif

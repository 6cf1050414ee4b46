#ifndef KAPI_TOKENBUCKET_H
#define KAPI_TOKENBUCKET_H
// Kapi::TokenBucket: limits a rate. Tokens (bytes, for the HTTP sources) are produced
// continuously at `rate` per second from construction on, starting with `initialTokens`, and
// the bucket never holds more than `maxTokens`. consume(t) takes t tokens, waiting until the
// bucket holds them.
//
// Representation: only two counters change. Production is recomputed from the elapsed time on
// every call:
//     produced  = (now - start) * rate / 1,000,000 + initial     (truncated toward zero)
//     available = produced - m_consumedTokens, kept within [0, maxTokens] by moving
//                 m_consumedTokens (never by changing production).
// A new rate therefore applies to the whole time since construction; when that makes
// production fall below consumption, the counters are reset to "nothing available".
//
// Threads: any number of takers may share a bucket, with setRate()/disable() from any thread.
// consume() reads and updates the counters without the mutex (they are atomics, so a taker
// sees a consistent value of each, though two concurrent takers may both take the same
// tokens); it waits under the mutex, and setRate()/disable() wake every waiter. A disabled
// bucket fails every consume() that would have to wait, and every setRate().
#include "kapi/Condition.h"
#include "kapi/KapiTypes.h"
#include "kapi/Mutex.h"
#include "kapi/Status.h"

#include <atomic>
#include <functional>
#include <memory>

namespace Kapi {

class TokenBucket
{
public:
    // A source of monotonic time in microseconds; Timer::now() unless a test injects one.
    using Clock = std::function<int64()>;

    // Note the order: rate, maximum, initial.
    TokenBucket(long long rateInTokensPerSec, long long maxTokens, long long initialTokens);
    TokenBucket(long long rateInTokensPerSec, long long maxTokens, long long initialTokens,
                Clock clock);
    TokenBucket(const TokenBucket&) = delete;
    TokenBucket& operator=(const TokenBucket&) = delete;

    // SUCCESS once `tokens` were taken; FAILURE at once when tokens > maxTokens, or when
    // disabled while it would wait.
    Status consume(long long tokens);
    // FAILURE when disabled; else the new rate holds from now on (retroactively, see above).
    Status setRate(long long rateInTokensPerSec);
    void disable();

    // elapsedUs * rate / 1,000,000 truncated toward zero, computed exactly without an
    // overflowing intermediate; saturates at the int64 limits when the result itself does not
    // fit.
    static int64 tokensProduced(int64 elapsedUs, int64 rateInTokensPerSec);
    // shortTokens * 1,000,000 / rate (truncated) for shortTokens >= 0, as above; kInfinite
    // when the rate is <= 0.
    static int64 waitTimeUs(int64 shortTokens, int64 rateInTokensPerSec);

private:
    const int64 m_initialTokens;
    std::atomic<int64> m_consumedTokens{0};
    std::unique_ptr<Mutex> m_mutex;
    std::unique_ptr<Condition> m_condition;
    std::atomic<bool> enabled{true};         // written under m_mutex
    std::atomic<int64> m_rateInTokensPerSec; // written under m_mutex
    const int64 m_maxTokens;
    const Clock m_clock;
    const int64 m_startTime;
};

} // namespace Kapi

#endif

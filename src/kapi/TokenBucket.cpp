// TokenBucket: the refill arithmetic and the consume/wait loop.
//
// Overflow. Times are int64 microseconds and rates int64 tokens per second. The direct product
// elapsed * rate overflows early: at 10 Gbit/s (1.25e9 bytes/s) and three hours (1.08e10 us)
// it is 1.35e19 > 9.22e18 = INT64_MAX. Splitting elapsed = q * 1e6 + r (|r| < 1e6) gives
//     elapsed * rate / 1e6 = q * rate + r * rate / 1e6
// where q * rate is an exact integer, so truncating only the second term truncates the sum
// (both terms have the sign of elapsed * rate). q * rate stays below INT64_MAX for 1.25e9
// tokens/s up to 7.4e9 s (over 200 years) and is saturated beyond. r * rate itself could still
// overflow for rates above 9.2e12, so rate is split too: rate = a * 1e6 + b (|b| < 1e6) and
//     r * rate / 1e6 = r * a + r * b / 1e6
// with |r * a| < |rate| and |r * b| < 1e12: no intermediate exceeds the result's magnitude
// plus 1e12. The wait time short * 1e6 / rate is split the same way, short = q * rate + r:
//     short * 1e6 / rate = q * 1e6 + r * 1e6 / rate,   0 <= r < rate,
// where r * 1e6 fits for rates up to 9.2e12 tokens/s (74 Tbit/s); above that the second term is
// computed as r / (rate / 1e6), off by less than one microsecond per token.
#include "kapi/TokenBucket.h"

#include "kapi/Timer.h"
#include "kapi/vLog.h"

namespace Kapi {

namespace {

typedef long long ll;
constexpr int64 kMicrosPerSecond = 1000000;
constexpr int64 kMin = INT64_MIN;

int64 saturatedProduct(int64 a, int64 b)
{
    int64 product;
    if (__builtin_mul_overflow(a, b, &product)) {
        return (a < 0) != (b < 0) ? kMin : kInfinite;
    }
    return product;
}

int64 saturatedSum(int64 a, int64 b)
{
    int64 sum;
    if (__builtin_add_overflow(a, b, &sum)) {
        return a < 0 ? kMin : kInfinite;
    }
    return sum;
}

int64 saturatedDifference(int64 a, int64 b)
{
    int64 difference;
    if (__builtin_sub_overflow(a, b, &difference)) {
        return a < 0 ? kMin : kInfinite;
    }
    return difference;
}

} // namespace

int64 TokenBucket::tokensProduced(int64 elapsedUs, int64 rate)
{
    const int64 q = elapsedUs / kMicrosPerSecond;
    const int64 r = elapsedUs % kMicrosPerSecond;
    const int64 a = rate / kMicrosPerSecond;
    const int64 b = rate % kMicrosPerSecond;
    const int64 whole = saturatedProduct(q, rate);
    const int64 part = r * a + r * b / kMicrosPerSecond;
    return saturatedSum(whole, part);
}

int64 TokenBucket::waitTimeUs(int64 shortTokens, int64 rate)
{
    if (rate <= 0) {
        return kInfinite;
    }
    const int64 q = shortTokens / rate;
    const int64 r = shortTokens % rate;
    const int64 part = r <= kInfinite / kMicrosPerSecond ? r * kMicrosPerSecond / rate
                                                         : r / (rate / kMicrosPerSecond);
    return saturatedSum(saturatedProduct(q, kMicrosPerSecond), part);
}

TokenBucket::TokenBucket(long long rate, long long maxTokens, long long initialTokens)
    : TokenBucket(rate, maxTokens, initialTokens, &Timer::now)
{
}

TokenBucket::TokenBucket(long long rate, long long maxTokens, long long initialTokens, Clock clock)
    : m_initialTokens(initialTokens), m_mutex(Mutex::New()), m_condition(Condition::New()),
      m_rateInTokensPerSec(rate), m_maxTokens(maxTokens), m_clock(std::move(clock)),
      m_startTime(m_clock())
{
    if (vLogLevelEnabled(VLOGSRC_P2P_UTIL, VLOG_DEBUG))
        vLogMessage(VLOGSRC_P2P_UTIL, VLOG_DEBUG,
                    "TokenBucket@%p::TokenBucket(): rateInTokensPerSec=%lld m_initialTokens=%lld, "
                    "m_maxTokens=%lld",
                    static_cast<void*>(this), rate, initialTokens, maxTokens);
}

Status TokenBucket::consume(long long t)
{
    for (;;) {
        const int64 now = m_clock();
        const int64 rate = m_rateInTokensPerSec.load();
        const int64 produced =
            saturatedSum(tokensProduced(now - m_startTime, rate), m_initialTokens);
        int64 available = saturatedDifference(produced, m_consumedTokens.load());
        if (vLogLevelEnabled(VLOGSRC_P2P_UTIL, VLOG_DEBUG))
            vLogMessage(VLOGSRC_P2P_UTIL, VLOG_DEBUG,
                        "TokenBucket@%p::consume(t=%lld) entered @ now=%lld, producedTokens=%lld, "
                        "m_consumedTokens=%lld, availableTokens=%lld",
                        static_cast<void*>(this), t, static_cast<ll>(now),
                        static_cast<ll>(produced), static_cast<ll>(m_consumedTokens.load()),
                        static_cast<ll>(available));
        if (available < 0) {
            m_consumedTokens.store(produced);
            available = 0;
            if (vLogLevelEnabled(VLOGSRC_P2P_UTIL, VLOG_DEBUG))
                vLogMessage(VLOGSRC_P2P_UTIL, VLOG_DEBUG,
                            "TokenBucket@%p::consume(t=%lld) hit negative available @ now=%lld, "
                            "(rate lowered? ) - reset to producedTokens=m_consumedTokens=%lld, "
                            "availableTokens=%lld",
                            static_cast<void*>(this), t, static_cast<ll>(now),
                            static_cast<ll>(produced), static_cast<ll>(available));
        }
        if (available > m_maxTokens) {
            if (vLogLevelEnabled(VLOGSRC_P2P_UTIL, VLOG_DEBUG))
                vLogMessage(VLOGSRC_P2P_UTIL, VLOG_DEBUG,
                            "TokenBucket@%p:: adjusting availableTokens down to %lld",
                            static_cast<void*>(this), static_cast<ll>(m_maxTokens));
            m_consumedTokens.store(produced - m_maxTokens);
            available = m_maxTokens;
            if (vLogLevelEnabled(VLOGSRC_P2P_UTIL, VLOG_DEBUG))
                vLogMessage(VLOGSRC_P2P_UTIL, VLOG_DEBUG,
                            "TokenBucket@%p::consume(t=%lld) adjusted @ now=%lld, "
                            "producedTokens=%lld, m_consumedTokens=%lld, availableTokens=%lld",
                            static_cast<void*>(this), t, static_cast<ll>(now),
                            static_cast<ll>(produced), static_cast<ll>(m_consumedTokens.load()),
                            static_cast<ll>(available));
        }
        if (t <= available) {
            m_consumedTokens.fetch_add(t);
            return SUCCESS;
        }
        if (t > m_maxTokens) {
            if (vLogLevelEnabled(VLOGSRC_P2P_UTIL, VLOG_DEBUG))
                vLogMessage(VLOGSRC_P2P_UTIL, VLOG_DEBUG,
                            "TokenBucket@%p::consume(t=%lld) will never be satisfied as "
                            "m_maxTokens=%lld",
                            static_cast<void*>(this), t, static_cast<ll>(m_maxTokens));
            return FAILURE;
        }
        const int64 shortBy = t - available;
        const int64 wait = waitTimeUs(shortBy, rate);
        if (vLogLevelEnabled(VLOGSRC_P2P_UTIL, VLOG_DEBUG))
            vLogMessage(VLOGSRC_P2P_UTIL, VLOG_DEBUG,
                        "TokenBucket@%p: we are %lld tokens short, so we will have to wait for "
                        "%lld us",
                        static_cast<void*>(this), static_cast<ll>(shortBy), static_cast<ll>(wait));
        const int64 deadline = saturatedSum(now, wait);

        MutexLocker locker(*m_mutex);
        if (!enabled.load()) {
            return FAILURE;
        }
        if (m_rateInTokensPerSec.load() != rate) {
            continue;
        }
        for (;;) {
            const int64 current = m_clock();
            if (current >= deadline) {
                break;
            }
            const int64 remaining =
                deadline == kInfinite ? kInfinite : saturatedDifference(deadline, current);
            m_condition->wait(m_mutex.get(), remaining);
            if (!enabled.load()) {
                return FAILURE;
            }
            if (m_rateInTokensPerSec.load() != rate) {
                break;
            }
        }
    }
}

Status TokenBucket::setRate(long long rate)
{
    MutexLocker locker(*m_mutex);
    if (!enabled.load()) {
        return FAILURE;
    }
    m_rateInTokensPerSec.store(rate);
    m_condition->broadcast();
    return SUCCESS;
}

void TokenBucket::disable()
{
    if (vLogLevelEnabled(VLOGSRC_P2P_UTIL, VLOG_DEBUG))
        vLogMessage(VLOGSRC_P2P_UTIL, VLOG_DEBUG, "TokenBucket@%p::disable()",
                    static_cast<void*>(this));
    MutexLocker locker(*m_mutex);
    enabled.store(false);
    m_condition->broadcast();
}

} // namespace Kapi

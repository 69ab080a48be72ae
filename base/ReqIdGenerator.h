// The two counters of the library. A Req ID joins a request, its waiter and its answer; a handle id is the
// key of a result list in the data pool.
#pragma once

#include <atomic>
#include <cstdint>

#include "platform/KernovaXtl.h"

// Any thread. The ids of each counter run from 1 to 0xFFFFFFFF and start again at 1; 0 is never given out. An
// id comes again only after more than 4,000 million others, long after its waiter has timed out.
class CReqIdGenerator {
public:
    std::uint32_t GetNextReqId() { return m_reqId.Next(); }
    std::uint32_t NextHandleID() { return m_handleId.Next(); }

    // The id given out last, so that a test can begin shortly before the end of the range.
    void SetLastReqId(std::uint32_t n) { m_reqId.SetLast(n); }
    void SetLastHandleId(std::uint32_t n) { m_handleId.SetLast(n); }

private:
    class Counter {
    public:
        std::uint32_t Next()
        {
            const std::uint32_t n = ++m_nLast;
            return n != 0 ? n : Next();
        }
        void SetLast(std::uint32_t n) { m_nLast.store(n); }

    private:
        std::atomic<std::uint32_t> m_nLast{0};
    };
    Counter m_reqId;
    Counter m_handleId;
};

// The one object of the process.
inline CReqIdGenerator& ReqIdGenerator() { return Kernova::XTL::Singleton<CReqIdGenerator>::Instance(); }

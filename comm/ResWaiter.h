// The rendezvous of a blocked caller and its answer. The waiter lives on the caller's stack; the map
// holds a plain pointer to it from AddWaiter to RemoveWaiter.
#pragma once

#include <array>
#include <cstddef>

#include "comm/ResponseLists.h"
#include "comm/WakeBatch.h"
#include "platform/KernovaXtl.h"

// What a waiter waits for: one address for each pair of answer message and response record.
using AnswerTag = const void*;
template <class Answer, class Response>
AnswerTag TagOf()
{
    static constexpr char s_cTag = 0;
    return &s_cTag;
}

struct _BASE_RESWAIT {
    explicit _BASE_RESWAIT(AnswerTag tag) : tagAnswer(tag) {}

    const AnswerTag tagAnswer;
    int nReqID = 0;
    _BASE_RESWAIT* pNext = nullptr;  // the map's
    Kernova::Threading::CriticalSection lock{
        Kernova::XTL::kSpinCount, Kernova::Threading::LockRank::Leaf};  // guards stResponse; a leaf
    Kernova::Threading::ManualResetEvent hEvent{false};                 // set when the answer has been stored
};

template <class Response>
struct ResponseWait : _BASE_RESWAIT {
    using _BASE_RESWAIT::_BASE_RESWAIT;
    Response stResponse GUARDED_BY(lock){};
};

// Any thread. The lock covers the map, and with it the life of every waiter that is found in it; inside it
// the waiter's own lock covers the response. The caller takes its waiter's lock alone: no other caller is
// in its way between its send and its wait.
class CResWaiterMap {
public:
    // False when the library is being terminated.
    bool AddWaiter(_BASE_RESWAIT* pWaiter);
    void RemoveWaiter(int nReqID);

    // Stores the answer and wakes the caller. False if nobody waits under that id for this answer: an
    // answer of another message or record is treated as not asked for. Of two answers the second one counts,
    // and the first one's lists go.
    template <class Answer, class Response>
    bool CompleteWaiter(int nReqID, const Response& response)
    {
        if constexpr (!kHasLists<Response>) {
            return Store<Answer>(nReqID, response, [](const Response&) {});
        } else {
            Response replaced{};
            const bool bStored =
                Store<Answer>(nReqID, response, [&](const Response& old) { replaced = old; });
            DestroyLists(replaced);  // behind the locks
            return bStored;
        }
    }

    std::size_t GetCount();  // waiters in flight

private:
    // keep(old) sees what was stored before.
    template <class Answer, class Response, class Keep>
    bool Store(int nReqID, const Response& response, Keep keep)
    {
        const Kernova::XTL::ScopedLock lock(m_lock);
        _BASE_RESWAIT* const pFound = Find(nReqID);
        if (pFound == nullptr || pFound->tagAnswer != TagOf<Answer, Response>())
            return false;
        auto& waiter = *static_cast<ResponseWait<Response>*>(pFound);
        const Kernova::XTL::ScopedLock lockWaiter(waiter.lock);
        keep(waiter.stResponse);
        waiter.stResponse = response;
        WakeBatch::Set(waiter.hEvent);
        return true;
    }

    Kernova::Threading::CriticalSection m_lock{Kernova::XTL::kSpinCount, Kernova::Threading::LockRank::Table};
    // The waiters are chained through themselves, so a request allocates nothing here. Ids are given out in
    // sequence and so spread evenly.
    static constexpr std::size_t kChains = 256;
    // Where the waiter of that id is pointed to, or the end of its chain.
    _BASE_RESWAIT*& Find(int nReqID) REQUIRES(m_lock)
    {
        _BASE_RESWAIT** ppWaiter = &m_arrChains[static_cast<unsigned int>(nReqID) % kChains];
        while (*ppWaiter != nullptr && (*ppWaiter)->nReqID != nReqID)
            ppWaiter = &(*ppWaiter)->pNext;
        return *ppWaiter;
    }
    std::array<_BASE_RESWAIT*, kChains> m_arrChains GUARDED_BY(m_lock){};
    std::size_t m_nCount GUARDED_BY(m_lock) = 0;
};

// The one object of the process.
inline CResWaiterMap& ResWaiterMap() { return Kernova::XTL::Singleton<CResWaiterMap>::Instance(); }

// The caller's touch of its own waiter while answers may be stored into it.
template <class Response, class Change>
void PresetResponse(ResponseWait<Response>& waiter, Change change)
{
    const Kernova::XTL::ScopedLock lock(waiter.lock);
    change(waiter.stResponse);
}
// Once the waiter is out of the map nobody else sees it: whoever stored an answer held the map's lock, which
// the removal has taken since.
template <class Response>
const Response& GetResponse(const ResponseWait<Response>& waiter) NO_THREAD_SAFETY_ANALYSIS
{
    return waiter.stResponse;
}

// Takes the waiter out of the map at the end of the scope, by any way out.
class WaiterAutoRemover {
public:
    explicit WaiterAutoRemover(const _BASE_RESWAIT& waiter) : m_waiter(waiter) {}
    ~WaiterAutoRemover() { Remove(); }
    WaiterAutoRemover(const WaiterAutoRemover&) = delete;
    WaiterAutoRemover& operator=(const WaiterAutoRemover&) = delete;

    // At once: no answer can be stored any more.
    void Remove();

private:
    const _BASE_RESWAIT& m_waiter;
    bool m_bRemoved = false;
};

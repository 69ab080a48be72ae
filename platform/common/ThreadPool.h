// The pool from the inside: what its workers are lent to.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <list>
#include <thread>
#include <vector>

#include "platform/Kernova.h"
#include "platform/common/Mutex.h"

namespace Kernova::ThreadPool {

// Something that wants to be run by the workers of a pool: a connector's I/O context.
class IWork {
public:
    // Called by one worker or by several at the same time. Returns false after an Evict, and true when
    // there is nothing left to do for good. Throws nothing.
    virtual bool Run() = 0;
    // Makes one of the workers inside Run return soon. Throws nothing, does not block.
    virtual void Evict() = 0;

protected:
    ~IWork() = default;
};

struct _THandle {
    // Throws std::system_error or std::bad_alloc; no thread is left behind then.
    explicit _THandle(std::size_t nThreads);
    // No work may be attached any more. Waits for the workers.
    ~_THandle();
    _THandle(const _THandle&) = delete;
    _THandle& operator=(const _THandle&) = delete;

    // Gives the work its fair share of the workers, at least one. False if it would not get one, because
    // every worker has a work of its own already, or without memory.
    bool Attach(IWork& work);
    // Waits until Run has returned true and every worker has left it. Never called by a worker.
    void Detach(IWork& work);
    bool HasWork();

private:
    struct Entry {
        IWork* pWork;
        int nWorkers;    // inside Run
        int nStaying;    // of those, not asked to leave
        bool bFinished;  // Run has returned true
    };

    void Main();
    void End();
    Entry* Neediest() REQUIRES(m_mutex);
    void MakeRoom() REQUIRES(m_mutex);

    Internal::Mutex m_mutex;
    std::condition_variable_any m_cond;  // a work has come or has been left, or the end
    std::list<Entry> m_listWork GUARDED_BY(m_mutex);
    bool m_bEnd GUARDED_BY(m_mutex) = false;
    std::vector<std::thread> m_vecThreads;  // not changed once the constructor is done
};

}  // namespace Kernova::ThreadPool

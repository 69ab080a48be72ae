// The pool from the inside: what its workers are lent to.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <thread>
#include <vector>

#include "platform/Kernova.h"
#include "platform/common/Mutex.h"

namespace Kernova::ThreadPool {

// What the workers of a pool run: a connector's I/O context.
class IWork {
public:
    // Called by every worker at the same time. Returns when there is nothing left to do for good. Throws
    // nothing.
    virtual void Run() = 0;

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

    // Gives all workers to the work. A pool has one work at a time: false if it has one already.
    bool Attach(IWork& work);
    // Waits until Run has returned and every worker has left it. Never called by a worker.
    void Detach(IWork& work);
    bool HasWork();
    std::size_t GetSize() const { return m_vecThreads.size(); }

private:
    void Main();
    void End();

    Internal::Mutex m_mutex;
    std::condition_variable_any m_cond;  // the work has come or has been left, or the end
    IWork* m_pWork GUARDED_BY(m_mutex) = nullptr;
    std::size_t m_nWorkers GUARDED_BY(m_mutex) = 0;  // inside Run
    bool m_bFinished GUARDED_BY(m_mutex) = false;    // Run has returned: nobody enters it any more
    bool m_bEnd GUARDED_BY(m_mutex) = false;
    std::vector<std::thread> m_vecThreads;  // not changed once the constructor is done
};

}  // namespace Kernova::ThreadPool

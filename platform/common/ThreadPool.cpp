#include "platform/common/ThreadPool.h"

#include <algorithm>
#include <exception>
#include <system_error>

#include "platform/KernovaXtl.h"
#include "platform/common/LastError.h"

namespace Kernova::ThreadPool {

using Internal::MutexLock;

_THandle::_THandle(std::size_t nThreads)
{
    try {
        m_vecThreads.reserve(nThreads);
        for (std::size_t n = 0; n < nThreads; ++n)
            m_vecThreads.emplace_back([this] {
                try {
                    const XTL::ExitGate::Scope inside;
                    Main();
                } catch (...) {  // the process is exiting
                }
            });
    } catch (...) {
        End();
        throw;
    }
}

_THandle::~_THandle() { End(); }

void _THandle::End()
{
    {
        const MutexLock lock(m_mutex);
        m_bEnd = true;
        m_cond.notify_all();
    }
    for (std::thread& thread : m_vecThreads)
        thread.join();
}

void _THandle::Main()
{
    const MutexLock lock(m_mutex);
    while (!m_bEnd) {
        Entry* const pEntry = Neediest();
        if (pEntry == nullptr) {
            m_cond.wait(m_mutex);
            continue;
        }
        ++pEntry->nWorkers;
        ++pEntry->nStaying;
        m_mutex.unlock();
        const bool bFinished = pEntry->pWork->Run();
        m_mutex.lock();
        --pEntry->nWorkers;
        if (bFinished)
            pEntry->bFinished = true;
        m_cond.notify_all();
    }
}

// The work with the fewest workers.
_THandle::Entry* _THandle::Neediest()
{
    Entry* pResult = nullptr;
    for (Entry& entry : m_listWork) {
        if (!entry.bFinished && (pResult == nullptr || entry.nStaying < pResult->nStaying))
            pResult = &entry;
    }
    return pResult;
}

// Calls back as many workers from the others as the newest work is entitled to.
void _THandle::MakeRoom()
{
    const int nShare = static_cast<int>(m_vecThreads.size() / m_listWork.size());
    for (int n = 0; n < nShare; ++n) {
        Entry* pRichest = nullptr;
        for (Entry& entry : m_listWork) {
            if (!entry.bFinished && (pRichest == nullptr || entry.nStaying > pRichest->nStaying))
                pRichest = &entry;
        }
        if (pRichest == nullptr || pRichest->nStaying <= nShare)
            return;
        --pRichest->nStaying;
        pRichest->pWork->Evict();
    }
}

bool _THandle::Attach(IWork& work)
{
    const MutexLock lock(m_mutex);
    if (m_listWork.size() >= m_vecThreads.size())
        return false;
    try {
        m_listWork.push_back(Entry{&work, 0, 0, false});
    } catch (const std::exception&) {
        return false;
    }
    MakeRoom();
    m_cond.notify_all();
    return true;
}

void _THandle::Detach(IWork& work)
{
    const MutexLock lock(m_mutex);
    const auto it = std::find_if(m_listWork.begin(), m_listWork.end(),
                                 [&work](const Entry& entry) { return entry.pWork == &work; });
    if (it == m_listWork.end())
        return;
    while (!it->bFinished || it->nWorkers != 0)
        m_cond.wait(m_mutex);
    m_listWork.erase(it);
}

bool _THandle::HasWork()
{
    const MutexLock lock(m_mutex);
    return !m_listWork.empty();
}

_THandle* CreateHandle(std::size_t threads)
{
    if (threads == 0) {
        Platova::SetLastError(static_cast<unsigned int>(std::errc::invalid_argument));
        return nullptr;
    }
    try {
        return new _THandle(threads);
    } catch (const std::system_error& error) {
        Platova::SetLastError(static_cast<unsigned int>(error.code().value()));
    } catch (const std::exception&) {  // std::bad_alloc, std::length_error
        Platova::SetLastError(static_cast<unsigned int>(std::errc::not_enough_memory));
    }
    return nullptr;
}

void DestroyHandle(_THandle* pPool)
{
    if (pPool == nullptr)
        return;
    if (pPool->HasWork()) {
        // Out of order. The workers are inside the connector's callbacks and would never come out, so the
        // pool is left to itself rather than hanging the caller.
        RaiseAssertion("[Kernova::ThreadPool] Destroyed before its connector.");
        return;
    }
    delete pPool;
}

}  // namespace Kernova::ThreadPool

#include "platform/common/ThreadPool.h"

#include <cstdio>
#include <exception>
#include <system_error>

#include "platform/Host.h"
#include "platform/KernovaXtl.h"
#include "platform/common/LastError.h"
#include "platform/common/SignalsBlocked.h"

namespace Kernova::ThreadPool {

using Internal::MutexLock;

_THandle::_THandle(std::size_t nThreads)
{
    const Internal::SignalsBlocked blocked;
    try {
        m_vecThreads.reserve(nThreads);
        for (std::size_t n = 0; n < nThreads; ++n)
            m_vecThreads.emplace_back([this, n] {
                char szName[16];
                std::snprintf(szName, sizeof(szName), "velkar-pool-%u", static_cast<unsigned int>(n % 1000));
                Host::NameThread(szName);
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
        if (m_pWork == nullptr || m_bFinished) {
            m_cond.wait(m_mutex);
            continue;
        }
        IWork* const pWork = m_pWork;
        ++m_nWorkers;
        m_mutex.unlock();
        pWork->Run();
        m_mutex.lock();
        --m_nWorkers;
        m_bFinished = true;
        m_cond.notify_all();
    }
}

bool _THandle::Attach(IWork& work)
{
    const MutexLock lock(m_mutex);
    if (m_pWork != nullptr)
        return false;
    m_pWork = &work;
    m_bFinished = false;
    m_cond.notify_all();
    return true;
}

void _THandle::Detach(IWork& work)
{
    const MutexLock lock(m_mutex);
    if (m_pWork != &work)
        return;
    while (!m_bFinished || m_nWorkers != 0)
        m_cond.wait(m_mutex);
    m_pWork = nullptr;
}

bool _THandle::HasWork()
{
    const MutexLock lock(m_mutex);
    return m_pWork != nullptr;
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

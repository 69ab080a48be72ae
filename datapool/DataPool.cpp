// The data pool, and the two ends of a handle: FreeHandle, and the scope object of a handle that is being
// made.
#include "datapool/DataPool.h"

#include <utility>

using Kernova::XTL::ScopedLock;

bool CDataPool::Insert(std::uint32_t nHandleID, Node pNode)
{
    if (pNode == nullptr)
        return false;
    const ScopedLock lock(m_lock);
    return m_mapNodes.try_emplace(nHandleID, std::move(pNode)).second;
}

bool CDataPool::Erase(std::uint32_t nHandleID)
{
    // Declared before the lock and so freed after its release: freeing a long list keeps nobody waiting.
    Node pErased;
    const ScopedLock lock(m_lock);
    const auto it = m_mapNodes.find(nHandleID);
    if (it == m_mapNodes.end())
        return false;
    pErased = std::move(it->second);
    m_mapNodes.erase(it);
    return true;
}

CDataPool::Node CDataPool::Find(std::uint32_t nHandleID)
{
    const ScopedLock lock(m_lock);
    const auto it = m_mapNodes.find(nHandleID);
    return it == m_mapNodes.end() ? nullptr : it->second;
}

std::size_t CDataPool::GetDataSizeOf(std::uint32_t nHandleID)
{
    const Node pNode = Find(nHandleID);
    return pNode == nullptr ? 0 : pNode->GetSize();
}

// The unique_ptr takes the handle before anything can throw: without memory the handle is freed and its list
// stays in the pool.
void CDataPool::KeepOrphan(_DATA_HANDLE* pHandle)
{
    std::unique_ptr<_DATA_HANDLE> pOrphan(pHandle);
    const ScopedLock lock(m_lock);
    m_vecOrphans.push_back(std::move(pOrphan));
}

// The lists and handles are swapped out under the lock and freed behind it.
void CDataPool::Clear()
{
    std::map<std::uint32_t, Node> mapCleared;
    std::vector<std::unique_ptr<_DATA_HANDLE>> vecCleared;
    const ScopedLock lock(m_lock);
    m_mapNodes.swap(mapCleared);
    m_vecOrphans.swap(vecCleared);
}

std::size_t CDataPool::GetCount()
{
    const ScopedLock lock(m_lock);
    return m_mapNodes.size();
}

void FreeHandle(_DATA_HANDLE* pHandle) noexcept
{
    if (pHandle == nullptr)
        return;
    try {
        const Kernova::XTL::ExitGate::Scope inside;
        DataPool().Erase(pHandle->nHandleID);
    } catch (...) {  // the process is exiting and the pool is gone
    }
    delete pHandle;
}

CDataAutoDestroyer::~CDataAutoDestroyer()
{
    if (m_bArmed)
        FreeHandle(m_pHandle);
}

bool CDataAutoDestroyer::InsertNode() { return DataPool().Insert(m_pHandle->nHandleID, m_pNode); }

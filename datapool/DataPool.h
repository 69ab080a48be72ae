// The handles of result lists and what stands behind them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <new>
#include <vector>

#include "base/ReqIdGenerator.h"
#include "datapool/DataNode.h"
#include "platform/KernovaXtl.h"

// What the game holds. On the heap, alone; its list is in the pool, or nowhere any more.
struct _DATA_HANDLE {
    explicit _DATA_HANDLE(std::uint32_t nTag) : nHandleID(ReqIdGenerator().NextHandleID()), nType(nTag) {}
    std::uint32_t nHandleID;  // key in the pool
    std::uint32_t nType;      // a DataTag
};

// What a handle's list consists of and where it comes from. The numbers are fixed.
namespace DataTag {
inline constexpr std::uint32_t kCheckinBilling = 0;
inline constexpr std::uint32_t kQueryBilling = 4;
inline constexpr std::uint32_t kMenu = 7;
inline constexpr std::uint32_t kProductList = 8;
inline constexpr std::uint32_t kChildProduct = 9;
inline constexpr std::uint32_t kCondition = 10;
inline constexpr std::uint32_t kOption = 11;
inline constexpr std::uint32_t kDiscount = 12;
inline constexpr std::uint32_t kTag = 13;
inline constexpr std::uint32_t kCoupon = 14;
inline constexpr std::uint32_t kSpecialProductList = 15;
inline constexpr std::uint32_t kSpecialProduct = 16;
inline constexpr std::uint32_t kStorage = 17;
inline constexpr std::uint32_t kUseStorage = 18;
inline constexpr std::uint32_t kConfirmUseStorage = 19;
inline constexpr std::uint32_t kCancelUseStorage = 20;
inline constexpr std::uint32_t kUseCoupon = 21;
inline constexpr std::uint32_t kUseOption = 22;
inline constexpr std::uint32_t kInventory = 26;      // filled by pfnQueryInventory
inline constexpr std::uint32_t kSaveInventory = 27;  // read by pfnSaveInventory
inline constexpr std::uint32_t kCharacter = 28;      // filled by pfnQueryCharacter
}  // namespace DataTag

// Any thread. The lock covers the map alone and is a leaf. A node that has been found lives as long as its
// finder keeps it, also when the pool is emptied meanwhile.
class CDataPool {
public:
    using Node = std::shared_ptr<CDataBaseNode>;

    bool Insert(std::uint32_t nHandleID, Node pNode);  // false for a null node or an id that is there
    bool Erase(std::uint32_t nHandleID);
    Node Find(std::uint32_t nHandleID);  // null if there is none
    // Null also for a list of other records.
    template <class T>
    std::shared_ptr<CDataNode<T>> FindListOf(std::uint32_t nHandleID)
    {
        return std::dynamic_pointer_cast<CDataNode<T>>(Find(nHandleID));
    }
    std::size_t GetDataSizeOf(std::uint32_t nHandleID);
    // Takes a handle that nobody has any more, to free it when the pool is emptied; its list stays till then,
    // too.
    void KeepOrphan(_DATA_HANDLE* pHandle);
    void Clear();
    std::size_t GetCount();

private:
    Kernova::Threading::CriticalSection m_lock{Kernova::XTL::kSpinCount, Kernova::Threading::LockRank::Leaf};
    std::map<std::uint32_t, Node> m_mapNodes GUARDED_BY(m_lock);
    std::vector<std::unique_ptr<_DATA_HANDLE>> m_vecOrphans GUARDED_BY(m_lock);
};

// The one object of the process.
inline CDataPool& DataPool() { return Kernova::XTL::Singleton<CDataPool>::Instance(); }

// Takes the handle's list out of the pool and frees the handle. Takes null.
void FreeHandle(_DATA_HANDLE* pHandle) noexcept;

// The handle and the list that a handler or an export is making: taken out of the pool and freed at the end
// of the scope, unless they have been handed on.
class CDataAutoDestroyer {
public:
    CDataAutoDestroyer() = default;
    ~CDataAutoDestroyer();
    CDataAutoDestroyer(const CDataAutoDestroyer&) = delete;
    CDataAutoDestroyer& operator=(const CDataAutoDestroyer&) = delete;

    void SetHandle(_DATA_HANDLE* pHandle) { m_pHandle = pHandle; }
    void SetNode(CDataPool::Node pNode) { m_pNode = std::move(pNode); }
    void Disarm() { m_bArmed = false; }

    // Makes both; null when memory has run out.
    template <class T>
    CDataNode<T>* Make(std::uint32_t nTag)
    try {
        SetHandle(new _DATA_HANDLE(nTag));
        auto pNode = std::make_shared<CDataNode<T>>();
        SetNode(pNode);
        return pNode.get();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
    // Files the list in the pool under the handle's id. False if that fails.
    bool InsertNode();
    _DATA_HANDLE* GetHandle() const { return m_pHandle; }

private:
    _DATA_HANDLE* m_pHandle = nullptr;
    CDataPool::Node m_pNode;
    bool m_bArmed = true;
};

// The data pool: result lists that the game reads, and lists that the game fills, each behind a handle. A
// handler or an export makes a list and its handle, and gives the handle to the game; DestroyHandle ends
// both.
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

// What the game holds of a list: a small object on the heap. The handle does not own the list, which the pool
// keeps under nHandleID. After UninitModule has emptied the pool a handle has no list any more, and calls
// with it fail.
struct _DATA_HANDLE {
    explicit _DATA_HANDLE(std::uint32_t nTag) : nHandleID(ReqIdGenerator().NextHandleID()), nType(nTag) {}
    std::uint32_t nHandleID;  // key in the pool
    std::uint32_t nType;      // a DataTag
};

// The kinds of lists. A kind says what records a list holds and which call it comes from or goes to, so that
// an export can refuse a handle of another call. The numbers never change.
namespace DataTag {
// Results: made by the handler of an answer, read by the game.
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
// Requests: made and filled by the game, read while the request is built.
inline constexpr std::uint32_t kUseStorage = 18;
inline constexpr std::uint32_t kConfirmUseStorage = 19;
inline constexpr std::uint32_t kCancelUseStorage = 20;
inline constexpr std::uint32_t kUseCoupon = 21;
inline constexpr std::uint32_t kUseOption = 22;
// Requests of the service: live for the length of the game's callback.
inline constexpr std::uint32_t kInventory = 26;      // filled by pfnQueryInventory
inline constexpr std::uint32_t kSaveInventory = 27;  // read by pfnSaveInventory
inline constexpr std::uint32_t kCharacter = 28;      // filled by pfnQueryCharacter
}  // namespace DataTag

// Any thread. The lock covers the map only, and no other lock is taken under it. A list that has been found
// lives as long as its finder keeps the pointer, even if its handle is destroyed or the pool is emptied
// meanwhile.
class CDataPool {
public:
    using Node = std::shared_ptr<CDataBaseNode>;

    bool Insert(std::uint32_t nHandleID, Node pNode);  // false for a null node or an id that is there
    bool Erase(std::uint32_t nHandleID);               // false if there is none
    Node Find(std::uint32_t nHandleID);                // null if there is none
    // The list of records T under that id; null if there is none or it holds other records.
    template <class T>
    std::shared_ptr<CDataNode<T>> FindListOf(std::uint32_t nHandleID)
    {
        return std::dynamic_pointer_cast<CDataNode<T>>(Find(nHandleID));
    }
    // Number of records in the list; 0 if there is no list.
    std::size_t GetDataSizeOf(std::uint32_t nHandleID);
    // Takes ownership of a handle that no caller has received, and frees it when the pool is emptied. The
    // handle's list stays in the pool until then, too.
    void KeepOrphan(_DATA_HANDLE* pHandle);
    // Frees all lists and the orphaned handles. Handles that the game holds stay valid for DestroyHandle.
    void Clear();
    std::size_t GetCount();  // lists in the pool

private:
    Kernova::Threading::CriticalSection m_lock{Kernova::XTL::kSpinCount, Kernova::Threading::LockRank::Leaf};
    std::map<std::uint32_t, Node> m_mapNodes GUARDED_BY(m_lock);
    std::vector<std::unique_ptr<_DATA_HANDLE>> m_vecOrphans GUARDED_BY(m_lock);
};

// The one object of the process.
inline CDataPool& DataPool() { return Kernova::XTL::Singleton<CDataPool>::Instance(); }

// Takes the handle's list out of the pool and frees the handle; null is allowed. While the process exits the
// pool may be gone: the handle alone is freed then.
void FreeHandle(_DATA_HANDLE* pHandle) noexcept;

// Owns a handle and its list while a handler or an export is making them. At the end of the scope the list is
// taken out of the pool and the handle freed, unless Disarm has been called because the game now owns them.
class CDataAutoDestroyer {
public:
    CDataAutoDestroyer() = default;
    ~CDataAutoDestroyer();
    CDataAutoDestroyer(const CDataAutoDestroyer&) = delete;
    CDataAutoDestroyer& operator=(const CDataAutoDestroyer&) = delete;

    void SetHandle(_DATA_HANDLE* pHandle) { m_pHandle = pHandle; }
    void SetNode(CDataPool::Node pNode) { m_pNode = std::move(pNode); }
    void Disarm() { m_bArmed = false; }

    // Makes the handle and an empty list of records T. Returns the list; null when memory has run out.
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
    // Enters the list into the pool under the handle's id. False if that id is in use.
    bool InsertNode();
    _DATA_HANDLE* GetHandle() const { return m_pHandle; }

private:
    _DATA_HANDLE* m_pHandle = nullptr;
    CDataPool::Node m_pNode;
    bool m_bArmed = true;
};

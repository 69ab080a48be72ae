// The game's access to result lists: tags, texts, and what a refusal leaves alone.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <memory>
#include <set>
#include <string>

#include "VelkarConnector.h"
#include "datapool/DataPool.h"

namespace {

constexpr std::uint32_t kTags[] = {0,  4,  7,  8,  9,  10, 11, 12, 13, 14, 15,
                                   16, 17, 18, 19, 20, 21, 22, 26, 27, 28, 99};

// A handle of that tag with a list of T in the pool.
template <class T>
std::shared_ptr<_DATA_HANDLE> ListOf(std::uint32_t nTag, std::initializer_list<T> records = {})
{
    CDataAutoDestroyer list;
    auto* const pNode = list.Make<T>(nTag);
    for (const T& record : records)
        pNode->Add(record);
    list.InsertNode();
    list.Disarm();
    return {list.GetHandle(), [](_DATA_HANDLE* p) { DestroyHandle(p); }};
}

template <class T>
T Filled(char c)
{
    T record;
    std::memset(&record, c, sizeof(record));
    return record;
}

template <class T>
void CheckGet(bool (*pfnGet)(const _DATA_HANDLE*, std::size_t, T*, char*, std::size_t),
              std::set<std::uint32_t> tags, const char* pszNull, const char* pszWrongType)
{
    char szError[200] = "untouched";
    const T first = Filled<T>('1'), second = Filled<T>('2');
    for (const std::uint32_t nTag : kTags) {
        const auto pHandle = ListOf<T>(nTag, {first, second});
        T record = Filled<T>('x');
        if (!tags.contains(nTag)) {
            EXPECT_FALSE(pfnGet(pHandle.get(), 0, &record, szError, sizeof(szError)));
            EXPECT_STREQ(szError, pszWrongType) << nTag;
            continue;
        }
        std::strcpy(szError, "untouched");
        EXPECT_TRUE(pfnGet(pHandle.get(), 1, &record, szError, sizeof(szError)));
        EXPECT_EQ(std::memcmp(&record, &second, sizeof(T)), 0);
        EXPECT_STREQ(szError, "untouched");
        EXPECT_FALSE(pfnGet(pHandle.get(), 2, &record, szError, sizeof(szError)));
        EXPECT_STREQ(szError, "The index number is not valid.");
        EXPECT_EQ(std::memcmp(&record, &second, sizeof(T)), 0);
        EXPECT_FALSE(pfnGet(pHandle.get(), 0, nullptr, szError, sizeof(szError)));
        EXPECT_STREQ(szError, pszNull);
        DataPool().Clear();  // as a stop of the library does
        EXPECT_FALSE(pfnGet(pHandle.get(), 0, &record, szError, sizeof(szError)));
        EXPECT_STREQ(szError, "Failed to find a data node for getting data.");
        EXPECT_EQ(GetDataSize(pHandle.get(), szError, sizeof(szError)), 0u);
        EXPECT_STREQ(szError, "There is no data.");
    }
    T record;
    EXPECT_FALSE(pfnGet(nullptr, 0, &record, szError, sizeof(szError)));
    EXPECT_STREQ(szError, pszNull);
}

TEST(DataCalls, EveryGetKnowsItsTagsAndTexts)
{
    CheckGet(&GetBillingData, {0, 4}, "Data handle or BILL_INFO arg is NULL.",
             "Data handle type doesn't refer to billing info.");
    CheckGet(&GetMenuData, {7}, "Data handle or MENU_INFO arg is NULL.",
             "Data handle type doesn't refer to menu info.");
    CheckGet(&GetProductData, {8}, "Data handle or PROD_LIST_INFO arg is NULL.",
             "Data handle type doesn't refer to product list info.");
    CheckGet(&GetChildProductData, {9}, "Data handle or CHILDPROD_INFO arg is NULL.",
             "Data handle type doesn't refer to child product info.");
    CheckGet(&GetConditionData, {10}, "Data handle or CONDITION_INFO arg is NULL.",
             "Data handle type doesn't refer to condition info.");
    CheckGet(&GetOptionData, {11}, "Data handle or OPTION_INFO arg is NULL.",
             "Data handle type doesn't refer to child product info.");
    CheckGet(&GetDiscountData, {12}, "Data handle or DISCOUNT_INFO arg is NULL.",
             "Data handle type doesn't refer to discount info.");
    CheckGet(&GetTagData, {13}, "Data handle or TAG_INFO arg is NULL.",
             "Data handle type doesn't refer to tag info.");
    CheckGet(&GetCouponData, {14}, "Data handle or COUPON_INFO arg is NULL.",
             "Data handle type doesn't refer to coupon list info.");
    CheckGet(&GetSpecialProductData, {15}, "Data handle or SPECIAL_PRODUCT_LIST_INFO arg is NULL.",
             "Data handle type doesn't refer to special product list info.");
    CheckGet(&GetSpecialProductDetailData, {16}, "Data handle or SPECIAL_PRODUCT_INFO arg is NULL.",
             "Data handle type doesn't refer to special product info.");
    CheckGet(&GetStorageItemData, {17}, "Data handle or STORAGE_INFO arg is NULL.",
             "Data handle type doesn't refer to storage item info.");
    CheckGet(&GetSaveItemData, {27}, "Data handle or SAVE_ITEM_INFO arg is NULL.",
             "Data handle type doesn't refer to item info for saving to inventory.");
}

using SetCall = std::function<bool(const _DATA_HANDLE*, char*, std::size_t)>;
template <class T>
SetCall Setter(bool (*pfnSet)(const _DATA_HANDLE*, const T&, char*, std::size_t))
{
    return [pfnSet](const _DATA_HANDLE* p, char* pszError, std::size_t nSize) {
        return pfnSet(p, Filled<T>('s'), pszError, nSize);
    };
}
SetCall Setter(bool (*pfnSet)(const _DATA_HANDLE*, int, char*, std::size_t))
{
    return [pfnSet](const _DATA_HANDLE* p, char* pszError, std::size_t nSize) {
        return pfnSet(p, 0x73737373, pszError, nSize);
    };
}

// pfnMake is null where the library itself makes the handle, for a callback.
template <class T, class Set>
void CheckSet(Set pfnSet, _DATA_HANDLE* (*pfnMake)(char*, std::size_t), std::uint32_t nOwnTag,
              const char* pszWrongType)
{
    const SetCall set = Setter(pfnSet);
    char szError[200] = "untouched";
    for (const std::uint32_t nTag : kTags) {
        if (nTag == nOwnTag)
            continue;
        EXPECT_FALSE(set(ListOf<T>(nTag).get(), szError, sizeof(szError)));
        EXPECT_STREQ(szError, pszWrongType) << nTag;
    }
    EXPECT_FALSE(set(nullptr, szError, sizeof(szError)));
    EXPECT_STREQ(szError, "Data handle is NULL.");

    std::strcpy(szError, "untouched");
    const std::shared_ptr<_DATA_HANDLE> pHandle =
        pfnMake == nullptr ? ListOf<T>(nOwnTag)
                           : std::shared_ptr<_DATA_HANDLE>(pfnMake(szError, sizeof(szError)), &DestroyHandle);
    ASSERT_NE(pHandle, nullptr);
    EXPECT_EQ(pHandle->nType, nOwnTag);
    EXPECT_TRUE(set(pHandle.get(), szError, sizeof(szError)));
    EXPECT_TRUE(set(pHandle.get(), szError, sizeof(szError)));
    EXPECT_STREQ(szError, "untouched");
    EXPECT_EQ(GetDataSize(pHandle.get(), szError, sizeof(szError)), 2u);
    auto& pool = DataPool();
    T record{};
    ASSERT_TRUE(pool.FindListOf<T>(pHandle->nHandleID)->Get(record, 1));
    const T expected = Filled<T>('s');
    EXPECT_EQ(std::memcmp(&record, &expected, sizeof(T)), 0);
    pool.Clear();
    EXPECT_FALSE(set(pHandle.get(), szError, sizeof(szError)));
    EXPECT_STREQ(szError, "Failed to find a data node for setting data.");
}

TEST(DataCalls, EverySetKnowsItsTagAndText)
{
    CheckSet<_INVENTORY_ITEM_INFO>(&SetInventoryItemData, nullptr, 26,
                                   "Data handle type doesn't refer to inventory item info.");
    CheckSet<_CHARACTER_INFO>(&SetCharacterData, nullptr, 28,
                              "Data handle type doesn't refer to character info.");
    CheckSet<_USE_COUPON_INFO>(&SetUseCouponData, &GetHandleForUseCouponInfo, 21,
                               "Data handle type doesn't refer to use coupon info.");
    CheckSet<_USE_OPTION_INFO>(&SetUseOptionData, &GetHandleForUseOptionInfo, 22,
                               "Data handle type doesn't refer to use option info.");
    CheckSet<_USE_STORAGE_INFO>(&SetUseStorageItemData, &GetHandleForUseStorageItemInfo, 18,
                                "Data handle type doesn't refer to storage use item info.");
    CheckSet<_CONFIRM_USE_STORAGE_INFO>(&SetConfirmUseStorageItemData, &GetHandleForConfirmUseStorageItemInfo,
                                        19,
                                        "Data handle type doesn't refer to storage confirm use item info.");
    CheckSet<_CONFIRM_USE_STORAGE_INFO>(&SetCancelUseStorageItemData, &GetHandleForCancelUseStorageItemInfo,
                                        20,
                                        "Data handle type doesn't refer to storage confirm use item info.");
}

TEST(DataCalls, ANullRecordIsRefused)
{
    // As a game in C may do it.
    const auto set = reinterpret_cast<bool (*)(const _DATA_HANDLE*, const void*, char*, std::size_t)>(
        reinterpret_cast<void (*)()>(&SetUseCouponData));
    char szError[64];
    const auto pHandle = ListOf<_USE_COUPON_INFO>(DataTag::kUseCoupon);
    EXPECT_FALSE(set(pHandle.get(), nullptr, szError, sizeof(szError)));
    EXPECT_STREQ(szError, "Data record is NULL.");
    EXPECT_EQ(GetDataSize(pHandle.get(), szError, sizeof(szError)), 0u);
}

TEST(DataCalls, TheErrorTextKeepsToItsBuffer)
{
    const std::string strText = "Data handle is NULL.";
    for (const std::size_t nSize :
         {std::size_t{0}, std::size_t{1}, std::size_t{5}, strText.size(), strText.size() + 1}) {
        char szError[40];
        std::memset(szError, 'x', sizeof(szError));
        EXPECT_EQ(GetDataSize(nullptr, szError, nSize), 0u);
        if (nSize > 0) {
            EXPECT_EQ(std::string(szError), strText.substr(0, nSize - 1));
        }
        EXPECT_EQ(szError[nSize], 'x');
    }
    char szLong[100];
    std::memset(szLong, 'x', sizeof(szLong));
    GetDataSize(nullptr, szLong, sizeof(szLong));
    EXPECT_EQ(szLong[sizeof(szLong) - 1], '\0');
    GetDataSize(nullptr, nullptr, 10);
    DestroyHandle(nullptr);
}

}  // namespace

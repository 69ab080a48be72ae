// The game's access to lists: what is refused with which text, and what a refusal leaves alone.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

#include "VelkarConnector.h"
#include "datapool/DataPool.h"

// In FromC.c.
extern "C" bool SetUseCouponFromC(const _DATA_HANDLE* handle, const _USE_COUPON_INFO* pRecord,
                                  char* errorText, std::size_t errorSize);

namespace {

using Handle = std::unique_ptr<_DATA_HANDLE, decltype(&DestroyHandle)>;

// A list of that tag with two menu records.
Handle MenusOf(std::uint32_t nTag)
{
    CDataAutoDestroyer list;
    auto* const pNode = list.Make<_MENU_INFO>(nTag);
    pNode->Add({"first", "", "", 1, 2, 3});
    pNode->Add({"second", "", "", 4, 5, 6});
    list.InsertNode();
    list.Disarm();
    return {list.GetHandle(), &DestroyHandle};
}

// The text of a refusal; empty for a success, which leaves the caller's text alone.
template <class Function, class... Args>
std::string ErrorOf(Function function, Args&&... args)
{
    char szError[100] = "untouched";
    const bool bDone = function(args..., szError, sizeof(szError)) != 0;
    EXPECT_EQ(bDone, szError == std::string("untouched")) << szError;
    return bDone ? "" : szError;
}

TEST(DataCalls, AGetReadsItsOwnListsOnly)
{
    const Handle menus = MenusOf(DataTag::kMenu), others = MenusOf(DataTag::kTag);
    _MENU_INFO record{};
    EXPECT_EQ(ErrorOf(GetMenuData, menus.get(), 1u, &record), "");
    EXPECT_STREQ(record.szBranchID, "second");
    EXPECT_EQ(ErrorOf(GetMenuData, menus.get(), 2u, &record), "The index number is not valid.");
    EXPECT_EQ(ErrorOf(GetMenuData, others.get(), 0u, &record),
              "Data handle type doesn't refer to menu info.");
    EXPECT_EQ(ErrorOf(GetMenuData, nullptr, 0u, &record), "Data handle or MENU_INFO arg is NULL.");
    EXPECT_EQ(ErrorOf(GetMenuData, menus.get(), 0u, nullptr), "Data handle or MENU_INFO arg is NULL.");
    DataPool().Clear();  // as a stop of the library does
    EXPECT_EQ(ErrorOf(GetMenuData, menus.get(), 0u, &record), "Failed to find a data node for getting data.");
    EXPECT_EQ(ErrorOf(GetDataSize, menus.get()), "There is no data.");
    EXPECT_STREQ(record.szBranchID, "second") << "no refusal has touched the record";
}

TEST(DataCalls, ASetAddsToItsOwnListsOnly)
{
    const auto set = &SetUseCouponFromC;
    const Handle coupons(GetHandleForUseCouponInfo(nullptr, 0), &DestroyHandle);
    const Handle confirm(GetHandleForConfirmUseStorageItemInfo(nullptr, 0), &DestroyHandle);
    const _USE_COUPON_INFO coupon = {"U1", "C1"};
    EXPECT_EQ(ErrorOf(set, coupons.get(), &coupon), "");
    EXPECT_EQ(ErrorOf(set, coupons.get(), nullptr), "Data record is NULL.");
    EXPECT_EQ(ErrorOf(set, nullptr, &coupon), "Data handle is NULL.");
    EXPECT_EQ(ErrorOf(set, confirm.get(), &coupon), "Data handle type doesn't refer to use coupon info.");
    EXPECT_EQ(ErrorOf(SetCancelUseStorageItemData, confirm.get(), 1),
              "Data handle type doesn't refer to storage confirm use item info.")
        << "although the records are the same";
    EXPECT_EQ(GetDataSize(coupons.get(), nullptr, 0), 1u);
    DataPool().Clear();
    EXPECT_EQ(ErrorOf(set, coupons.get(), &coupon), "Failed to find a data node for setting data.");
}

TEST(DataCalls, TheErrorTextKeepsToItsBuffer)
{
    const std::string strText = "Data handle is NULL.";
    for (const std::size_t nSize : {0u, 1u, 5u, 20u, 21u, 30u}) {
        char szError[40];
        std::memset(szError, 'x', sizeof(szError));
        EXPECT_EQ(GetDataSize(nullptr, szError, nSize), 0u);
        EXPECT_EQ(szError[nSize], 'x');
        if (nSize > 0) {
            EXPECT_EQ(std::string(szError), strText.substr(0, nSize - 1));
            EXPECT_EQ(szError[nSize - 1], '\0') << "whatever the length of the text";
        }
    }
    GetDataSize(nullptr, nullptr, 10);
    DestroyHandle(nullptr);
}

}  // namespace

// What a received frame takes of the heap at its peak, from its first byte until its handler has ended: at
// most twice its bytes and a little, whatever it holds and whatever it claims.
#include <gtest/gtest.h>

#include "comm/FrameLoop.h"
#include "comm/in/HandlerTable.h"
#include "comm/in/MsgBody.h"
#include "datapool/DataPool.h"
#include "session/UserInfoMap.h"
#include "tests/wirova/Allocations.h"
#include "tests/wirova/ByteStream.h"
#include "wirova/BigEndian.h"
#include "wirova/messages/AllMessages.h"

namespace {

constexpr std::size_t kALittle = 4u << 20;  // the promise is 16 MiB

std::string Number(std::size_t n)
{
    unsigned char bytes[4];
    Wirova::PutBigEndian(static_cast<Wirova::int32>(n), bytes);
    return {reinterpret_cast<const char*>(bytes), sizeof(bytes)};
}

// The body of an answer with a list, up to the list: id, Req ID, state, text.
template <class Message>
std::string Head(std::string_view text = "")
{
    return Number(Message::kMsgID) + Number(1) + Number(0) + Number(text.size()) + std::string(text);
}

// The body arrives in pieces, as a link delivers it.
void Costs(const char* pszWhat, const std::string& strBody)
{
    static const Wirova::CMsgHandlerTable& table = *[] {
        auto* const pTable = new Wirova::CMsgHandlerTable;
        RegisterHandlers(*pTable);
        return pTable;
    }();
    constexpr std::size_t kPiece = 64u << 10;
    const std::size_t nBefore = g_nLive;
    g_nPeak = nBefore;
    {
        ByteStream stream;
        for (std::size_t n = 0; n < strBody.size(); n += kPiece)
            stream.Append(std::string_view(strBody).substr(n, kPiece));
        table.Dispatch(stream, nullptr);
    }
    const std::size_t nCost = g_nPeak - nBefore;
    EXPECT_LE(nCost, 2 * strBody.size() + kALittle) << pszWhat << ", " << strBody.size() << " bytes";
    DataPool().Clear();
    UserInfoMap().RemoveAllUserInfo();
}

template <class Row>
std::string Rows(std::size_t nCount, Row& row)
{
    row.SetNested(true);
    const std::string strRow = Saved(row);
    std::string str = Number(nCount);
    for (std::size_t n = 0; n < nCount; ++n)
        str += strRow;
    return str;
}

TEST(FrameCost, Rows)
{
    XStorageInfo storage;
    Costs("storage, empty rows", Head<XS2C_SearchStorageAns>() + Rows(kMaxRows, storage));
    storage.strItemName = storage.strSetName = "A sword of some renown";
    storage.strGiftMessage = std::string(120, 'g');
    Costs("storage, ordinary rows", Head<XS2C_SearchStorageAns>() + Rows(100'000, storage));
    storage.strItemID = std::string(60u << 20, 'i');
    Costs("storage, a row with a huge text", Head<XS2C_SearchStorageAns>() + Rows(1, storage));
    XProductCondition condition;
    condition.cConditionType = 'c';
    Costs("detail, the shortest rows", Head<XS2C_QueryProductDetailAns>() + std::string(7 * 4 + 2, '\0') +
                                           Number(0) + Rows(kMaxRows, condition) + Number(0));
    Costs("tags, the most", Head<XS2C_QueryTagAns>() + Number(kMaxRows) + std::string(4 * kMaxRows, '\0'));
    XUserBillingInfo billing;
    const std::string strAnswer = Saved(XS2C_QueryBillingInfoExAns());
    Costs("billings", strAnswer.substr(0, strAnswer.size() - 8) + Rows(kMaxRows, billing) + Number(0));
    XInventory item;
    const std::string strOrder = Saved(XS2C_SaveInventoryReq());
    Costs("items to save", strOrder.substr(0, strOrder.size() - 4) + Rows(kMaxRows, item));
}

TEST(FrameCost, WhatNoServiceSends)
{
    const std::size_t nMost = kMaxBodyLength - 100;
    Costs("64 MiB of empty tags", Head<XS2C_QueryTagAns>() + Number(nMost / 4) + std::string(nMost, '\0'));
    Costs("rows that are not there",
          Head<XS2C_SearchStorageAns>() + Number(kMaxRows) + std::string(1000, '\0'));
    Costs("2^31 - 1 rows", Head<XS2C_SearchStorageAns>() + Number(0x7FFFFFFF) + std::string(1000, '\0'));
    Costs("a huge text", Head<XS2C_SearchStorageAns>(std::string(nMost, 'm')) + Number(0));
    // A checkin keeps the user's id in several places.
    Costs("a huge user id", Number(XS2C_CheckInAns::kMsgID) + Number(1) + Number(nMost) +
                                std::string(nMost, 'u') + std::string(50, '\0'));
}

}  // namespace

// Rows out of received bytes: what the plan makes of them is what the fields' names say, wherever the bytes
// are cut, and nothing behind them is read.
#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "comm/in/ListAnswer.h"
#include "tests/fakeplatform/LogicTest.h"
#include "tests/wirova/ByteStream.h"
#include "wirova/messages/AllMessages.h"

namespace {

std::minstd_rand g_random(7);

// Numbers with and without a sign, texts of all lengths about the widths and longer than any window.
struct Filling {
    void operator()(Wirova::int32& n) const
    {
        n = g_random() % 3 == 0 ? 0 : static_cast<int>(g_random() * 3);
    }
    void operator()(Wirova::boolean& b) const { b = Wirova::boolean::FromByte(g_random() % 3); }
    void operator()(char& c) const { c = static_cast<char>(g_random() % 3); }
    void operator()(std::string& str) const
    {
        constexpr std::size_t kSizes[] = {0, 1, 7, 8, 14, 15, 16, 20, 22, 23, 40, 41, 100, 101, 500, 40'000};
        str.resize(kSizes[g_random() % (g_random() % 20 == 0 ? 16 : 15)]);
        for (char& c : str)
            c = static_cast<char>(g_random() % 4 == 0 ? 0 : g_random());
    }
};

// Users without an id are named by their number.
template <class Record, class Row>
Record Expected(const Row& row)
{
    Record record{};
    CopySameNames(record, row);
    if constexpr (requires { row.strSenderUserNo; }) {
        CopyText(record.szSenderUserID,
                 row.strSenderUserID == "" ? row.strSenderUserNo : row.strSenderUserID);
        CopyText(record.szUserID, row.strUserID == "" ? row.strUserNo : row.strUserID);
    }
    return record;
}

template <class Message, class Record, class Rows>
void ComesAsItIs(Rows Message::*pRows)
{
    using Row = typename Rows::value_type;
    Message sent;
    std::vector<Record> vecExpected;
    for (int n = 0; n < 300; ++n) {
        Row& row = (sent.*pRows).Add();
        Row::ForEachField(row, [](const char*, auto& field) { return Filling()(field), true; });
        vecExpected.push_back(Expected<Record>(row));
    }
    const ByteStream stream(Saved(sent) + "next");
    Message msg;
    CDataNode<Record> node;
    ASSERT_TRUE(MsgBody(stream).Load(msg, RowsInto<Row, Record>{node}));
    EXPECT_EQ("next", stream.Bytes());
    ASSERT_EQ(vecExpected.size(), node.GetSize());
    std::size_t n = 0;
    node.ForEach([&](const Record& record) {
        EXPECT_EQ(0, std::memcmp(&record, &vecExpected[n], sizeof(record))) << sent.GetMsgName() << n;
        ++n;
    });
}

TEST(RowPlan, ARowBecomesTheRecordOfItsNames)
{
    ComesAsItIs<XS2C_SearchStorageAns, _STORAGE_INFO>(&XS2C_SearchStorageAns::vecStorage);
    ComesAsItIs<XS2C_QueryMenuListAns, _MENU_INFO>(&XS2C_QueryMenuListAns::vecMenu);
    ComesAsItIs<XS2C_QueryProductListAns, _PROD_LIST_INFO>(&XS2C_QueryProductListAns::vecProduct);
    ComesAsItIs<XS2C_QueryDiscountAns, _DISCOUNT_INFO>(&XS2C_QueryDiscountAns::vecDiscount);
    ComesAsItIs<XS2C_QueryCoupontAns, _COUPON_INFO>(&XS2C_QueryCoupontAns::vecCoupon);
    ComesAsItIs<XS2C_QuerySpecialProductAns, _SPECIAL_PRODUCT_INFO>(
        &XS2C_QuerySpecialProductAns::vecSpecialProduct);
}

// The body ends at every byte in turn; the number of its rows lies.
TEST(RowPlan, BytesThatEndTooSoonOrLieDoNotLoad)
{
    XS2C_QueryCoupontAns sent;
    sent.vecCoupon.Add().strCouponName = "name";
    sent.vecCoupon.Add().strUseEndDate = "20301231";
    const std::string bytes = Saved(sent);
    const auto loads = [](std::string_view cut) {
        XS2C_QueryCoupontAns msg;
        CDataNode<_COUPON_INFO> node;
        return MsgBody(ByteStream(cut)).Load(msg, RowsInto<XCouponInfo, _COUPON_INFO>{node});
    };
    for (std::size_t n = 0; n < bytes.size(); ++n)
        EXPECT_FALSE(loads(bytes.substr(0, n))) << n;
    EXPECT_TRUE(loads(bytes));
    const std::size_t nCount = 16;  // where the number of rows stands
    for (const char* pszRows : {"00000003", "00040001", "7FFFFFFF"})
        EXPECT_FALSE(loads(std::string(bytes).replace(nCount, 4, Wire(pszRows)))) << pszRows;
    EXPECT_THROW(loads(std::string(bytes).replace(nCount, 4, Wire("80000000"))), std::length_error);
}

using RowLimitTest = StartedTest;

TEST_F(RowLimitTest, AListBeyondTheLimitIsRefusedAndTheNextOneComes)
{
    SetSecond(std::chrono::milliseconds(100));
    std::size_t nRows = kMaxRows + 1;
    Service().On<XC2S_QueryTagReq>([&](const auto&, auto& ans) { ans.vecTag.resize(nRows); });
    EXPECT_EQ(Game().Call(&QueryTagList, _GAME_REQ{}).bSuccess, 0);
    EXPECT_TRUE(
        Journal::WaitFor(Journal::Level::Error, "A list claims 262145 rows, and 262144 are the most."));
    EXPECT_EQ(DataPool().GetCount(), 0u);
    Service().Ask(XS2C_QueryGameMoneyReq());  // its answer says that the link is in step
    nRows = 3;
    SetSecond(std::chrono::milliseconds(1000));
    const auto res = Game().Call(&QueryTagList, _GAME_REQ{});
    EXPECT_EQ(GetDataSize(res.hData, nullptr, 0), nRows);
    DestroyHandle(res.hData);
}

}  // namespace

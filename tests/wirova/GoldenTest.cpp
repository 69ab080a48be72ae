// Frames byte by byte, written by hand: nothing here has been produced by the code under test.
#include <gtest/gtest.h>

#include "tests/wirova/ByteStream.h"
#include "wirova/Frame.h"
#include "wirova/MessageCatalog.h"
#include "wirova/messages/AllMessages.h"

namespace {

using namespace Wirova;

// The message makes exactly this frame, and the frame's body makes exactly this message.
void ExpectFrame(const IMessage& msg, std::string_view golden)
{
    SCOPED_TRACE(msg.GetMsgName());
    const std::string frame = Wire(golden);
    ByteStream out;
    ASSERT_TRUE(WriteFrame(out, msg));
    EXPECT_EQ(Hex(frame), Hex(out.Bytes()));

    ByteStream in(frame.substr(4));
    const auto loaded = MakeMessage(msg.GetMsgID());
    ASSERT_NE(nullptr, loaded);
    ASSERT_TRUE(loaded->Load(in));
    EXPECT_EQ(0, in.Length());
    EXPECT_EQ(DescribeMessage(msg, Secrets::Show), DescribeMessage(*loaded, Secrets::Show));
}

TEST(Golden, MessagesOfAnIdOnlyTakeEightBytes)
{
    ExpectFrame(XC2S_Heartbeat(), "00000004 0E3B0FAA");
    ExpectFrame(XS2C_ChargeAns(), "00000004 0E4AC6DA");
}

TEST(Golden, Registration)
{
    XC2S_VelkarConnectReq req;
    req.strGID = "G1";
    req.strSID = "S01";
    req.strWID = "W";
    req.nHeartbeatCycle = 60;
    req.strConnectTime = "2011/02/03 04:05:06.007";
    ExpectFrame(req,
                "00000035 05233A4A 00000002 'G1' 00000003 'S01' 00000001 'W' 0000003C"
                "00000017 '2011/02/03 04:05:06.007'");

    XS2C_VelkarConnectAns ans;
    ans.strConnectInfo1 = "a";
    ans.strConnectInfo2 = "bc";
    ans.nResult = -2;
    ans.strMessage = "no";
    ExpectFrame(ans, "00000019 0736C7EA 00000001 'a' 00000002 'bc' FFFFFFFE 00000002 'no'");
}

TEST(Golden, UserRequestsHoldTheKeyInOneOfTwoFields)
{
    XC2S_CheckInReq byId;
    byId.nReqID = 7;
    byId.strUserID = "abc";
    byId.strUserIP = "10.0.0.1";
    ExpectFrame(byId,
                "0000001F 003F3A1A 00000007 00000003 616263 00000000 00000008 31302E302E302E31");

    XC2S_CheckInReq byNumber;
    byNumber.nReqID = 7;
    byNumber.strUserNo = "abc";
    byNumber.strUserIP = "10.0.0.1";
    ExpectFrame(byNumber, "0000001F 003F3A1A 00000007 00000000 00000003 'abc' 00000008 '10.0.0.1'");

    XC2S_CheckOutReq checkout;  // the third text is the Seq No
    checkout.nReqID = -1;
    checkout.strUserID = "abc";
    checkout.strSeqNo = "S-9";
    ExpectFrame(checkout, "0000001A 074A7C1A FFFFFFFF 00000003 'abc' 00000000 00000003 'S-9'");
}

TEST(Golden, CheckInAnswerHasAllSixtyFourBits)
{
    XS2C_CheckInAns ans;
    ans.nReqID = 0x01020304;
    ans.strUserID = "u";
    ans.strUserIP = "1.2.3.4";
    ans.nResult = 90006;
    ans.cFree = 'Y';
    ans.nBillType = 3;
    ans.nProductID = -4;
    ans.nRemainMinutes = 0x0102030405060708;
    ans.strCRMCode = "CRM";
    ans.strEndDate = "20110203040506";
    ans.strSeqNo = "77";
    ans.strErrorMsg = "";
    ExpectFrame(ans,
                "00000054 015865AA 01020304 00000001 'u' 00000000 00000007 '1.2.3.4' 00015F96 59"
                "00000003 FFFFFFFC 0102030405060708 00000003 'CRM' 0000000E '20110203040506'"
                "00000002 '77' 00000000");
    ans.nRemainMinutes = -2;
    ans.cFree = '\xFE';
    ans.strUserID = std::string("\0\xFF", 2);  // texts are bytes
    ExpectFrame(ans,
                "00000055 015865AA 01020304 00000002 00FF 00000000 00000007 '1.2.3.4' 00015F96 FE"
                "00000003 FFFFFFFC FFFFFFFFFFFFFFFE 00000003 'CRM' 0000000E '20110203040506'"
                "00000002 '77' 00000000");
}

TEST(Golden, CheckInExAnswerWithoutAndWithOtherBillings)
{
    XS2C_CheckInExAns ans;
    ans.nReqID = 1;
    ans.cFree = 'N';
    ans.strErrorMsg = "e";
    ExpectFrame(ans,
                "0000003E 03AFD85A 00000001 00000000 00000000 00000000 00000000 4E 00000000 00000000"
                "0000000000000000 00000000 00000000 00000000 00000000 00000001 'e'");

    auto& first = ans.vecOtherBilling.Add();
    first.nBillType = 1;
    first.nProductID = 2;
    first.nRemainMinutes = 3;
    first.strCRMCode = "c";
    auto& second = ans.vecOtherBilling.Add();
    second.nRemainMinutes = -1;
    second.strEndDate = "d";
    ExpectFrame(ans,
                "00000070 03AFD85A 00000001 00000000 00000000 00000000 00000000 4E 00000000 00000000"
                "0000000000000000 00000000 00000000 00000000"
                "00000002"
                "00000001 00000002 0000000000000003 00000001 'c' 00000000"
                "00000000 00000000 FFFFFFFFFFFFFFFF 00000000 00000001 'd'"
                "00000001 'e'");
}

TEST(Golden, WhatStandsBehindTheResultDiffersBetweenTheBillingAnswers)
{
    XS2C_QueryBillingInfoAns plain;  // a bool
    plain.bPCCafe = boolean::FromByte(2);
    plain.nBillType = 5;
    ExpectFrame(plain,
                "00000035 0050FD4A 00000000 00000000 00000000 00000000 00000000 02 00000005 00000000"
                "0000000000000000 00000000 00000000 00000000");
    XS2C_QueryBillingInfoExAns ex;  // nothing
    ex.nBillType = 5;
    ExpectFrame(ex,
                "00000038 0049FA0A 00000000 00000000 00000000 00000000 00000000 00000005 00000000"
                "0000000000000000 00000000 00000000 00000000 00000000");
    XS2C_CheckOutAns checkout;  // no address
    checkout.bSuccess = true;
    ExpectFrame(checkout, "00000015 0B0EBC0A 00000000 00000000 00000000 01 00000000");
}

TEST(Golden, ListsOfUsers)
{
    XC2S_UserListSyncReq sync;
    auto& user = sync.vecCheckOutInfo.Add();
    user.strUserID = "ab";
    user.strUserIP = "9";
    user.cFree = 'Y';
    user.nProductID = 258;
    user.strCRMCode = "C";
    user.strSeqNo = "12";
    ExpectFrame(sync,
                "00000027 004A0D4A 00000001"
                "00000002 'ab' 00000000 00000001 '9' 59 00000102 00000001 'C' 00000002 '12'");

    XC2S_ChargeReq charge;
    charge.nPID = 258;
    charge.vecChargeInfo.Add().strUserNo = "42";
    charge.vecChargeInfo.Add().bFirst = true;
    ExpectFrame(charge,
                "00000030 0581CF9A 00000102 00000002"
                "00000000 00000002 '42' 00000000 00000000 00"
                "00000000 00000000 00000000 00000000 01");
}

TEST(Golden, NoticesOfTheService)
{
    XS2C_BillingEventNotice notice;
    notice.strUserNo = "42";
    notice.strUserIP = "1.1.1.1";
    notice.nEventCode = 2;
    notice.nSpecificCode = 3;
    notice.strParam = "100%d";  // a text on the wire
    ExpectFrame(notice,
                "0000002A 0956B68A 00000000 00000002 '42' 00000007 '1.1.1.1' 00000002 00000003"
                "00000005 '100%d'");

    XS2C_NotifyStorageInfo storage;
    storage.nReqID = 1;
    storage.strGameID = "g";
    storage.strServerID = "s";
    storage.strUserID = "u";
    storage.strCharacterID = "c";
    storage.nItemCnt = 2;
    ExpectFrame(storage,
                "00000024 0C70A95A 00000001 00000001 'g' 00000001 's' 00000001 'u' 00000000"
                "00000001 'c' 00000002");
}

TEST(Golden, ShopLists)
{
    XS2C_QueryMenuListAns menu;
    menu.nReqID = 9;
    menu.strMessage = "ok";
    auto& branch = menu.vecMenu.Add();
    branch.strBranchID = "B2";
    branch.strBranchName = "Hats";
    branch.strSuperBranchID = "B1";
    branch.nBranchDepth = 1;
    branch.nSortOrder = 2;
    branch.nProductCount = 3;
    ExpectFrame(menu,
                "00000036 0E01813A 00000009 00000000 00000002 'ok' 00000001"
                "00000002 'B2' 00000004 'Hats' 00000002 'B1' 00000001 00000002 00000003");

    XS2C_QueryProductListAns list;
    list.nListValue1 = 1;
    list.nListValue2 = 2;
    list.nListValue3 = 3;
    auto& product = list.vecProduct.Add();
    product.strBranchID = "b";
    product.strProductID = "p";
    product.strProductName = "n";
    product.strMoneyCode = "m";
    product.nPrice = 4;
    product.nDiscountRate = 5;
    product.strRegDate = "r";
    product.strStartDate = "s";
    product.strEndDate = "e";
    product.strProductDesc = "d";
    product.bGift = true;
    product.strImageURL = "i";
    product.nTotalSellingCount = 6;
    product.nLevel = 7;
    product.bDuplicateSell = boolean::FromByte(2);
    product.strUnitName = "u";
    product.strIconImageURL = "c";
    product.nDisplayOrder = 8;
    product.strDiscountInfo = "f";
    product.strClassName = "k";
    ExpectFrame(list,
                "00000077 04D68BAA 00000000 00000000 00000000 00000001 00000002 00000003 00000001"
                "00000001 'b' 00000001 'p' 00000001 'n' 00000001 'm' 00000004 00000005"
                "00000001 'r' 00000001 's' 00000001 'e' 00000001 'd' 01 00000001 'i' 00000006 00000007"
                "02 00000001 'u' 00000001 'c' 00000008 00000001 'f' 00000001 'k'");

    XS2C_QueryTagAns tags;  // plain texts, one of them empty
    tags.vecTag = {"red", "", "x"};
    ExpectFrame(tags,
                "00000024 00B263BA 00000000 00000000 00000000 00000003"
                "00000003 'red' 00000000 00000001 'x'");
}

TEST(Golden, ProductDetailHasItsFieldsAheadOfThreeLists)
{
    XS2C_QueryProductDetailAns ans;
    ans.strBranchID = "b";
    ans.strProductDetailDesc = "desc";
    ans.strDirection = "up";
    ans.cCouponUseType = 'C';
    ans.cDiscountType = 'D';
    auto& child = ans.vecChildProduct.Add();
    child.strChildProductID = "1";
    child.nPrice = 2;
    child.strUnitName = "3";
    child.nValidTerm = 4;
    child.nPossibleLevel = 5;
    child.nUseCount = 6;
    child.nPeriod = 7;
    child.nRuvCoinPrice = 8;
    child.nGameMoneyPrice = 9;
    child.strClassName = "A";
    auto& condition = ans.vecCondition.Add();
    condition.cConditionType = 'L';
    condition.strConditionValue = "10";
    auto& option = ans.vecOption.Add();
    option.strOptionCode = "oc";
    option.strOptionValue = "ov";
    option.strOptionName = "on";
    ExpectFrame(ans,
                "00000085 07D89A6A 00000000 00000000 00000000"
                "00000001 'b' 00000000 00000000 00000004 'desc' 00000000 00000000 00000002 'up' 43 44"
                "00000001"
                "00000001 '1' 00000002 00000001 '3' 00000004 00000005 00000006 00000007 00000008 00000009"
                "00000001 'A'"
                "00000001 4C 00000002 '10'"
                "00000001 00000002 'oc' 00000002 'ov' 00000002 'on'");
}

TEST(Golden, StorageList)
{
    XS2C_SearchStorageAns ans;
    auto& item = ans.vecStorage.Add();
    item.nStorageSeq = 1;
    item.nOrderSeq = 2;
    item.strItemID = "a";
    item.strItemName = "b";
    item.bBonus = true;
    item.strSenderUserID = "c";
    item.strSenderUserNo = "d";
    item.strUserID = "e";
    item.strUserNo = "f";
    item.strServerID = "g";
    item.strCharacterID = "h";
    item.strGiftMessage = "i";
    item.nCount = 3;
    item.nRemainCount = 4;
    item.strValidTerm = "j";
    item.nPossibleLevel = 5;
    item.nUseCount = 6;
    item.nPeriod = 7;
    item.strOptionCode = "k";
    item.strOptionValue = "l";
    item.strUseStartDate = "m";
    item.strValidDate = "n";
    item.strBuyDate = "o";
    item.strSetName = "p";
    item.strListImageUrl = "q";
    item.strIconImageUrl = "r";
    item.strDirection = "s";
    item.bRead = false;
    item.bNew = boolean::FromByte(0xFF);
    ExpectFrame(ans,
                "00000092 0A17CA5A 00000000 00000000 00000000 00000001"
                "00000001 00000002 00000001 'a' 00000001 'b' 01 00000001 'c' 00000001 'd' 00000001 'e'"
                "00000001 'f' 00000001 'g' 00000001 'h' 00000001 'i' 00000003 00000004 00000001 'j'"
                "00000005 00000006 00000007 00000001 'k' 00000001 'l' 00000001 'm' 00000001 'n'"
                "00000001 'o' 00000001 'p' 00000001 'q' 00000001 'r' 00000001 's' 00 FF");
}

TEST(Golden, PurchaseWithAndWithoutCouponAndOption)
{
    XC2S_PurchaseProductReq req;
    req.nReqID = 1;
    req.strGameID = "g";
    req.strProductID = "p";
    req.strUserID = "u";
    req.strServerID = "s";
    req.strCharacterID = "c";
    req.strRecvUserID = "U";
    req.strRecvServerID = "S";
    req.strRecvCharacterID = "C";
    req.nCount = 2;  // ahead of the level
    req.nLevel = 3;
    req.strGiftMessage = "hi";
    req.strUserIP = "1.1.1.1";
    req.strPassWD = "pw";
    ExpectFrame(req,
                "0000005F 06CD068A 00000001 00000001 'g' 00000001 'p' 00000001 'u' 00000000 00000001 's'"
                "00000001 'c' 00000001 'U' 00000000 00000001 'S' 00000001 'C' 00000002 00000003"
                "00000002 'hi' 00000007 '1.1.1.1' 00000002 'pw' 00000000 00000000");

    auto& coupon = req.vecUseCoupon.Add();
    coupon.strCouponUseID = "id";
    coupon.strCouponCode = "cc";
    auto& option = req.vecUseOption.Add();
    option.strOptionCode = "oc";
    option.strOptionValue = "v";
    ExpectFrame(req,
                "00000076 06CD068A 00000001 00000001 'g' 00000001 'p' 00000001 'u' 00000000 00000001 's'"
                "00000001 'c' 00000001 'U' 00000000 00000001 'S' 00000001 'C' 00000002 00000003"
                "00000002 'hi' 00000007 '1.1.1.1' 00000002 'pw'"
                "00000001 00000002 'id' 00000002 'cc' 00000001 00000002 'oc' 00000001 'v'");
}

TEST(Golden, GameServiceMessages)
{
    XS2C_QueryInventoryReq query;  // the server stands behind the user
    query.nReqID = 5;
    query.strGameID = "g";
    query.strUserID = "u";
    query.strServerID = "s";
    query.strCharacterID = "c";
    ExpectFrame(query,
                "00000020 06EFB6DA 00000005 00000001 'g' 00000001 'u' 00000000 00000001 's' 00000001 'c'");

    XS2C_QueryGameMoneyReq money;  // and here ahead of it
    money.nReqID = 5;
    money.strGameID = "g";
    money.strServerID = "s";
    money.strUserID = "u";
    money.strCharacterID = "c";
    ExpectFrame(money,
                "00000020 095C5AEA 00000005 00000001 'g' 00000001 's' 00000001 'u' 00000000 00000001 'c'");

    XS2C_QueryCharacterReq character;  // a char between two texts
    character.strGameID = "g";
    character.cSearchType = 'I';
    character.strSearchValue = "v";
    ExpectFrame(character, "00000017 0EFD0D7A 00000000 00000001 'g' 00000000 49 00000001 'v'");

    XC2S_QueryInventoryAns ans;
    ans.nReqID = 5;
    ans.nState = -1;
    ans.strMessage = "m";
    auto& item = ans.vecInventory.Add();
    item.strItemID = "i";
    item.nCount = 1;
    item.nUseCount = 2;
    item.nPeriod = 3;
    item.nPossibleLevel = 4;
    item.strValidTerm = "t";
    item.cUseStatus = 'U';
    item.strOptionCode = "o";
    item.strOptionValue = "w";
    ExpectFrame(ans,
                "0000003A 0CEE695A 00000005 FFFFFFFF 00000001 'm' 00000001"
                "00000001 'i' 00000001 00000002 00000003 00000004 00000001 't' 55 00000001 'o' 00000001 'w'");
}

TEST(Golden, TwinsDifferInTheIdAlone)
{
    const auto expectTwins = [](auto one, auto other, std::string_view idOfOne, std::string_view idOfOther,
                                std::string_view rest) {
        ExpectFrame(*one, std::string(idOfOne) + std::string(rest));
        ExpectFrame(*other, std::string(idOfOther) + std::string(rest));
    };
    const auto storage = [](auto msg) {
        msg->nReqID = 1;
        msg->strGameID = "g";
        msg->strServerID = "s";
        msg->strUserNo = "n";
        msg->strCharacterID = "c";
        msg->vecStorageSeq = {1, -2};
        return msg;
    };
    expectTwins(storage(std::make_unique<XC2S_ConfirmUseStorageReq>()),
                storage(std::make_unique<XC2S_CancelUseStorageReq>()), "0000002C 0A86DF3A",
                "0000002C 0C187DCA",
                "00000001 00000001 'g' 00000001 's' 00000000 00000001 'n' 00000001 'c'"
                "00000002 00000001 FFFFFFFE");
    const auto shop = [](auto msg) {
        msg->nReqID = 1;
        msg->strGameID = "g";
        msg->strServerID = "s";
        msg->strUserID = "u";
        msg->strUserIP = "i";
        msg->strCharacterID = "c";
        msg->strProductID = "p";
        msg->nLevel = 7;
        return msg;
    };
    expectTwins(shop(std::make_unique<XC2S_QueryDiscountReq>()),
                shop(std::make_unique<XC2S_QueryCoupontReq>()), "0000002E 019C003A", "0000002E 05F1932A",
                "00000001 00000001 'g' 00000001 's' 00000001 'u' 00000000 00000001 'i' 00000001 'c'"
                "00000001 'p' 00000007");
}

}  // namespace

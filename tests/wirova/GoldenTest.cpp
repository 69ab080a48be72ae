// Frames byte by byte, written by hand: nothing here has been produced by the code under test.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/wirova/ByteStream.h"
#include "wirova/Frame.h"
#include "wirova/messages/MessageCatalog.h"

namespace {

using namespace Wirova;

void Assign(IMessage& msg, std::string_view fields);

// Sets the field of that name from its text; a list of records gets one more.
struct Setter {
    void operator()(const char* pszName, auto& v)
    {
        if (strName != pszName)
            return;
        bFound = true;
        Set(v);
    }
    void Set(int32& v) { v = std::stoi(strValue); }
    void Set(int64& v) { v = std::stoll(strValue); }
    void Set(char& v) { v = strValue.at(0); }
    void Set(boolean& v) { v = boolean::FromByte(static_cast<unsigned char>(std::stoi(strValue))); }
    void Set(std::string& v) { v = strValue; }
    void Set(std::vector<int32>& v) { v.push_back(std::stoi(strValue)); }
    void Set(std::vector<std::string>& v) { v.push_back(strValue); }
    void Set(RecordList& v) { Assign(v.Add(), strValue); }

    std::string strName, strValue;
    bool bFound = false;
};

// "nReqID=7 strUserID=abc vecOption={strOptionCode=oc} vecOption={}"
void Assign(IMessage& msg, std::string_view fields)
{
    while (!fields.empty()) {
        const std::size_t nEquals = fields.find('=');
        const bool bRecord = fields.substr(nEquals + 1, 1) == "{";
        const std::size_t nEnd = std::min(fields.find(bRecord ? '}' : ' ', nEquals), fields.size());
        const std::size_t nBegin = nEquals + (bRecord ? 2 : 1);
        Setter setter{std::string(fields.substr(0, nEquals)),
                      std::string(fields.substr(nBegin, nEnd - nBegin))};
        VisitMessage(msg, setter);
        EXPECT_TRUE(setter.bFound) << msg.GetMsgName() << " has no " << setter.strName;
        fields.remove_prefix(std::min(nEnd + (bRecord ? 2 : 1), fields.size()));
    }
}

struct Row {
    const char* pszName;
    const char* pszFields;
    const char* pszFrame;
};

// The message makes exactly this frame, and the frame's body makes exactly this message.
void ExpectFrames(std::initializer_list<Row> rows)
{
    for (const Row& row : rows) {
        SCOPED_TRACE(row.pszName);
        const auto info = std::ranges::find(AllClasses(), std::string(row.pszName), &ClassInfo::pszName);
        ASSERT_NE(AllClasses().end(), info);
        const auto msg = info->pfnMake();
        Assign(*msg, row.pszFields);
        const std::string frame = Wire(row.pszFrame);
        ByteStream out;
        ASSERT_TRUE(WriteFrame(out, *msg));
        EXPECT_EQ(Hex(frame), Hex(out.Bytes()));

        ByteStream in(frame.substr(4));
        const auto loaded = MakeMessage(info->nMsgID);
        ASSERT_NE(nullptr, loaded);
        ASSERT_TRUE(loaded->Load(in));
        EXPECT_EQ(0, in.Length());
        EXPECT_EQ(DescribeMessage(*msg, Secrets::Show), DescribeMessage(*loaded, Secrets::Show));
    }
}

TEST(Golden, RegistrationAndMessagesOfAnIdOnly)
{
    ExpectFrames(
        {{"XC2S_Heartbeat", "", "00000004 0E3B0FAA"},
         {"XS2C_ChargeAns", "", "00000004 0E4AC6DA"},
         {"XC2S_VelkarConnectReq",
          "strGID=G1 strSID=S01 strWID=W nHeartbeatCycle=60 strConnectTime=2011/02/03",
          "00000028 05233A4A 00000002 'G1' 00000003 'S01' 00000001 'W' 0000003C 0000000A '2011/02/03'"},
         {"XS2C_VelkarConnectAns", "strConnectInfo1=a strConnectInfo2=bc nResult=-2 strMessage=no",
          "00000019 0736C7EA 00000001 'a' 00000002 'bc' FFFFFFFE 00000002 'no'"}});
}

TEST(Golden, Sessions)
{
    ExpectFrames(
        {{"XC2S_CheckInReq", "nReqID=7 strUserID=abc strUserIP=10.0.0.1",
          "0000001F 003F3A1A 00000007 00000003 616263 00000000 00000008 31302E302E302E31"},
         {"XC2S_CheckInReq", "nReqID=7 strUserNo=abc strUserIP=10.0.0.1",
          "0000001F 003F3A1A 00000007 00000000 00000003 'abc' 00000008 '10.0.0.1'"},
         // The third text is the Seq No.
         {"XC2S_CheckOutReq", "nReqID=-1 strUserID=abc strSeqNo=S-9",
          "0000001A 074A7C1A FFFFFFFF 00000003 'abc' 00000000 00000003 'S-9'"},
         {"XS2C_CheckInAns",
          "nReqID=16909060 strUserID=u\xFF strUserIP=1.2.3.4 nResult=90006 cFree=\xFE nBillType=3 "
          "nProductID=-4"
          " nRemainMinutes=72623859790382856 strCRMCode=CRM strEndDate=20110203040506 strSeqNo=77",
          "00000055 015865AA 01020304 00000002 75FF 00000000 00000007 '1.2.3.4' 00015F96 FE"
          "00000003 FFFFFFFC 0102030405060708 00000003 'CRM' 0000000E '20110203040506' 00000002 '77' "
          "00000000"},
         {"XS2C_CheckInExAns",
          "nReqID=1 cFree=N strErrorMsg=e"
          " vecOtherBilling={nBillType=1 nProductID=2 nRemainMinutes=3 strCRMCode=c}"
          " vecOtherBilling={nRemainMinutes=-1 strEndDate=d}",
          "00000070 03AFD85A 00000001 00000000 00000000 00000000 00000000 4E 00000000 00000000"
          "0000000000000000 00000000 00000000 00000000 00000002"
          "00000001 00000002 0000000000000003 00000001 'c' 00000000"
          "00000000 00000000 FFFFFFFFFFFFFFFF 00000000 00000001 'd' 00000001 'e'"},
         // Behind the result stands a bool here, nothing in the next one; the one after has no address.
         {"XS2C_QueryBillingInfoAns", "bPCCafe=2 nBillType=5",
          "00000035 0050FD4A 00000000 00000000 00000000 00000000 00000000 02 00000005 00000000"
          "0000000000000000 00000000 00000000 00000000"},
         {"XS2C_QueryBillingInfoExAns", "nBillType=5",
          "00000038 0049FA0A 00000000 00000000 00000000 00000000 00000000 00000005 00000000"
          "0000000000000000 00000000 00000000 00000000 00000000"},
         {"XS2C_CheckOutAns", "bSuccess=1", "00000015 0B0EBC0A 00000000 00000000 00000000 01 00000000"}});
}

TEST(Golden, UserListsAndNotices)
{
    ExpectFrames(
        {{"XC2S_UserListSyncReq",
          "vecCheckOutInfo={strUserID=ab strUserIP=9 cFree=Y nProductID=258 strCRMCode=C strSeqNo=12}",
          "00000027 004A0D4A 00000001"
          "00000002 'ab' 00000000 00000001 '9' 59 00000102 00000001 'C' 00000002 '12'"},
         {"XC2S_ChargeReq", "nPID=258 vecChargeInfo={strUserNo=42} vecChargeInfo={bFirst=1}",
          "00000030 0581CF9A 00000102 00000002 00000000 00000002 '42' 00000000 00000000 00"
          "00000000 00000000 00000000 00000000 01"},
         {"XS2C_BillingEventNotice",
          "strUserNo=42 strUserIP=1.1.1.1 nEventCode=2 nSpecificCode=3 strParam=100%d",
          "0000002A 0956B68A 00000000 00000002 '42' 00000007 '1.1.1.1' 00000002 00000003 00000005 '100%d'"},
         {"XS2C_NotifyStorageInfo",
          "nReqID=1 strGameID=g strServerID=s strUserID=u strCharacterID=c nItemCnt=2",
          "00000024 0C70A95A 00000001 00000001 'g' 00000001 's' 00000001 'u' 00000000"
          "00000001 'c' 00000002"}});
}

TEST(Golden, ShopLists)
{
    ExpectFrames(
        {{"XS2C_QueryMenuListAns",
          "nReqID=9 strMessage=ok vecMenu={strBranchID=B2 strBranchName=Hats strSuperBranchID=B1 "
          "nBranchDepth=1"
          " nSortOrder=2 nProductCount=3}",
          "00000036 0E01813A 00000009 00000000 00000002 'ok' 00000001"
          "00000002 'B2' 00000004 'Hats' 00000002 'B1' 00000001 00000002 00000003"},
         {"XS2C_QueryProductListAns",
          "nListValue1=1 nListValue2=2 nListValue3=3 vecProduct={strBranchID=b strProductID=p "
          "strProductName=n"
          " strMoneyCode=m nPrice=4 nDiscountRate=5 strRegDate=r strStartDate=s strEndDate=e strProductDesc=d"
          " bGift=1 strImageURL=i nTotalSellingCount=6 nLevel=7 bDuplicateSell=2 strUnitName=u"
          " strIconImageURL=c nDisplayOrder=8 strDiscountInfo=f strClassName=k}",
          "00000077 04D68BAA 00000000 00000000 00000000 00000001 00000002 00000003 00000001"
          "00000001 'b' 00000001 'p' 00000001 'n' 00000001 'm' 00000004 00000005"
          "00000001 'r' 00000001 's' 00000001 'e' 00000001 'd' 01 00000001 'i' 00000006 00000007"
          "02 00000001 'u' 00000001 'c' 00000008 00000001 'f' 00000001 'k'"},
         // Plain texts, one of them empty.
         {"XS2C_QueryTagAns", "vecTag=red vecTag= vecTag=x",
          "00000024 00B263BA 00000000 00000000 00000000 00000003 00000003 'red' 00000000 00000001 'x'"},
         {"XS2C_QueryProductDetailAns",
          "strBranchID=b strProductDetailDesc=desc strDirection=up cCouponUseType=C cDiscountType=D"
          " vecChildProduct={strChildProductID=1 nPrice=2 strUnitName=3 nValidTerm=4 nPossibleLevel=5"
          " nUseCount=6 nPeriod=7 nRuvCoinPrice=8 nGameMoneyPrice=9 strClassName=A}"
          " vecCondition={cConditionType=L strConditionValue=10}"
          " vecOption={strOptionCode=oc strOptionValue=ov strOptionName=on}",
          "00000085 07D89A6A 00000000 00000000 00000000"
          "00000001 'b' 00000000 00000000 00000004 'desc' 00000000 00000000 00000002 'up' 43 44 00000001"
          "00000001 '1' 00000002 00000001 '3' 00000004 00000005 00000006 00000007 00000008 00000009"
          "00000001 'A' 00000001 4C 00000002 '10' 00000001 00000002 'oc' 00000002 'ov' 00000002 'on'"}});
}

TEST(Golden, StorageAndPurchases)
{
    const char* const pszMove =
        "nReqID=1 strGameID=g strServerID=s strUserNo=n strCharacterID=c vecStorageSeq=1"
        " vecStorageSeq=-2";
    const std::string strMove =
        "00000001 00000001 'g' 00000001 's' 00000000 00000001 'n' 00000001 'c'"
        "00000002 00000001 FFFFFFFE";
    const char* const pszShop =
        "nReqID=1 strGameID=g strServerID=s strUserID=u strUserIP=i strCharacterID=c"
        " strProductID=p nLevel=7";
    const std::string strShop =
        "00000001 00000001 'g' 00000001 's' 00000001 'u' 00000000 00000001 'i'"
        "00000001 'c' 00000001 'p' 00000007";
    ExpectFrames(
        {{"XS2C_SearchStorageAns",
          "vecStorage={nStorageSeq=1 nOrderSeq=2 strItemID=a strItemName=b bBonus=1 strSenderUserID=c"
          " strSenderUserNo=d strUserID=e strUserNo=f strServerID=g strCharacterID=h strGiftMessage=i "
          "nCount=3"
          " nRemainCount=4 strValidTerm=j nPossibleLevel=5 nUseCount=6 nPeriod=7 strOptionCode=k"
          " strOptionValue=l strUseStartDate=m strValidDate=n strBuyDate=o strSetName=p strListImageUrl=q"
          " strIconImageUrl=r strDirection=s bNew=255}",
          "00000092 0A17CA5A 00000000 00000000 00000000 00000001"
          "00000001 00000002 00000001 'a' 00000001 'b' 01 00000001 'c' 00000001 'd' 00000001 'e'"
          "00000001 'f' 00000001 'g' 00000001 'h' 00000001 'i' 00000003 00000004 00000001 'j'"
          "00000005 00000006 00000007 00000001 'k' 00000001 'l' 00000001 'm' 00000001 'n'"
          "00000001 'o' 00000001 'p' 00000001 'q' 00000001 'r' 00000001 's' 00 FF"},
         // The count stands ahead of the level.
         {"XC2S_PurchaseProductReq",
          "nReqID=1 strGameID=g strProductID=p strUserID=u strServerID=s strCharacterID=c strRecvUserID=U"
          " strRecvServerID=S strRecvCharacterID=C nCount=2 nLevel=3 strGiftMessage=hi strUserIP=1.1.1.1"
          " strPassWD=pw vecUseCoupon={strCouponUseID=id strCouponCode=cc}"
          " vecUseOption={strOptionCode=oc strOptionValue=v}",
          "00000076 06CD068A 00000001 00000001 'g' 00000001 'p' 00000001 'u' 00000000 00000001 's'"
          "00000001 'c' 00000001 'U' 00000000 00000001 'S' 00000001 'C' 00000002 00000003"
          "00000002 'hi' 00000007 '1.1.1.1' 00000002 'pw'"
          "00000001 00000002 'id' 00000002 'cc' 00000001 00000002 'oc' 00000001 'v'"},
         {"XC2S_ConfirmUseStorageReq", pszMove, ("0000002C 0A86DF3A" + strMove).c_str()},
         {"XC2S_CancelUseStorageReq", pszMove, ("0000002C 0C187DCA" + strMove).c_str()},
         {"XC2S_QueryDiscountReq", pszShop, ("0000002E 019C003A" + strShop).c_str()},
         {"XC2S_QueryCoupontReq", pszShop, ("0000002E 05F1932A" + strShop).c_str()}});
}

TEST(Golden, GameService)
{
    ExpectFrames(
        {// The server stands behind the user here, and ahead of it in the next one.
         {"XS2C_QueryInventoryReq", "nReqID=5 strGameID=g strUserID=u strServerID=s strCharacterID=c",
          "00000020 06EFB6DA 00000005 00000001 'g' 00000001 'u' 00000000 00000001 's' 00000001 'c'"},
         {"XS2C_QueryGameMoneyReq", "nReqID=5 strGameID=g strServerID=s strUserID=u strCharacterID=c",
          "00000020 095C5AEA 00000005 00000001 'g' 00000001 's' 00000001 'u' 00000000 00000001 'c'"},
         {"XS2C_QueryCharacterReq", "strGameID=g cSearchType=I strSearchValue=v",
          "00000017 0EFD0D7A 00000000 00000001 'g' 00000000 49 00000001 'v'"},
         {"XC2S_QueryInventoryAns",
          "nReqID=5 nState=-1 strMessage=m vecInventory={strItemID=i nCount=1 nUseCount=2 nPeriod=3"
          " nPossibleLevel=4 strValidTerm=t cUseStatus=U strOptionCode=o strOptionValue=w}",
          "0000003A 0CEE695A 00000005 FFFFFFFF 00000001 'm' 00000001"
          "00000001 'i' 00000001 00000002 00000003 00000004 00000001 't' 55 00000001 'o' 00000001 'w'"}});
}

}  // namespace

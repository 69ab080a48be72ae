// Frames byte by byte, written by hand: nothing here has been produced by the code under test.
#include <gtest/gtest.h>

#include "tests/wirova/ByteStream.h"
#include "tests/wirova/MessageText.h"
#include "wirova/Frame.h"
#include "wirova/messages/MessageCatalog.h"

namespace {

using namespace Wirova;

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
        EXPECT_EQ(frame, out.Bytes());

        const ByteStream in(frame.substr(4));
        const auto loaded = info->pfnMake();
        ASSERT_TRUE(loaded->Load(in));
        EXPECT_EQ("", in.Bytes());
        EXPECT_EQ(DescribeMessage(*msg, Secrets::Show), DescribeMessage(*loaded, Secrets::Show));
    }
}

// The order of the other classes' fields stands in WireTable.h.
TEST(Golden, FramesOfEveryKindOfField)
{
    ExpectFrames(
        {{"XC2S_Heartbeat", "", "00000004 0E3B0FAA"},
         {"XC2S_CheckInReq", "nReqID=7 strUserID=abc strUserIP=10.0.0.1",
          "0000001F 003F3A1A 00000007 00000003 616263 00000000 00000008 31302E302E302E31"},
         {"XS2C_CheckInAns",
          "nReqID=16909060 strUserID=u\xFF strUserIP=1.2.3.4 nResult=90006 cFree=\xFE nBillType=3 "
          "nProductID=-4"
          " nRemainMinutes=72623859790382856 strCRMCode=CRM strEndDate=20110203040506 strSeqNo=77",
          "00000055 015865AA 01020304 00000002 75FF 00000000 00000007 '1.2.3.4' 00015F96 FE 00000003 FFFFFFFC"
          "0102030405060708 00000003 'CRM' 0000000E '20110203040506' 00000002 '77' 00000000"},
         {"XS2C_CheckInExAns",
          "nReqID=1 cFree=N strErrorMsg=e vecOtherBilling={nBillType=1 nProductID=2 nRemainMinutes=3 "
          "strCRMCode=c}"
          " vecOtherBilling={nRemainMinutes=-1 strEndDate=d}",
          "00000070 03AFD85A 00000001 00000000 00000000 00000000 00000000 4E 00000000 00000000"
          "0000000000000000 00000000 00000000 00000000 00000002"
          "00000001 00000002 0000000000000003 00000001 'c' 00000000"
          "00000000 00000000 FFFFFFFFFFFFFFFF 00000000 00000001 'd' 00000001 'e'"},
         {"XS2C_QueryBillingInfoAns", "bPCCafe=2 nBillType=5",
          "00000035 0050FD4A 00000000 00000000 00000000 00000000 00000000 02 00000005 00000000"
          "0000000000000000 00000000 00000000 00000000"},
         {"XC2S_ChargeReq", "nPID=258 vecChargeInfo={strUserNo=42} vecChargeInfo={bFirst=1}",
          "00000030 0581CF9A 00000102 00000002 00000000 00000002 '42' 00000000 00000000 00"
          "00000000 00000000 00000000 00000000 01"},
         // Plain texts, one of them empty.
         {"XS2C_QueryTagAns", "vecTag=red vecTag= vecTag=x",
          "00000024 00B263BA 00000000 00000000 00000000 00000003 00000003 'red' 00000000 00000001 'x'"},
         {"XC2S_ConfirmUseStorageReq", "nReqID=1 strGameID=g strUserNo=n vecStorageSeq=1 vecStorageSeq=-2",
          "0000002A 0A86DF3A 00000001 00000001 'g' 00000000 00000000 00000001 'n' 00000000"
          "00000002 00000001 FFFFFFFE"}});
}

}  // namespace

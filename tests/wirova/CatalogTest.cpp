#include <gtest/gtest.h>

#include "tests/wirova/MessageText.h"
#include "wirova/messages/AllMessages.h"

namespace {

using namespace Wirova;

TEST(Catalog, KnowsNothingOfOtherIds)
{
    for (const int32 nMsgID : {0, XS2C_ChargeAns::kMsgID + 1}) {
        EXPECT_EQ(nullptr, MakeMessage(nMsgID));
        EXPECT_EQ(nullptr, FindClass(nMsgID));
        EXPECT_STREQ("unknown message", MessageName(nMsgID));
    }
}

TEST(Catalog, DescribesAMessageInOneLine)
{
    XS2C_CheckInExAns ans;
    Assign(ans, "nReqID=7 cFree=Y nRemainMinutes=-5 vecOtherBilling={strCRMCode=x} strUserID=a\"b\\c\n\x7F");
    EXPECT_EQ(
        "XS2C_CheckInExAns { nReqID: 7 strUserID: \"a\\\"b\\\\c\\x0A\\x7F\" strUserNo: \"\" strUserIP: \"\""
        " nResult: 0 cFree: 'Y' nBillType: 0 nProductID: 0 nRemainMinutes: -5 strCRMCode: \"\""
        " strEndDate: \"\" strSeqNo: \"\" vecOtherBilling: [ XUserBillingInfo { nBillType: 0 nProductID: 0"
        " nRemainMinutes: 0 strCRMCode: \"x\" strEndDate: \"\" } ] strErrorMsg: \"\" }",
        DescribeMessage(ans));

    XS2C_UserMoveToAns bytes;
    Assign(bytes, "bSuccess=255");
    EXPECT_NE(std::string::npos, DescribeMessage(bytes).find(" bSuccess: 255 "));
    XC2S_ConfirmUseStorageReq numbers;
    numbers.vecStorageSeq = {1, -2};
    EXPECT_NE(std::string::npos, DescribeMessage(numbers).find(" vecStorageSeq: [ 1 -2 ]"));
    XC2S_PurchaseProductReq secret;
    secret.strPassWD = "hunter2";
    EXPECT_NE(std::string::npos, DescribeMessage(secret).find(" strPassWD: (blanked) "));
    EXPECT_NE(std::string::npos, DescribeMessage(secret, Secrets::Show).find(" strPassWD: \"hunter2\" "));
}

TEST(Catalog, DescriptionsAreBounded)
{
    XS2C_QueryTagAns tags;
    tags.strMessage = std::string(200, 'm');
    tags.vecTag.assign(20, "t");
    EXPECT_EQ(std::string::npos, DescribeMessage(tags).find("..."));

    tags.strMessage += 'm';
    tags.vecTag.assign(10000, std::string(300, '\x01'));
    const std::string cut = DescribeMessage(tags);
    EXPECT_NE(std::string::npos, cut.find("\"" + std::string(200, 'm') + "\"... (201 bytes) "));
    EXPECT_NE(std::string::npos, cut.find(" ... (10000 elements) ]"));
    EXPECT_LT(cut.size(), 20000U);
}

}  // namespace

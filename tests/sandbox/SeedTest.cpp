// Users and shops from a file, and mistakes in it.
#include <gtest/gtest.h>

#include "sandbox/seed/Seed.h"
#include "tests/sandbox/SandboxFixture.h"

using namespace SandboxTest;

namespace {

class SeedTest : public testing::Test {
protected:
    std::string Write(const std::string& strJson)
    {
        WriteFile(m_dir / "seed.json", strJson);
        return m_dir / "seed.json";
    }
    // What is wrong with a file of that text.
    std::string ErrorOf(const std::string& strJson)
    {
        try {
            Sandbox::Store store("", 0);
            Sandbox::Plant(store, Sandbox::GetSeed(Write(strJson)), 0);
            return "";
        } catch (const Sandbox::SeedError& e) {
            return e.what();
        }
    }
    TempDir m_dir;
};

}  // namespace

TEST_F(SeedTest, AFileOfUsers)
{
    RunningSandbox sandbox("", Write(R"({"users": [
        {"userId": "zoe", "userNo": "501", "billType": 2, "productId": 77, "remainMinutes": 5000000000,
         "crmCode": "Z", "free": true,
         "otherBillings": [{"billType": 1, "productId": 78, "endDate": "20301231235959"}]},
        {"userId": "yan", "userNo": "502", "result": 17, "resultText": "No."}]})"));
    Client client(sandbox.Port());
    client.Register();
    XC2S_CheckInExReq req;
    req.strUserNo = "501";
    const auto zoe = client.Ask<XS2C_CheckInExAns>(req);
    EXPECT_EQ(zoe->nResult, 0) << zoe->strErrorMsg;
    EXPECT_EQ(zoe->nProductID, 77);
    EXPECT_EQ(zoe->nRemainMinutes, 5'000'000'000);
    EXPECT_EQ(zoe->cFree, 'Y');
    ASSERT_EQ(zoe->vecOtherBilling.size(), 1u);
    EXPECT_EQ(zoe->vecOtherBilling[0]->strEndDate, "20301231235959");
    EXPECT_EQ(client.CheckIn("yan")->nResult, 17);
    EXPECT_EQ(client.CheckIn("yan")->strErrorMsg, "No.");
    EXPECT_EQ(client.CheckIn("alice")->nResult, 2) << "a file stands instead of the demo";
}

TEST_F(SeedTest, MistakesAreNamedWithTheirPlace)
{
    const struct {
        const char* pszJson;
        const char* pszExpected;
    } kCases[] = {
        {"{\"users\": [", "is not JSON"},
        {"", "is not JSON"},
        {"[]", "an object is expected"},
        {R"({"user": []})", "'user': is not a known key"},
        {R"({"users": {}})", "'users': a list is expected"},
        {R"({"users": [{"userId": "a", "userNo": "1"}, {"userId": "b"}]})", "users[1] 'userNo': is missing"},
        {R"({"users": [{"userId": "", "userNo": "1"}]})", "users[0] 'userId': must not be empty"},
        {R"({"users": [{"userId": "aaaaaaaaaaaaaaaaaaaaaaa", "userNo": "1"}]})", "at most 22 bytes"},
        {R"({"users": [{"userId": "a", "userNo": 1}]})", "'userNo': a text"},
        {R"({"users": [{"userId": "a", "userNo": "1", "billType": 4}]})",
         "'billType': a whole number from 1 to 3"},
        {R"({"users": [{"userId": "a", "userNo": "1", "billType": 1.5}]})", "'billType': a whole number"},
        {R"({"users": [{"userId": "a", "userNo": "1", "result": 18446744073709551615}]})",
         "'result': a whole"},
        {R"({"users": [{"userId": "a", "userNo": "1", "free": "Y"}]})", "'free': true or false"},
        {R"({"users": [{"userId": "a", "userNo": "1", "endDate": "20300231000000"}]})",
         "'endDate': 14 digits"},
        {R"({"users": [{"userId": "a", "userNo": "1", "minutes": 5}]})", "'minutes': is not a known key"},
        {R"({"users": [{"userId": "a", "userNo": "1", "otherBillings": [{"userNo": "1"}]}]})",
         "users[0] otherBillings[0] 'userNo': is not a known key"},
        {R"({"users": [{"userId": "a", "userNo": "1"}, {"userId": "a", "userNo": "2"}]})", "two users 'a'"},
        {R"({"users": [{"userId": "a", "userNo": "1"}, {"userId": "b", "userNo": "1"}]})",
         "belongs to 'a' already"},
        {R"({"users": [{"userId": "a", "userNo": "1", "ruvCoin": -1}]})", "'ruvCoin': a whole number from 0"},
        {R"({"users": [{"userId": "a", "userNo": "1", "fillStorage": 5}]})", "needs a shop"},
        {R"({"users": [{"userId": "a", "userNo": "1", "coupons": [
            {"couponUseId": "U", "couponCode": "C", "discountRate": 101}]}]})",
         "users[0] coupons[0] 'discountRate': at most 100"},
        {R"({"users": [{"userId": "a", "userNo": "1", "coupons": [
            {"couponUseId": "U", "couponCode": "C", "discountRate": 1},
            {"couponUseId": "U", "couponCode": "D", "discountRate": 1}]}]})",
         "coupons[1] 'couponUseId': there are two"},
    };
    for (const auto& test : kCases) {
        const std::string strError = ErrorOf(test.pszJson);
        EXPECT_NE(strError.find(test.pszExpected), std::string::npos) << test.pszJson << "\n" << strError;
    }
    EXPECT_NE(ErrorOf(std::string(100'000, '[')), "") << "deep nesting";
    EXPECT_THROW(Sandbox::GetSeed(m_dir / "missing.json"), Sandbox::SeedError);
}

// A shop with one good product, with the list of that key in the place of its own.
TEST_F(SeedTest, MistakesInShopsAreNamedWithTheirPlace)
{
    const struct {
        const char* pszKey;
        const char* pszList;
        const char* pszExpected;
    } kCases[] = {
        {"menu", R"([{"branchId": "A"}, {"branchId": "A"}])", "menu[1] 'branchId': there are two"},
        {"menu", R"([{"branchId": "A", "superBranchId": "B"}, {"branchId": "B"}])",
         "menu[0] 'superBranchId': there is no branch 'B' before"},
        {"menu", R"([{"branchId": "A", "branchDepth": 3}])", "'branchDepth': is worked out"},
        {"menu", R"([{"branchId": "AAAAAAAAAAAAAAAAAAAAA"}])", "'branchId': a text of at most 20"},
        {"products", R"([{"productId": "P"}])", "products[0] 'productName': is missing"},
        {"products", R"([{"productId": "P", "productName": "P", "price": 1, "branchId": "X"}])",
         "'branchId': there is no branch 'X'"},
        {"products", R"([{"productId": "P", "productName": "P", "price": -1, "branchId": "A"}])",
         "'price': must not be below 0"},
        {"products", R"([{"productId": "P", "productName": "P", "price": 1, "branchId": "A"}])",
         "'children': one at least"},
        {"products", R"([{"productId": "P", "productName": "P", "price": 1, "branchId": "A", "colour": 1,
                          "children": [{"childProductId": "I"}]}])",
         "'colour': is not a known key"},
        {"products", R"([{"productId": "P", "productName": "P", "price": 1, "branchId": "A",
                          "children": [{"childProductId": "I", "count": 0}]}])",
         "products[0] children[0] 'count': a whole number from 1"},
        {"products", R"([{"productId": "P", "productName": "P", "price": 1, "branchId": "A",
                          "moneyCode": "GOLD"}])",
         "'moneyCode': only 'RUV'"},
        {"tags", R"(["a", "a"])", "tags[1]: 'a' is there twice"},
        {"tags", R"([7])", "tags[0]: a text"},
        {"specialGroups", R"([{"exposeCode": "E", "products": [{"productId": "NONE"}]}])",
         "specialGroups[0] products[0] 'productId': there is no product"},
        {"gifts", "[]", "'gifts': is not a known key"},
    };
    for (const auto& test : kCases) {
        Sandbox::Json shop = Sandbox::Json::parse(R"({"gameId": "G", "menu": [{"branchId": "A"}]})");
        shop[test.pszKey] = Sandbox::Json::parse(test.pszList);
        const std::string strError = ErrorOf(Sandbox::Json{{"shops", {shop}}}.dump());
        EXPECT_NE(strError.find(test.pszExpected), std::string::npos) << test.pszList << "\n" << strError;
        EXPECT_NE(strError.find("shops[0] "), std::string::npos) << strError;
    }
    EXPECT_NE(ErrorOf(R"({"shops": [{"gameId": "G"}, {"gameId": "G"}]})").find("two shops of 'G'"),
              std::string::npos);
}

TEST_F(SeedTest, AShownShopIsASeed)
{
    const auto shown = RunningSandbox().Get("/shop");
    ASSERT_EQ(shown.nStatus, 200) << shown.strBody;
    EXPECT_EQ(RunningSandbox("", Write(shown.strBody)).Get("/shop").json, shown.json);
}

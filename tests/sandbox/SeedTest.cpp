// Users and shops from a file, and mistakes in it.
#include "sandbox/seed/Seed.h"
#include "tests/sandbox/SandboxFixture.h"

using namespace SandboxTest;

namespace {

class SeedTest : public testing::Test {
protected:
    std::string Write(const std::string& strJson) { return WriteFile(m_dir / "seed.json", strJson); }
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
    // A good user, and one more.
    static std::string UsersOf(const std::string& strUser)
    {
        return R"({"users": [{"userId": "a", "userNo": "1"}, )" + strUser + "]}";
    }
    static std::string With(const std::string& strKey)
    {
        return UsersOf(R"({"userId": "b", "userNo": "2", )" + strKey + "}");
    }
    static std::string Product(const std::string& strKeys)
    {
        return R"([{"productId": "P", "productName": "P", )" + strKeys + "}]";
    }
    TempDir m_dir;
};

}  // namespace

TEST_F(SeedTest, AFileOfUsers)
{
    RunningSandbox sandbox({.strSeed = Write(R"({"users": [
        {"userId": "zoe", "userNo": "501", "billType": 2, "productId": 77, "remainMinutes": 5000000000,
         "crmCode": "Z", "free": true,
         "otherBillings": [{"billType": 1, "productId": 78, "endDate": "20301231235959"}]},
        {"userId": "yan", "userNo": "502", "result": 17, "resultText": "No."}]})")});
    Client client(sandbox.Port(), "g");
    const auto zoe = client.Ask<XS2C_CheckInExAns>("CheckInEx strUserNo=501");
    EXPECT_EQ(Pick(*zoe, "nResult cFree nProductID strEndDate"), "0,Y,77,99991231235959|78,20301231235959");
    EXPECT_EQ(zoe->nRemainMinutes, 5'000'000'000);
    EXPECT_EQ(client.Ask("CheckIn strUserID=yan", "nResult strErrorMsg"), "17,No.");
    EXPECT_EQ(client.CheckIn("alice")->nResult, 2) << "a file stands instead of the demo";
}

TEST_F(SeedTest, MistakesAreNamedWithTheirPlace)
{
    const std::pair<std::string, const char*> kCases[] = {
        {"{\"users\": [", "is not JSON"},
        {"", "is not JSON"},
        {"[]", "an object is expected"},
        {std::string(100'000, '['), "is nested too deeply"},
        {R"({"user": []})", "'user': is not a known key"},
        {R"({"users": {}})", "'users': a list is expected"},
        {UsersOf(R"({"userId": "b"})"), "users[1] 'userNo': is missing"},
        {UsersOf(R"({"userId": "", "userNo": "1"})"), "users[1] 'userId': must not be empty"},
        {UsersOf(R"({"userId": "aaaaaaaaaaaaaaaaaaaaaaa", "userNo": "1"})"), "at most 22 bytes"},
        {UsersOf(R"({"userId": "b", "userNo": 1})"), "'userNo': a text"},
        {UsersOf(R"({"userId": "a", "userNo": "2"})"), "two users 'a'"},
        {UsersOf(R"({"userId": "b", "userNo": "1"})"), "belongs to 'a' already"},
        {With(R"("billType": 4)"), "'billType': a whole number from 1 to 3"},
        {With(R"("billType": 1.5)"), "'billType': a whole number"},
        {With(R"("result": 18446744073709551615)"), "'result': a whole"},
        {With(R"("free": "Y")"), "'free': true or false"},
        {With(R"("endDate": "20300231000000")"), "'endDate': 14 digits"},
        {With(R"("minutes": 5)"), "'minutes': is not a known key"},
        {With(R"("otherBillings": [{"userNo": "1"}])"),
         "users[1] otherBillings[0] 'userNo': is not a known key"},
        {With(R"("ruvCoin": -1)"), "'ruvCoin': a whole number from 0"},
        {With(R"("fillStorage": 5)"), "needs a shop"},
        {With(R"("coupons": [{"couponUseId": "U", "couponCode": "C", "discountRate": 101}])"),
         "users[1] coupons[0] 'discountRate': at most 100"},
        {With(R"("coupons": [{"couponUseId": "U", "couponCode": "C", "discountRate": 1},
                             {"couponUseId": "U", "couponCode": "D", "discountRate": 1}])"),
         "coupons[1] 'couponUseId': there are two"},
    };
    for (const auto& [strJson, pszExpected] : kCases)
        EXPECT_NE(ErrorOf(strJson).find(pszExpected), std::string::npos) << strJson << "\n"
                                                                         << ErrorOf(strJson);
    EXPECT_THROW(Sandbox::GetSeed(m_dir / "missing.json"), Sandbox::SeedError);
}

// A shop with one good product, with the list of that key in the place of its own.
TEST_F(SeedTest, MistakesInShopsAreNamedWithTheirPlace)
{
    const std::string strGood = R"("price": 1, "branchId": "A", "children": [{"childProductId": "I"}])";
    const struct {
        const char* pszKey;
        std::string strList;
        const char* pszExpected;
    } kCases[] = {
        {"menu", R"([{"branchId": "A"}, {"branchId": "A"}])", "menu[1] 'branchId': there are two"},
        {"menu", R"([{"branchId": "A", "superBranchId": "B"}, {"branchId": "B"}])",
         "menu[0] 'superBranchId': there is no branch 'B' before"},
        {"menu", R"([{"branchId": "A", "branchDepth": 3}])", "'branchDepth': is worked out"},
        {"menu", R"([{"branchId": "AAAAAAAAAAAAAAAAAAAAA"}])", "'branchId': a text of at most 20"},
        {"products", R"([{"productId": "P"}])", "products[0] 'productName': is missing"},
        {"products", Product(R"("price": 1, "branchId": "X")"), "'branchId': there is no branch 'X'"},
        {"products", Product(R"("price": -1, "branchId": "A")"), "'price': must not be below 0"},
        {"products", Product(R"("price": 1, "branchId": "A")"), "'children': one at least"},
        {"products", Product(strGood + R"(, "colour": 1)"), "'colour': is not a known key"},
        {"products", Product(strGood + R"(, "moneyCode": "GOLD")"), "'moneyCode': only 'RUV'"},
        {"products",
         Product(R"("price": 1, "branchId": "A", "children": [{"childProductId": "I", "count": 0}])"),
         "products[0] children[0] 'count': a whole number from 1"},
        {"tags", R"(["a", "a"])", "tags[1]: 'a' is there twice"},
        {"tags", R"([7])", "tags[0]: a text"},
        {"specialGroups", R"([{"exposeCode": "E", "products": [{"productId": "NONE"}]}])",
         "specialGroups[0] products[0] 'productId': there is no product"},
        {"gifts", "[]", "'gifts': is not a known key"},
    };
    for (const auto& test : kCases) {
        Sandbox::Json shop = Sandbox::Json::parse(R"({"gameId": "G", "menu": [{"branchId": "A"}]})");
        shop[test.pszKey] = Sandbox::Json::parse(test.strList);
        const std::string strError = ErrorOf(Sandbox::Json{{"shops", {shop}}}.dump());
        EXPECT_NE(strError.find(test.pszExpected), std::string::npos) << test.strList << "\n" << strError;
        EXPECT_NE(strError.find("shops[0] "), std::string::npos) << strError;
    }
    EXPECT_NE(ErrorOf(R"({"shops": [{"gameId": "G"}, {"gameId": "G"}]})").find("two shops of 'G'"),
              std::string::npos);
}

TEST_F(SeedTest, AShownShopIsASeed)
{
    const auto shown = RunningSandbox().Get("/shop");
    ASSERT_EQ(shown.nStatus, 200) << shown.strBody;
    EXPECT_EQ(RunningSandbox({.strSeed = Write(shown.strBody)}).Get("/shop").json, shown.json);
}

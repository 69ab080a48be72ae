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
    // A shop with a menu of one branch, and that list instead if it is a menu.
    static std::string ShopOf(const std::string& strKey, const std::string& strList)
    {
        Sandbox::Json shop = Sandbox::Json::parse(R"({"gameId": "G", "menu": [{"branchId": "A"}]})");
        shop[strKey] = Sandbox::Json::parse(strList);
        return Sandbox::Json{{"shops", {shop}}}.dump();
    }
    static std::string ProductOf(const std::string& strKeys)
    {
        return ShopOf("products", R"([{"productId": "P", "productName": "P", )" + strKeys + "}]");
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
}

TEST_F(SeedTest, MistakesAreNamedWithTheirPlace)
{
    const std::pair<std::string, const char*> kCases[] = {
        {"{\"users\": [", "is not JSON"},
        {"[]", "an object is expected"},
        {std::string(100'000, '['), "is nested too deeply"},
        {R"({"users": {}})", "'users': a list is expected"},
        {R"({"shops": [{"gameId": "G"}, {"gameId": "G"}]})", "two shops of 'G'"},
        {UsersOf(R"({"userId": "b"})"), "users[1] 'userNo': is missing"},
        {UsersOf(R"({"userId": "", "userNo": "1"})"), "users[1] 'userId': must not be empty"},
        {UsersOf(R"({"userId": "a", "userNo": "2"})"), "two users 'a'"},
        {UsersOf(R"({"userId": "b", "userNo": "1"})"), "belongs to 'a' already"},
        {With(R"("billType": 4)"), "'billType': a whole number from 1 to 3"},
        {With(R"("result": 18446744073709551615)"), "'result': a whole"},
        {With(R"("free": "Y")"), "'free': true or false"},
        {With(R"("endDate": "20300231000000")"), "'endDate': 14 digits"},
        {With(R"("otherBillings": [{"userNo": "1"}])"),
         "users[1] otherBillings[0] 'userNo': is not a known key"},
        {With(R"("fillStorage": 5)"), "needs a shop"},
        {With(R"("coupons": [{"couponUseId": "U", "couponCode": "C", "discountRate": 101}])"),
         "users[1] coupons[0] 'discountRate': a whole number from 0 to 100"},
        {With(R"("coupons": [{"couponUseId": "U", "couponCode": "C", "discountRate": 1},
                             {"couponUseId": "U", "couponCode": "D", "discountRate": 1}])"),
         "users[1]: there are two coupons 'U'"},
        {ShopOf("menu", R"([{"branchId": "A", "superBranchId": "B"}, {"branchId": "B"}])"),
         "shops[0] menu[0] 'superBranchId': there is no branch 'B' before"},
        {ShopOf("menu", R"([{"branchId": "A", "branchDepth": 3}])"), "'branchDepth': is not a known key"},
        {ProductOf(R"("price": 1, "branchId": "X")"), "'branchId': there is no branch 'X'"},
        {ProductOf(R"("price": -1, "branchId": "A")"), "'price': a whole number from 0"},
        {ProductOf(R"("price": 1, "branchId": "A")"), "'children': one at least"},
        {ProductOf(R"("price": 1, "branchId": "A", "moneyCode": "GOLD")"), "'moneyCode': RUV is expected"},
        {ProductOf(R"("price": 1, "branchId": "A", "children": [{"childProductId": "I", "count": 0}])"),
         "shops[0] products[0] children[0] 'count': a whole number from 1"},
        {ShopOf("tags", R"(["a", "a"])"), "tags[1]: 'a' is there twice"},
        {ShopOf("specialGroups", R"([{"exposeCode": "E", "products": [{"productId": "NONE"}]}])"),
         "specialGroups[0] products[0] 'productId': there is no product"},
    };
    for (const auto& [strJson, pszExpected] : kCases)
        EXPECT_TRUE(Contains(ErrorOf(strJson), pszExpected)) << strJson;
    EXPECT_THROW(Sandbox::GetSeed(m_dir / "missing.json"), Sandbox::SeedError);
}

TEST_F(SeedTest, AShownShopIsASeed)
{
    const auto shown = RunningSandbox().Get("/shop");
    EXPECT_EQ(RunningSandbox({.strSeed = Write(shown.strBody)}).Get("/shop").json, shown.json);
}

// Users from a file, and mistakes in it.
#include <gtest/gtest.h>

#include "sandbox/Seed.h"
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
            Sandbox::AddUsers(store, Sandbox::ReadUsers(Write(strJson)));
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
    };
    for (const auto& test : kCases) {
        const std::string strError = ErrorOf(test.pszJson);
        EXPECT_NE(strError.find(test.pszExpected), std::string::npos) << test.pszJson << "\n" << strError;
    }
    EXPECT_NE(ErrorOf(std::string(100'000, '[')), "") << "deep nesting";
    EXPECT_THROW(Sandbox::ReadUsers(m_dir / "missing.json"), Sandbox::SeedError);
}

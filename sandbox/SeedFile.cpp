// Users from a JSON file: {"users": [{"userId": "zoe", "userNo": "501", "billType": 2, ...}]}.
#include <climits>
#include <fstream>
#include <set>

#include "sandbox/DateText.h"
#include "sandbox/JsonObject.h"
#include "sandbox/Seed.h"

namespace Sandbox {
namespace {

constexpr std::size_t kMaxKey = 22;  // bytes of a user id or number
constexpr std::size_t kMaxCRMCode = 15;
constexpr std::size_t kMaxText = 1024;

Billing ReadBilling(JsonObject& object)
{
    Billing billing;
    billing.nBillType = static_cast<int>(object.Number("billType", kFixedTerm, kBoth, kFixedTerm));
    billing.nProductID = static_cast<int>(object.Number("productId", 1, INT_MAX, 1000 + billing.nBillType));
    billing.nRemainMinutes = object.Number("remainMinutes", 0, INT64_MAX, 0);
    billing.strCRMCode = object.Text("crmCode", kMaxCRMCode, "");
    billing.strEndDate = object.Text("endDate", 14, kNoEnd);
    if (!ParseDate(billing.strEndDate))
        object.Fail("endDate", "14 digits, YYYYMMDDhhmmss, of a day that exists are expected");
    return billing;
}

User ReadUser(const Json& json, const std::string& strPlace)
{
    JsonObject object(json, strPlace);
    User user;
    user.strUserID = object.Text("userId", kMaxKey, nullptr);
    user.strUserNo = object.Text("userNo", kMaxKey, nullptr);
    if (user.strUserID.empty() || user.strUserNo.empty())
        object.Fail(user.strUserID.empty() ? "userId" : "userNo", "must not be empty");
    user.billing = ReadBilling(object);
    user.nTermSeconds = static_cast<int>(object.Number("termSeconds", 0, INT_MAX, 0));
    user.cFree = object.Flag("free") ? 'Y' : 'N';
    user.bPCCafe = object.Flag("pcCafe");
    user.nResult = static_cast<int>(object.Number("result", INT_MIN, INT_MAX, 0));
    user.strResultText = object.Text("resultText", kMaxText, "");
    object.List("otherBillings", [&](const Json& element, const std::string& strElement) {
        JsonObject other(element, strElement);
        user.vecOther.push_back(ReadBilling(other));
        other.Done();
    });
    object.Done();
    return user;
}

}  // namespace

std::vector<User> ReadUsers(const std::string& strPath)
{
    std::ifstream file(strPath, std::ios::binary);
    if (!file)
        throw SeedError("seed: cannot open '" + strPath + "'");
    std::vector<User> vecUsers;
    try {
        const Json json = Json::parse(file);
        JsonObject root(json, "seed: '" + strPath + "'");
        std::set<std::string> setNames;
        root.List("users", [&](const Json& element, const std::string& strPlace) {
            vecUsers.push_back(ReadUser(element, strPlace));
            if (!setNames.insert(vecUsers.back().strUserID).second)
                throw SeedError(strPlace + ": there are two users '" + vecUsers.back().strUserID + "'");
        });
        root.Done();
    } catch (const Json::exception& e) {
        throw SeedError("seed: '" + strPath + "' is not JSON: " + e.what());
    } catch (const JsonError& e) {
        throw SeedError(e.what());
    }
    return vecUsers;
}

}  // namespace Sandbox

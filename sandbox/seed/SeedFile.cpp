// Seeds as JSON: {"users": [{"userId": "zoe", "userNo": "501", ...}], "shops": [{"gameId": "GAME", ...}]}.
#include <climits>
#include <nlohmann/json.hpp>
#include <set>

#include "sandbox/base/DateText.h"
#include "sandbox/seed/Seed.h"
#include "sandbox/seed/SeedRecords.h"
#include "sandbox/wire/MessageJson.h"

namespace Sandbox {
namespace {

constexpr std::size_t kMaxKey = 22;  // bytes of a user id or number
constexpr std::size_t kMaxCRMCode = 15;
constexpr std::size_t kMaxResultText = 1024;
constexpr std::size_t kMaxPassWord = 20;
constexpr int kMaxFill = 100'000;
constexpr int kMaxDepth = 16;

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

void ReadCoupon(const Json& json, const std::string& strPlace, std::set<std::string>& setUseIDs,
                Coupon& coupon)
{
    JsonObject object(json, strPlace);
    coupon.row.strUseEndDate = kNoEnd;
    ReadRecord(coupon.row, object, {"couponUseId", "couponCode"});
    CheckDiscount(object, coupon.row.nDiscountRate, coupon.row.nDiscountAmt);
    CheckDate(object, "useEndDate", coupon.row.strUseEndDate);
    coupon.strProductID = object.Text("productId", 20, "");
    object.Done();
    if (!setUseIDs.insert(coupon.row.strCouponUseID).second)
        object.Fail("couponUseId", "there are two coupons '" + coupon.row.strCouponUseID + "'");
}

User ReadUser(JsonObject& object)
{
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
    user.strResultText = object.Text("resultText", kMaxResultText, "");
    object.List("otherBillings", [&](const Json& element, const std::string& strElement) {
        JsonObject other(element, strElement);
        user.vecOther.push_back(ReadBilling(other));
        other.Done();
    });
    return user;
}

void ReadSeedUser(const Json& json, const std::string& strPlace, std::set<std::string>& setCouponIDs,
                  SeedUser& seeded)
{
    JsonObject object(json, strPlace);
    seeded.user = ReadUser(object);
    seeded.wallet.nRuvCoin = static_cast<int>(object.Number("ruvCoin", 0, INT_MAX, 0));
    seeded.wallet.strPassWord = object.Text("passWord", kMaxPassWord, "");
    seeded.nFillStorage = static_cast<int>(object.Number("fillStorage", 0, kMaxFill, 0));
    object.List("coupons", [&](const Json& element, const std::string& strElement) {
        ReadCoupon(element, strElement, setCouponIDs, seeded.listCoupons.emplace_back());
    });
    object.Done();
}

}  // namespace

Seed ParseSeed(const std::string& strJson, const std::string& strName)
{
    Seed seed;
    seed.strName = strName;
    try {
        const Json json = Json::parse(strJson, [&](int nDepth, Json::parse_event_t, Json&) {
            if (nDepth > kMaxDepth)
                throw JsonError(strName + ": is nested too deeply");
            return true;
        });
        JsonObject root(json, strName);
        std::set<std::string> setNames, setCouponIDs;
        root.List("users", [&](const Json& element, const std::string& strPlace) {
            ReadSeedUser(element, strPlace, setCouponIDs, seed.listUsers.emplace_back());
            const User& user = seed.listUsers.back().user;
            if (!setNames.insert(user.strUserID).second)
                throw SeedError(strPlace + ": there are two users '" + user.strUserID + "'");
        });
        if (const Json* const pShops = root.Find("shops")) {
            // Tried in a database in memory, so that mistakes are found before the store's own is touched.
            Database db("");
            db.Execute(Catalogue::Schema() + Ledger::Schema());
            Catalogue catalogue(db);
            LoadShops(catalogue, *pShops, strName + " shops");
            seed.pShops = std::make_shared<const Json>(*pShops);
        }
        root.Done();
    } catch (const Json::exception& e) {
        throw SeedError(strName + " is not JSON: " + e.what());
    } catch (const JsonError& e) {
        throw SeedError(e.what());
    }
    return seed;
}

}  // namespace Sandbox

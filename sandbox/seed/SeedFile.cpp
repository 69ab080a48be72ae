// Seeds as JSON: {"users": [{"userId": "zoe", "userNo": "501", ...}], "shops": [{"gameId": "GAME", ...}]}.
#include <nlohmann/json.hpp>
#include <set>

#include "sandbox/seed/Seed.h"
#include "sandbox/seed/SeedArguments.h"
#include "sandbox/seed/SeedRecords.h"
#include "sandbox/store/Sqlite.h"

namespace Sandbox {
namespace {

constexpr int kMaxDepth = 16;

Billing ReadBilling(const Json& given)
{
    Billing billing;
    billing.nBillType = given["billType"];
    billing.nProductID = given.value("productId", 1000 + billing.nBillType);
    billing.nRemainMinutes = given["remainMinutes"];
    billing.strCRMCode = given["crmCode"];
    billing.strEndDate = given["endDate"];
    return billing;
}

User ReadUser(const Json& given)
{
    User user;
    user.strUserID = given["userId"];
    user.strUserNo = given["userNo"];
    user.billing = ReadBilling(given);
    user.nTermSeconds = given["termSeconds"];
    user.cFree = given["free"] ? 'Y' : 'N';
    user.bPCCafe = given["pcCafe"];
    user.nResult = given["result"];
    user.strResultText = given["resultText"];
    for (const Json& other : given["otherBillings"])
        user.vecOther.push_back(ReadBilling(other));
    return user;
}

}  // namespace

void ReadCoupon(const Json& given, const std::string& strPlace, Coupon& coupon)
{
    ReadRecord(coupon.row, given);
    CheckDiscount(given, strPlace);
    coupon.strProductID = given["productId"];
}

void ReadSeedUser(const Json& given, const std::string& strPlace, SeedUser& seeded)
{
    seeded.user = ReadUser(given);
    seeded.wallet.nRuvCoin = given["ruvCoin"];
    seeded.wallet.strPassWord = given["passWord"];
    seeded.nFillStorage = given["fillStorage"];
    JsonObject object(given, strPlace);
    object.List("coupons", [&](const Json& coupon, const std::string& strCoupon) {
        ReadCoupon(coupon, strCoupon, seeded.listCoupons.emplace_back());
    });
}

Json BillingToJson(const Billing& billing)
{
    return {{"billType", billing.nBillType},
            {"productId", billing.nProductID},
            {"remainMinutes", billing.nRemainMinutes},
            {"crmCode", billing.strCRMCode},
            {"endDate", billing.strEndDate}};
}

Json SeedOf(Store& store, const User& user)
{
    Json json = {{"userId", user.strUserID}, {"userNo", user.strUserNo}};
    json.update(BillingToJson(user.billing));
    Json others = Json::array();
    for (const Billing& other : store.GetOtherBillings(user.nID))
        others.push_back(BillingToJson(other));
    const Wallet wallet = store.GetLedger().GetWallet(user.nID);
    json.update({{"termSeconds", user.nTermSeconds},
                 {"free", user.cFree == 'Y'},
                 {"pcCafe", user.bPCCafe},
                 {"result", user.nResult},
                 {"resultText", user.strResultText},
                 {"otherBillings", others},
                 {"ruvCoin", wallet.nRuvCoin},
                 {"passWord", wallet.strPassWord}});
    return json;
}

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
        const Json given = CheckArguments(json, SeedArguments(), strName);
        JsonObject root(given, strName);
        std::set<std::string> setNames, setUseIDs;
        root.List("users", [&](const Json& element, const std::string& strPlace) {
            SeedUser& seeded = seed.listUsers.emplace_back();
            ReadSeedUser(element, strPlace, seeded);
            if (!setNames.insert(seeded.user.strUserID).second)
                throw SeedError(strPlace + ": there are two users '" + seeded.user.strUserID + "'");
            for (const Coupon& coupon : seeded.listCoupons) {
                if (!setUseIDs.insert(coupon.row.strCouponUseID).second) {
                    throw SeedError(strPlace + ": there are two coupons '" + coupon.row.strCouponUseID + "'");
                }
            }
        });
        if (const Json* const pShops = root.Find("shops")) {
            // Tried in a database in memory, so that mistakes are found before the store's own is touched.
            SqliteDatabase db("");
            db.Execute(Catalogue::Schema() + Ledger::Schema() + Ledger::SoldSchema());
            Catalogue catalogue(db);
            LoadShops(catalogue, *pShops, strName + " shops");
            seed.pShops = std::make_shared<const Json>(*pShops);
        }
    } catch (const Json::exception& e) {
        throw SeedError(strName + " is not JSON: " + e.what());
    } catch (const JsonError& e) {
        throw SeedError(e.what());
    }
    return seed;
}

}  // namespace Sandbox

// The routes that change users and what they own. Each is one transaction, which begins before anything is
// looked up: what has been looked up stays then as it is.
#include <climits>
#include <nlohmann/json.hpp>

#include "sandbox/base/Printable.h"
#include "sandbox/control/Control.h"
#include "sandbox/seed/SeedArguments.h"
#include "sandbox/seed/SeedRecords.h"

namespace Sandbox {

void Control::RequireFreeNo(const std::string& strUserNo, const std::string& strUserID)
{
    const auto other = m_.store.FindUser({strUserNo, true});
    if (other && other->strUserID != strUserID) {
        throw HttpError(409, "The user number " + Quoted(strUserNo) + " belongs to " +
                                 Quoted(other->strUserID) + " already.");
    }
}

void Control::GiveCoupon(const Coupon& coupon)
{
    if (!m_.store.GetLedger().AddCoupon(coupon))
        throw HttpError(409,
                        "The coupon " + Quoted(coupon.row.strCouponUseID) + " belongs to somebody already.");
}

void Control::MakeUser(const Json& given, const Respond& respond)
{
    Transaction transaction = m_.store.Begin(Access::Change);
    SeedUser seeded;
    ReadSeedUser(given, "", seeded);
    const std::string& strUserID = seeded.user.strUserID;
    if (m_.store.FindUser({strUserID, false}))
        throw HttpError(409, "There is a user " + Quoted(strUserID) + " already.");
    RequireFreeNo(seeded.user.strUserNo, strUserID);
    if (seeded.nFillStorage > 0)
        RequireGame(Json::object());
    try {
        PlantUser(m_.store, seeded, "This user", m_.clock.Now());
    } catch (const SeedError& e) {
        throw HttpError(409, e.what());
    }
    transaction.Commit();
    respond(JsonReply(200, UserToJson(RequireUser(strUserID))));
}

// The user as a seed would have the user, with what the request changes of it.
void Control::ChangeUser(const Json& given, const Respond& respond)
{
    Transaction transaction = m_.store.Begin(Access::Change);
    const User user = RequireUser(given["user"]);
    Json changed = SeedOf(m_.store, user);
    changed.update(given);
    changed.erase("user");
    SeedUser seeded;
    ReadSeedUser(CheckArguments(changed, UserArguments()), "", seeded);
    RequireFreeNo(seeded.user.strUserNo, user.strUserID);
    m_.store.RestoreUser(seeded.user);
    m_.store.GetLedger().SetWallet(user.nID, seeded.wallet);
    transaction.Commit();
    respond(JsonReply(200, UserToJson(RequireUser(user.strUserID))));
}

void Control::RemoveUser(const Json& given, const Respond& respond)
{
    const User user = RequireUser(given["user"]);
    m_.service.RemoveUser(user.strUserID);
    respond(JsonReply(200, {{"removed", user.strUserID}}));
}

void Control::StopUser(const Json& given, const Respond& respond)
{
    const User user = RequireUser(given["user"]);
    m_.service.StopTerm(user.strUserID);
    respond(JsonReply(200, UserToJson(RequireUser(user.strUserID))));
}

void Control::ChangeBalance(const Json& given, const Respond& respond)
{
    if (given.contains("ruvCoin") == given.contains("change"))
        throw JsonError("either 'ruvCoin' or 'change' is expected");
    Transaction transaction = m_.store.Begin(Access::Change);
    const User user = RequireUser(given["user"]);
    Wallet wallet = m_.store.GetLedger().GetWallet(user.nID);
    const std::int64_t nCoin =
        given.value("ruvCoin", std::int64_t{wallet.nRuvCoin}) + given.value("change", std::int64_t{0});
    if (nCoin < 0 || nCoin > INT_MAX) {
        throw HttpError(409, Quoted(user.strUserID) + " has " + std::to_string(wallet.nRuvCoin) +
                                 " Ruv coin; a balance of " + std::to_string(nCoin) + " is not possible.");
    }
    wallet.nRuvCoin = static_cast<int>(nCoin);
    m_.store.GetLedger().SetWallet(user.nID, wallet);
    transaction.Commit();
    respond(JsonReply(200, {{"user", user.strUserID}, {"ruvCoin", wallet.nRuvCoin}}));
}

// ---- coupons ----

namespace {

Json CouponToJson(const Coupon& coupon)
{
    Json json = RecordToJson(coupon.row);
    json["productId"] = coupon.strProductID;
    return json;
}

}  // namespace

Coupon& Control::RequireCoupon(const Json& given, Coupon& coupon)
{
    const std::string strUseID = given["couponUseId"];
    Ledger& ledger = m_.store.GetLedger();
    // Looked up again once its owner is kept.
    if (!ledger.FindCoupon(strUseID, coupon) || !m_.store.GetUser(coupon.nUser) ||
        !ledger.FindCoupon(strUseID, coupon))
        throw HttpError(404, "There is no coupon " + Quoted(strUseID) + ".");
    return coupon;
}

void Control::MakeCoupon(const Json& given, const Respond& respond)
{
    Transaction transaction = m_.store.Begin(Access::Change);
    Coupon coupon;
    ReadCoupon(given, "", coupon);
    coupon.nUser = RequireUser(given["user"]).nID;
    GiveCoupon(coupon);
    transaction.Commit();
    respond(JsonReply(200, CouponToJson(coupon)));
}

void Control::ChangeCoupon(const Json& given, const Respond& respond)
{
    Transaction transaction = m_.store.Begin(Access::Change);
    Coupon old, coupon;
    Json changed = CouponToJson(RequireCoupon(given, old));
    changed.update(given);
    changed.erase("used");
    ReadCoupon(CheckArguments(changed, CouponArguments()), "", coupon);
    coupon.nUser = old.nUser;
    coupon.nOrderSeq = old.nOrderSeq;
    if (given.contains("used")) {
        if (given["used"] && old.nOrderSeq == 0)
            throw HttpError(409, "Only a purchase can use a coupon.");
        coupon.nOrderSeq = given["used"] ? old.nOrderSeq : 0;
    }
    m_.store.GetLedger().RemoveCoupon(coupon.row.strCouponUseID);
    GiveCoupon(coupon);
    transaction.Commit();
    respond(JsonReply(200, CouponToJson(coupon)));
}

void Control::RemoveCoupon(const Json& given, const Respond& respond)
{
    Transaction transaction = m_.store.Begin(Access::Change);
    Coupon coupon;
    RequireCoupon(given, coupon);
    m_.store.GetLedger().RemoveCoupon(coupon.row.strCouponUseID);
    transaction.Commit();
    respond(JsonReply(200, {{"removed", coupon.row.strCouponUseID}}));
}

}  // namespace Sandbox

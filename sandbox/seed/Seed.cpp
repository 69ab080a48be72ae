#include "sandbox/seed/Seed.h"

#include <fstream>
#include <sstream>
#include <utility>
#include <vector>

#include "sandbox/base/DateText.h"
#include "sandbox/base/Files.h"

namespace Sandbox {
namespace {

// Gives a user the coupons of the seed. A use id that the store knows is an error: that coupon belongs to
// another user, or was used already.
void GiveCoupons(Store& store, const SeedUser& seeded, std::int64_t nUser, const std::string& strName)
{
    for (const Coupon& coupon : seeded.listCoupons) {
        Coupon given;
        CopyFields(coupon.row, given.row);
        given.strProductID = coupon.strProductID;
        given.nUser = nUser;
        if (!store.GetLedger().AddCoupon(given)) {
            throw SeedError(strName + ": the coupon '" + coupon.row.strCouponUseID + "' of '" +
                            seeded.user.strUserID + "' belongs to somebody already");
        }
    }
}

void FillSeededBox(Store& store, const SeedUser& seeded, const User& user, std::time_t now)
{
    if (seeded.nFillStorage == 0)
        return;
    if (const auto vecGames = store.GetCatalogue().GetGames(); !vecGames.empty())
        FillBox(store, user, vecGames.front(), seeded.nFillStorage, now);
}

void CheckUserNo(Store& store, const User& user, const std::string& strName)
{
    const auto sameNo = store.FindUser({user.strUserNo, true});
    if (sameNo && sameNo->strUserID != user.strUserID) {
        throw SeedError(strName + ": the user number " + user.strUserNo + " of '" + user.strUserID +
                        "' belongs to '" + sameNo->strUserID + "' already");
    }
}

}  // namespace

Seed GetSeed(const std::string& strSeed)
{
    if (strSeed == "none")
        return {};
    if (strSeed == "demo")
        return ParseSeed(kDemoSeed, "the demo's seed");
    if (strSeed.starts_with('{'))
        return ParseSeed(strSeed, "the seed");
    std::ifstream file(PathOf(strSeed), std::ios::binary);
    if (!file)
        throw SeedError("seed: cannot open '" + strSeed + "'");
    std::ostringstream text;
    text << file.rdbuf();
    return ParseSeed(text.str(), "seed: '" + strSeed + "'");
}

void Plant(Store& store, const Seed& seed, std::time_t now)
{
    Transaction transaction = store.Begin(Access::Change);
    if (!store.Enter(now))
        return transaction.Commit();
    if (seed.pShops != nullptr)
        LoadShops(store.GetCatalogue(), *seed.pShops, seed.strName + " shops");
    const bool bNoShop = store.GetCatalogue().GetGames().empty();
    for (const SeedUser& seeded : seed.listUsers) {
        CheckUserNo(store, seeded.user, seed.strName);
        if (bNoShop && seeded.nFillStorage > 0)
            throw SeedError(seed.strName + ": 'fillStorage' of '" + seeded.user.strUserID + "' needs a shop");
        PlantUser(store, seeded, seed.strName, now);
    }
    transaction.Commit();
}

void PlantUser(Store& store, const SeedUser& seeded, const std::string& strName, std::time_t now)
{
    store.AddUser(seeded.user);
    const auto user = store.FindUser({seeded.user.strUserID, false});
    if (!store.GetLedger().OpenWallet(user->nID, seeded.wallet))
        return;
    GiveCoupons(store, seeded, user->nID, strName);
    FillSeededBox(store, seeded, *user, now);
}

void Restore(Store& store, const Seed& seed, std::time_t now)
{
    store.GetLedger().UndoAll();
    std::vector<std::pair<const SeedUser*, User>> vecRestored;
    for (const SeedUser& seeded : seed.listUsers) {
        store.RestoreUser(seeded.user);
        vecRestored.emplace_back(&seeded, *store.FindUser({seeded.user.strUserID, false}));
        store.GetLedger().RestoreWallet(vecRestored.back().second.nID, seeded.wallet);
    }
    for (const auto& [pSeeded, user] : vecRestored) {
        GiveCoupons(store, *pSeeded, user.nID, seed.strName);
        FillSeededBox(store, *pSeeded, user, now);
    }
}

void FillBox(Store& store, const User& user, const std::string& strGameID, int nEntries, std::time_t now)
{
    Entry entry;
    entry.nOwner = user.nID;
    entry.strGameID = strGameID;
    XStorageInfo& row = entry.row;
    row.strUserID = user.strUserID;
    row.strUserNo = user.strUserNo;
    row.nCount = row.nRemainCount = 1;
    row.strValidTerm = "0";
    row.strBuyDate = row.strUseStartDate = FormatDate(now);
    row.strValidDate = kNoEnd;
    for (int i = 1; i <= nEntries; ++i) {
        row.strItemID = "FILLED-" + std::to_string(i);
        row.strItemName = "Filled item " + std::to_string(i);
        store.GetLedger().AddEntry(entry);
    }
}

}  // namespace Sandbox

// What a sandbox starts with: users with what they own, and shops.
#pragma once

#include <list>
#include <memory>
#include <stdexcept>
#include <string>

#include "sandbox/base/Json.h"
#include "sandbox/store/Store.h"

namespace Sandbox {

// A seed file that cannot be used; the text names the file and the place in it.
class SeedError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct SeedUser {
    User user;
    Wallet wallet;
    std::list<Coupon> listCoupons;
    int nFillStorage = 0;  // made-up entries of the storage box
};

struct Seed {
    std::string strName;  // of the file, for error texts
    std::list<SeedUser> listUsers;
    std::shared_ptr<const Json> pShops;  // null: the database keeps the shops that it has
};

// "demo", "none", the path of a JSON file, or a text that begins with a brace. Throws SeedError.
Seed GetSeed(const std::string& strSeed);
// The seed in a text; strName begins the error texts. Throws SeedError.
Seed ParseSeed(const std::string& strJson, const std::string& strName);
extern const char* const kDemoSeed;  // the text of seed "demo"

// Brings a seed into the store at the start, all of it or nothing. Adds users whom the store does not know;
// known users keep what they have. Shops of the seed replace all shops of the store. A sandbox that
// joins others on their database brings nothing. Throws SeedError, StoreError.
void Plant(Store& store, const Seed& seed, std::time_t now);
// Adds a user, with what the user owns, to the store. A user who is there already keeps everything. Throws
// SeedError, StoreError. REQUIRES: a transaction is open.
void PlantUser(Store& store, const SeedUser& seeded, const std::string& strName, std::time_t now);
// Makes the users of the seed as the seed has them, with what they own. All orders and storage entries of all
// users go, and what was paid for them is given back. REQUIRES: a transaction is open.
void Restore(Store& store, const Seed& seed, std::time_t now);

// Puts nEntries entries into the user's box, each of another made-up item. REQUIRES: a transaction is open.
void FillBox(Store& store, const User& user, const std::string& strGameID, int nEntries, std::time_t now);

// Replaces all shops of the catalogue by the list that a seed file has under "shops". REQUIRES: the list has
// been checked by SeedArguments. strPlace begins the error texts. Throws JsonError, StoreError.
void LoadShops(Catalogue& catalogue, const Json& shops, const std::string& strPlace);
// Adds one product that has been checked by ProductArguments. Throws JsonError, StoreError.
void LoadProduct(Catalogue& catalogue, const std::string& strGameID, const Json& given);
// A shop, and a product of it, in the form in which a seed file has them.
Json ShopToJson(Catalogue& catalogue, const std::string& strGameID);
Json ProductToJson(Catalogue& catalogue, const ProductKey& key);

// A user that has been checked by UserArguments, with the coupons of strPlace. Throws JsonError.
void ReadSeedUser(const Json& given, const std::string& strPlace, SeedUser& seeded);
// A coupon that has been checked by CouponArguments. Throws JsonError.
void ReadCoupon(const Json& given, const std::string& strPlace, Coupon& coupon);
// The user of the store in the form in which a seed file has it, without coupons.
Json SeedOf(Store& store, const User& user);
Json BillingToJson(const Billing& billing);

}  // namespace Sandbox

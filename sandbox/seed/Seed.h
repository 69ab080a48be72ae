// What a sandbox starts with: users with what they own, and shops.
#pragma once

#include <list>
#include <stdexcept>
#include <string>

#include "sandbox/base/JsonObject.h"
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
    int nFillStorage = 0;  // entries that the box has from the start
};

struct Seed {
    std::string strName;  // begins the text of what is wrong with it
    std::list<SeedUser> listUsers;
    Json shops;  // null: the database keeps the shops that it has
};

// "demo", "none", or the path of a JSON file. Throws SeedError.
Seed GetSeed(const std::string& strSeed);
// strName: of the seed, for texts.
Seed ParseSeed(const std::string& strJson, const std::string& strName);
extern const char* const kDemoSeed;  // JSON

// All or nothing. Users are added who are not there yet; who is there stays as he is, with what he owns. The
// shops take the place of those that are there. Throws SeedError, StoreError.
void Plant(Store& store, const Seed& seed, std::time_t now);
// The users of the seed are again as it has them, with what they own; nobody has orders or storage entries
// beside, and what was paid for them is back. Within a transaction.
void Restore(Store& store, const Seed& seed, std::time_t now);

// Puts so many entries into the user's box, each of an item of its own. Within a transaction.
void FillBox(Store& store, const User& user, const std::string& strGameID, int nEntries, std::time_t now);

// Replaces all shops by these: a list, as a seed file has it. Throws SeedError, JsonError, StoreError.
void LoadShops(Catalogue& catalogue, const Json& shops, const std::string& strPlace);
// A shop in the form in which a seed file has it.
Json ShopToJson(Catalogue& catalogue, const std::string& strGameID);

}  // namespace Sandbox

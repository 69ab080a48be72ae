// The routes that change products, and those of storage boxes. Each change is one transaction.
#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>

#include "sandbox/base/DateText.h"
#include "sandbox/base/Printable.h"
#include "sandbox/control/Control.h"
#include "sandbox/seed/SeedArguments.h"
#include "sandbox/seed/SeedRecords.h"

namespace Sandbox {

ProductKey Control::RequireProduct(const Json& given)
{
    ProductKey key{RequireGame(given), given["productId"]};
    Product product;
    if (!m_.store.GetCatalogue().FindProduct(key, product))
        throw HttpError(404, "There is no product " + Quoted(key.strProductID) + " in the shop of the game " +
                                 Quoted(key.strGameID) + ".");
    return key;
}

void Control::MakeProduct(const Json& given, const Respond& respond)
{
    Transaction transaction = m_.store.Begin(Access::Change);
    m_.store.GetCatalogue().Hold();
    Catalogue& catalogue = m_.store.GetCatalogue();
    const ProductKey key{RequireGame(given), given["productId"]};
    Product product;
    if (catalogue.FindProduct(key, product))
        throw HttpError(409, "There is a product " + Quoted(key.strProductID) + " already.");
    LoadProduct(catalogue, key.strGameID, given);
    transaction.Commit();
    respond(JsonReply(200, ProductToJson(catalogue, key)));
}

// The product as a seed would have it, with what the request changes of it. The number of sold pieces is
// worked out of the orders again, so that those are not counted twice.
void Control::ChangeProduct(const Json& given, const Respond& respond)
{
    Transaction transaction = m_.store.Begin(Access::Change);
    m_.store.GetCatalogue().Hold();
    Catalogue& catalogue = m_.store.GetCatalogue();
    const ProductKey key = RequireProduct(given);
    Json changed = ProductToJson(catalogue, key);
    changed["totalSellingCount"] = changed["totalSellingCount"].get<int>() - catalogue.CountSold(key);
    changed.update(given);
    changed.erase("gameId");
    const Json checked = CheckArguments(changed, ProductArguments());
    const std::int64_t nPlace = catalogue.GetPlace(key);
    catalogue.RemoveProduct(key, Catalogue::Groups::Keep);
    LoadProduct(catalogue, key.strGameID, checked);
    catalogue.SetPlace(key, nPlace);
    transaction.Commit();
    respond(JsonReply(200, ProductToJson(catalogue, key)));
}

void Control::RemoveProduct(const Json& given, const Respond& respond)
{
    Transaction transaction = m_.store.Begin(Access::Change);
    m_.store.GetCatalogue().Hold();
    const ProductKey key = RequireProduct(given);
    m_.store.GetCatalogue().RemoveProduct(key, Catalogue::Groups::Forget);
    transaction.Commit();
    respond(JsonReply(200, {{"removed", key.strProductID}}));
}

// ---- storage boxes ----

namespace {

constexpr const char* kStates[] = {"waiting", "reserved", "used", "deleted"};

EntryState StateOf(const std::string& strName)
{
    const auto it = std::find(std::begin(kStates), std::end(kStates), strName);
    return static_cast<EntryState>(it - std::begin(kStates));
}

Json EntryToJson(const Entry& entry)
{
    Json json = {{"gameId", entry.strGameID}, {"state", kStates[static_cast<int>(entry.state)]}};
    json.update(RecordToJson(entry.row, {"new"}));
    return json;
}

}  // namespace

void Control::Storage(const Json& given, const Respond& respond)
{
    const User user = RequireUser(given["user"]);
    Json list = Json::array();
    m_.store.GetLedger().ForEachEntry(user.nID, given["limit"],
                                      [&](const Entry& entry) { list.push_back(EntryToJson(entry)); });
    respond(JsonReply(200, {{"user", user.strUserID}, {"storage", list}}));
}

void Control::FillStorage(const Json& given, const Respond& respond)
{
    Transaction transaction = m_.store.Begin(Access::Change);
    const User user = RequireUser(given["user"]);
    const std::string strGameID = RequireGame(given);
    FillBox(m_.store, user, strGameID, given["entries"], m_.clock.Now());
    transaction.Commit();
    respond(JsonReply(200, {{"user", user.strUserID}, {"gameId", strGameID}, {"entries", given["entries"]}}));
}

void Control::EmptyStorage(const Json& given, const Respond& respond)
{
    Transaction transaction = m_.store.Begin(Access::Change);
    const User user = RequireUser(given["user"]);
    const int nRemoved = m_.store.GetLedger().RemoveEntriesOf(user.nID);
    transaction.Commit();
    respond(JsonReply(200, {{"removed", nRemoved}}));
}

void Control::MakeEntry(const Json& given, const Respond& respond)
{
    Transaction transaction = m_.store.Begin(Access::Change);
    const User user = RequireUser(given["user"]);
    Entry entry;
    entry.nOwner = user.nID;
    entry.strGameID = RequireGame(given);
    XStorageInfo& row = entry.row;
    row.nCount = 1;
    row.strItemName = given["itemId"];
    row.strValidTerm = "0";
    row.strBuyDate = row.strUseStartDate = FormatDate(m_.clock.Now());
    row.strValidDate = kNoEnd;
    ReadRecord(row, given);
    row.strUserID = user.strUserID;
    row.strUserNo = user.strUserNo;
    row.nRemainCount = row.nCount;
    row.nStorageSeq = static_cast<int>(m_.store.GetLedger().AddEntry(entry));
    transaction.Commit();
    respond(JsonReply(200, EntryToJson(entry)));
}

Entry& Control::RequireEntry(const Json& given, Entry& entry)
{
    const int nStorageSeq = given["storageSeq"];
    Ledger& ledger = m_.store.GetLedger();
    // Looked up again once its owner is kept.
    if (!ledger.FindEntry(nStorageSeq, entry) || !m_.store.GetUser(entry.nOwner) ||
        !ledger.FindEntry(nStorageSeq, entry))
        throw HttpError(404, "There is no entry " + std::to_string(nStorageSeq) + ".");
    return entry;
}

void Control::ChangeEntry(const Json& given, const Respond& respond)
{
    Transaction transaction = m_.store.Begin(Access::Change);
    Entry entry;
    ReadRecord(RequireEntry(given, entry).row, given);
    const std::string strState = given.value("state", "");
    if (!strState.empty()) {
        entry.state = StateOf(strState);
        entry.nUntil = 0;
        entry.strUseServerID.clear();
        entry.strUseCharacterID.clear();
    }
    entry.row.nRemainCount = entry.state == EntryState::Used ? 0 : entry.row.nCount;
    m_.store.GetLedger().ReplaceEntry(entry);
    transaction.Commit();
    respond(JsonReply(200, EntryToJson(entry)));
}

void Control::RemoveEntry(const Json& given, const Respond& respond)
{
    Transaction transaction = m_.store.Begin(Access::Change);
    Entry entry;
    RequireEntry(given, entry);
    m_.store.GetLedger().RemoveEntry(entry.row.nStorageSeq);
    transaction.Commit();
    respond(JsonReply(200, {{"removed", entry.row.nStorageSeq}}));
}

}  // namespace Sandbox

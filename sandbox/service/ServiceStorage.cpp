// Storage boxes: their lists, and moving entries into a game's inventory in two steps, reserve and then
// confirm or cancel. docs/sandbox-shop.md tells the same rules in prose.
#include <set>

#include "sandbox/base/DateText.h"
#include "sandbox/service/Service.h"

namespace Sandbox {
namespace {

constexpr std::size_t kMaxUse = 1000;              // entries of one request
constexpr std::size_t kMaxAnswer = 15u << 20;      // bytes of the entries of one answer
constexpr std::size_t kMaxBoxName = 20;            // bytes of a server or character
constexpr std::time_t kNewSeconds = 24 * 60 * 60;  // an unread entry counts as new for this time

void RequireCount(std::size_t nEntries)
{
    if (nEntries < 1 || nEntries > kMaxUse)
        throw Refusal(kTooManyRows, "1 to " + std::to_string(kMaxUse) + " entries are moved at once.");
}

}  // namespace

template <class Req>
User Service::RequireBox(const Req& req)
{
    RequireGame(req.strGameID);
    if (req.strServerID.size() > kMaxBoxName || req.strCharacterID.size() > kMaxBoxName)
        throw Refusal(kTextTooLong, "Servers and characters have at most 20 bytes each.");
    return RequireUser(KeyOf(req));
}

void Service::RequireEntry(const User& owner, const std::string& strGameID, int nStorageSeq, Entry& entry)
{
    if (!m_ledger.FindEntry(nStorageSeq, entry) || entry.nOwner != owner.nID ||
        entry.strGameID != strGameID || entry.state == EntryState::Deleted)
        throw Refusal(kUnknownEntry, "There is no entry " + std::to_string(nStorageSeq) + " in the box of " +
                                         Quoted(owner.strUserID) + ".");
}

// The entries name users the way in which the request does: by number alone, or by id too. Entries beyond
// kMaxAnswer bytes are not listed, and the answer's message says how many.
void Service::SearchStorage(Call&, const XC2S_SearchStorageReq& req, XS2C_SearchStorageAns& ans)
{
    const User owner = RequireBox(req);
    const BoxSearch search{owner.nID,
                           req.strGameID,
                           req.strServerID,
                           req.strCharacterID,
                           SearchType(req.cSearchType, "ANIOU"),
                           req.strSearchValue};
    const bool bByNumber = KeyOf(req).bNumber;
    const std::string strNewSince = FormatDate(m_clock.Now() - kNewSeconds);
    std::size_t nBytes = 0, nLeftOut = 0;
    m_ledger.ForEachWaiting(search, [&](const Entry& entry) {
        nBytes += static_cast<std::size_t>(entry.row.GetSize());
        if (nBytes > kMaxAnswer) {
            ++nLeftOut;
            return;
        }
        XStorageInfo& info = ans.vecStorage.Add();
        CopyFields(entry.row, info);
        info.bNew = !entry.row.bRead && entry.row.strBuyDate > strNewSince;
        if (bByNumber) {
            info.strUserID.clear();
            info.strSenderUserID.clear();
        }
    });
    if (nLeftOut > 0)
        ans.strMessage = std::to_string(nLeftOut) + " more entries do not fit into the answer.";
}

void Service::ConfirmReadStorage(Call&, const XC2S_ConfirmReadStorageReq& req, XS2C_ConfirmReadStorageAns&)
{
    const User owner = RequireBox(req);
    Entry entry;
    RequireEntry(owner, req.strGameID, req.nStorageSeq, entry);
    if (!req.bDelete)
        return m_ledger.SetRead(req.nStorageSeq);
    if (entry.state == EntryState::Reserved)
        throw Refusal(kEntryReserved, "The entry is being moved and cannot be deleted.");
    m_ledger.SetState(req.nStorageSeq, EntryState::Deleted);
}

// Reserves all entries of the request or none: a refusal rolls the transaction back.
void Service::RequestUseStorage(Call&, const XC2S_RequestUseStorageReq& req, XC2S_RequestUseStorageAns&)
{
    const User owner = RequireBox(req);
    RequireCount(req.vecStorageUse.size());
    const std::string strNow = FormatDate(m_clock.Now());
    std::set<int> setSeqs;
    for (const XStorageUseInfo* const pUse : req.vecStorageUse) {
        const std::string strEntry = "The entry " + std::to_string(pUse->nStorageSeq);
        Entry entry;
        RequireEntry(owner, req.strGameID, pUse->nStorageSeq, entry);
        if (!setSeqs.insert(pUse->nStorageSeq).second)
            throw Refusal(kNamedTwice, strEntry + " is named twice.");
        if (entry.row.nOrderSeq != pUse->nOrderSeq || entry.row.strItemID != pUse->strItemID)
            throw Refusal(kWrongItem, strEntry + " is of another order or item.");
        if (entry.state == EntryState::Reserved)
            throw Refusal(kEntryReserved, strEntry + " is being moved already.");
        if (entry.state == EntryState::Used)
            throw Refusal(kEntryUsed, strEntry + " has been moved already.");
        if (entry.row.strValidDate < strNow)
            throw Refusal(kEntryExpired, strEntry + " has expired.");
        m_ledger.Reserve(pUse->nStorageSeq, m_clock.Now() + kReserveSeconds, req.strServerID,
                         req.strCharacterID);
    }
}

template <class Req>
void Service::EndReservations(const Req& req, EntryState state)
{
    const User owner = RequireBox(req);
    RequireCount(req.vecStorageSeq.size());
    std::set<int> setSeqs;
    for (const int nSeq : req.vecStorageSeq) {
        const std::string strEntry = "The entry " + std::to_string(nSeq);
        Entry entry;
        RequireEntry(owner, req.strGameID, nSeq, entry);
        if (!setSeqs.insert(nSeq).second)
            throw Refusal(kNamedTwice, strEntry + " is named twice.");
        if (entry.state == EntryState::Used)
            throw Refusal(kEntryUsed, strEntry + " has been moved already.");
        // A reservation that has run out stays marked until the next sweep, but counts as ended here already.
        if (entry.state != EntryState::Reserved || entry.nUntil < m_clock.Now())
            throw Refusal(kNotReserved, strEntry + " is not reserved.");
        if (entry.strUseServerID != req.strServerID || entry.strUseCharacterID != req.strCharacterID)
            throw Refusal(kReservedForOther, strEntry + " is reserved for another character.");
        m_ledger.SetState(nSeq, state);
    }
}

void Service::ConfirmUseStorage(Call&, const XC2S_ConfirmUseStorageReq& req, XS2C_ConfirmUseStorageAns&)
{
    EndReservations(req, EntryState::Used);
}

void Service::CancelUseStorage(Call&, const XC2S_CancelUseStorageReq& req, XS2C_CancelUseStorageAns&)
{
    EndReservations(req, EntryState::Waiting);
}

}  // namespace Sandbox

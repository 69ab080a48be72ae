// Purchases, and what follows a purchase that is booked: a notice of the gift to its receiver, or a request
// to the game to save the items.
#include <memory>

#include "sandbox/service/Cashier.h"
#include "sandbox/service/Service.h"

namespace Sandbox {

// A purchase that is booked. Shared by what follows it, because the request ends before the game has
// answered.
struct Service::Delivered {
    XC2S_PurchaseProductReq req;  // only game, server, character and gift message are set
    Sale sale;
    User buyer;
    User receiver;
    Session session;  // the receiver's, at the time of the purchase
};

void Service::PurchaseProduct(Call& call, const XC2S_PurchaseProductReq& req, XS2C_PurchaseProductAns& ans)
{
    RequireGame(req.strGameID);
    auto pDelivered = std::make_shared<Delivered>();
    // Of two users the first one by name is kept first, so that two gifts that cross do not wait for each
    // other.
    const UserKey receiverKey =
        req.strRecvUserID.empty() ? UserKey{req.strRecvUserNo, true} : UserKey{req.strRecvUserID, false};
    if (!receiverKey.strText.empty() && receiverKey.strText < KeyOf(req).strText)
        m_store.FindUser(receiverKey);
    const User& buyer = pDelivered->buyer = RequireUser(KeyOf(req));
    User& receiver = pDelivered->receiver = buyer;
    if (!receiverKey.strText.empty()) {
        const auto found = m_store.FindUser(receiverKey);
        if (!found)
            throw Refusal(kUnknownReceiver,
                          "There is no user " + Quoted(receiverKey.strText) + " to receive it.");
        receiver = *found;
    }
    const Sale& sale = pDelivered->sale = Cashier(m_store, m_clock).Sell(req, buyer, receiver);
    ans.nOrderSeq = sale.nOrderSeq;
    ans.nBuyPrice = sale.nPrice;

    const auto session = m_store.FindSessionOf(receiver.nID);
    const bool bGift = receiver.nID != buyer.nID;
    const bool bSave = sale.bSave || m_bSaveOnPurchase;
    if (!session || session->nMovingSince != 0 || !m_courier.Reaches(session->nConnector) ||
        !(bGift || bSave))
        return;
    pDelivered->session = *session;
    pDelivered->req.strGameID = req.strGameID;
    pDelivered->req.strServerID = req.strServerID;
    pDelivered->req.strCharacterID = req.strCharacterID;
    pDelivered->req.strGiftMessage = req.strGiftMessage;
    if (bSave) {
        // Reserved, so that no other request moves the entries while the game saves them.
        const std::time_t until = m_clock.Now() + kReserveSeconds;
        for (const std::int64_t nSeq : sale.vecEntries)
            m_ledger.Reserve(nSeq, until, sale.strServerID, sale.strCharacterID);
        call.vecAnswered.push_back([this, pDelivered] { AskToSave(pDelivered); });
    } else {
        call.vecAnswered.push_back([this, pDelivered] { NotifyStorage(*pDelivered); });
    }
}

void Service::NotifyStorage(const Delivered& delivered)
{
    XS2C_NotifyStorageInfo notice;
    notice.strGameID = delivered.req.strGameID;
    notice.strServerID = delivered.sale.strServerID;
    (delivered.session.bByNumber ? notice.strUserNo : notice.strUserID) =
        delivered.session.bByNumber ? delivered.session.strUserNo : delivered.session.strUserID;
    notice.strCharacterID = delivered.sale.strCharacterID;
    notice.nItemCnt = static_cast<int>(delivered.sale.vecEntries.size());
    m_courier.Send(delivered.session.nConnector, notice);
}

void Service::AskToSave(const std::shared_ptr<Delivered>& pDelivered)
{
    const auto& [shown, sale, buyer, receiver, session] = *pDelivered;
    XS2C_SaveInventoryReq req;
    req.strGameID = shown.strGameID;
    req.nOrderSeq = sale.nOrderSeq;
    (session.bByNumber ? req.strUserNo : req.strUserID) =
        session.bByNumber ? buyer.strUserNo : buyer.strUserID;
    req.strServerID = shown.strServerID;
    req.strCharacterID = shown.strCharacterID;
    (session.bByNumber ? req.strRecvUserNo : req.strRecvUserID) =
        session.bByNumber ? receiver.strUserNo : receiver.strUserID;
    req.strRecvServerID = sale.strServerID;
    req.strRecvCharacterID = sale.strCharacterID;
    req.strGiftMessage = shown.strGiftMessage;
    req.nPrice = sale.nPrice;
    for (const std::int64_t nSeq : sale.vecEntries) {
        Entry entry;
        if (!m_ledger.FindEntry(nSeq, entry))
            continue;
        XInventory& item = req.vecInventory.Add();
        item.strItemID = entry.row.strItemID;
        item.nCount = entry.row.nCount;
        item.nUseCount = entry.row.nUseCount;
        item.nPeriod = entry.row.nPeriod;
        item.nPossibleLevel = entry.row.nPossibleLevel;
        item.strValidTerm = entry.row.strValidTerm;
        item.cUseStatus = 'N';
        item.strOptionCode = entry.row.strOptionCode;
        item.strOptionValue = entry.row.strOptionValue;
    }
    m_courier.Ask(session.nConnector, req, kSavePatience,
                  [this, pDelivered](const Wirova::IMessage* pAnswer, GameRequests::Failure,
                                     const std::string& strWhy) { OnSaved(*pDelivered, pAnswer, strWhy); });
}

// If the game has saved the items, their entries are used up. If it has not, or has not answered, the entries
// wait in the box, and the receiver of a gift is told.
void Service::OnSaved(const Delivered& delivered, const Wirova::IMessage* pAnswer, const std::string& strWhy)
{
    const auto* const pSaved = dynamic_cast<const XC2S_SaveInventoryAns*>(pAnswer);
    const bool bSaved = pSaved != nullptr && pSaved->nState == 0;
    try {
        TryAgain([&] {
            Transaction transaction = m_store.Begin(Access::Change);
            m_store.GetUser(delivered.receiver.nID);
            for (const std::int64_t nSeq : delivered.sale.vecEntries) {
                Entry entry;
                if (m_ledger.FindEntry(nSeq, entry) && entry.state == EntryState::Reserved)
                    m_ledger.SetState(nSeq, bSaved ? EntryState::Used : EntryState::Waiting);
            }
            transaction.Commit();
        });
    } catch (const StoreError& e) {
        return ShowFailure(e);
    }
    if (bSaved)
        return;
    m_console.Note("order " + std::to_string(delivered.sale.nOrderSeq) + " waits in the storage box: " +
                   (pSaved != nullptr ? Printable(pSaved->strMessage) : strWhy));
    if (delivered.receiver.nID != delivered.buyer.nID)
        NotifyStorage(delivered);
}

}  // namespace Sandbox

#include "sandbox/service/Coverage.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "sandbox/service/BillingEvents.h"
#include "sandbox/service/Refusal.h"
#include "sandbox/wire/AnyMessage.h"
#include "wirova/messages/AllMessages.h"

namespace Sandbox {
namespace {

using Wirova::IMessage;
using Wirova::int32;

constexpr std::size_t kRemembered = 100;  // users or orders of one connector
constexpr int32 kNobodyWaits = -1;        // Req ID of a checkout that the library sends by itself

bool IsCheckin(int32 nMsgID)
{
    return nMsgID == XC2S_CheckInReq::kMsgID || nMsgID == XC2S_CheckInExReq::kMsgID;
}

// The result of an answer, or the code of an event.
int CodeOf(const IMessage& msg)
{
    if (msg.GetMsgID() == XS2C_BillingEventNotice::kMsgID)
        return GetNumber(msg, "nEventCode").value_or(kWarning);
    // The answer about a spending says by its money that it has failed.
    return GetNumber(msg, "nGameMoney") == -1 ? -1 : GetResult(msg).value_or(kAccepted);
}

std::string UserOf(const IMessage& msg)
{
    const std::string strUserID = GetText(msg, "strUserID");
    return strUserID.empty() ? "#" + GetText(msg, "strUserNo") : strUserID;
}

// Whether the text was among the remembered ones.
bool Forget(std::deque<std::string>& list, const std::string& strText)
{
    return std::erase(list, strText) > 0;
}

bool Remember(std::deque<std::string>& list, const std::string& strText)
{
    const bool bThere = Forget(list, strText);
    if (list.size() >= kRemembered)
        list.pop_front();
    list.push_back(strText);
    return bThere;
}

}  // namespace

Coverage::Coverage()
{
    const auto& items = CoverageItems();
    m_all.vecMet.resize(items.size());
    for (std::size_t n = 0; n < items.size(); ++n) {
        const CoverageItem& item = items[n];
        if (item.sign == Sign::Told) {
            m_arrCases[item.nCode] = n;
        } else if (item.sign == Sign::Dropped || item.sign == Sign::Late || item.sign == Sign::LinkLost) {
            m_mapByMishap.emplace(item.nMsgID, n);
            m_mapByMishap.emplace(AnswerOf(*Wirova::FindClass(item.nMsgID))->nMsgID, n);
        } else {
            m_mapByMessage.emplace(item.nMsgID, n);
        }
    }
}

Coverage::State* Coverage::StateOf(const std::string& strConnector)
{
    const auto itName = m_mapNames.find(strConnector);
    const std::string& strName = itName != m_mapNames.end() ? itName->second : strConnector;
    const auto it = m_mapStates.find(strName);
    if (it != m_mapStates.end())
        return &it->second;
    if (std::ranges::count(strName, '/') < 2 || m_mapStates.size() >= kMaxConnectors)
        return nullptr;
    State& state = m_mapStates[strName];
    state.vecMet.resize(CoverageItems().size());
    return &state;
}

void Coverage::Meet(State* pState, std::size_t nItem)
{
    ++m_all.vecMet[nItem];
    if (pState != nullptr)
        ++pState->vecMet[nItem];
}

// nCode is the message's result, or its event code.
bool Coverage::IsMet(const CoverageItem& item, int nCode)
{
    const bool bDone = nCode == kAccepted || nCode == kAcceptedExtra;
    return item.sign == Sign::Passed || (item.sign == Sign::Done && bDone) ||
           (item.sign == Sign::Refused && !bDone) ||
           ((item.sign == Sign::Result || item.sign == Sign::Event) && nCode == item.nCode);
}

void Coverage::OnMessage(const LoggedMessage& message, const IMessage& msg)
{
    FollowLink(message.strConnector, msg);
    State* const pState = StateOf(message.strConnector);
    const bool bDropped = std::ranges::any_of(
        message.vecFaults, [](const std::string& strFault) { return strFault.ends_with(" drop"); });
    if (!bDropped) {
        const auto [itBegin, itEnd] = m_mapByMessage.equal_range(msg.GetMsgID());
        const int nCode = itBegin != itEnd ? CodeOf(msg) : 0;
        for (auto it = itBegin; it != itEnd; ++it) {
            if (IsMet(CoverageItems()[it->second], nCode))
                Meet(pState, it->second);
        }
    }
    if (pState != nullptr)
        FollowSession(*pState, message, msg);
}

// A registration comes under the peer's address, and its answer under the connector's name, unless it is
// refused.
void Coverage::FollowLink(const std::string& strConnector, const IMessage& msg)
{
    if (msg.GetMsgID() == XC2S_VelkarConnectReq::kMsgID && m_mapNames.size() < kMaxConnectors) {
        m_mapNames[strConnector] =
            GetText(msg, "strGID") + '/' + GetText(msg, "strSID") + '/' + GetText(msg, "strWID");
    }
    State* const pState = msg.GetMsgID() == XS2C_VelkarConnectAns::kMsgID ? StateOf(strConnector) : nullptr;
    if (pState == nullptr || GetResult(msg) != kAccepted)
        return;
    std::erase_if(m_mapNames, [&](const auto& item) { return item.second == strConnector; });
    if (!pState->bLinked && pState->bBefore)
        Meet(pState, kReconnected);
    if (!pState->bLinked && pState->bRefused)
        Meet(pState, kServiceBack);
    pState->bLinked = pState->bBefore = true;
    pState->bRefused = false;
}

// The cases that several messages make.
void Coverage::FollowSession(State& state, const LoggedMessage& message, const IMessage& msg)
{
    const int32 nMsgID = msg.GetMsgID();
    if (nMsgID == XS2C_CheckInAns::kMsgID || nMsgID == XS2C_CheckInExAns::kMsgID) {
        const int nResult = GetResult(msg).value_or(0);
        if ((nResult == kAccepted || nResult == kAcceptedExtra) && Remember(state.listIn, UserOf(msg)))
            Meet(&state, kCheckedInTwice);
    } else if (nMsgID == XC2S_CheckOutReq::kMsgID) {
        const std::string strUser = UserOf(msg);
        Forget(state.listIn, strUser);
        if (GetReqID(msg) == kNobodyWaits) {
            const bool bOver = Forget(state.listOver, strUser);
            const bool bLate = !bOver && state.nLateCheckins > 0;
            state.nLateCheckins -= bLate ? 1 : 0;
            Meet(&state, bOver ? kTimeOver : bLate ? kLateUndone : kOwnExpiry);
        }
    } else if (nMsgID == XC2S_UserMoveToReq::kMsgID) {
        Forget(state.listIn, UserOf(msg));
    } else if (nMsgID == XS2C_BillingEventNotice::kMsgID) {
        const int nEvent = GetNumber(msg, "nEventCode").value_or(kWarning);
        if (nEvent == kBillingExpire)
            Remember(state.listOver, UserOf(msg));
        if (nEvent == kForceCheckout)
            Forget(state.listIn, UserOf(msg));
    } else if (const auto* pList = dynamic_cast<const XC2S_UserListSyncReq*>(&msg)) {
        if (pList->vecCheckOutInfo.size() > 0)
            Meet(&state, kUserList);
    } else if (const auto* pFailed = dynamic_cast<const XC2S_FailedCheckOutReq*>(&msg)) {
        if (pFailed->vecCheckOutInfo.size() > 0)
            Meet(&state, kFailedCheckOuts);
        for (const XCheckOutInfo* pInfo : pFailed->vecCheckOutInfo)
            Forget(state.listIn, UserOf(*pInfo));
    } else if (nMsgID == XS2C_SaveInventoryReq::kMsgID) {
        if (Remember(state.listSaved, std::to_string(GetNumber(msg, "nOrderSeq").value_or(0))))
            Meet(&state, kSavedTwice);
    } else if (nMsgID == XC2S_SearchStorageReq::kMsgID && state.bBoxDue && message.vecFaults.empty()) {
        state.bBoxDue = false;
        Meet(&state, kBoxLookedAt);
    }
}

void Coverage::OnMishap(const std::string& strConnector, int32 nMsgID, const Mishap& mishap)
{
    const bool bLate = mishap.delay.count() >= kLibraryWaits;
    const bool bCut = mishap.nCutAfter.has_value();
    if (!mishap.bDrop && !bLate && !bCut)
        return;
    State* const pState = StateOf(strConnector);
    int32 nRequest = 0;
    const auto [itBegin, itEnd] = m_mapByMishap.equal_range(nMsgID);
    for (auto it = itBegin; it != itEnd; ++it) {
        const CoverageItem& item = CoverageItems()[it->second];
        nRequest = item.nMsgID;
        if (mishap.bDrop ? item.sign == Sign::Dropped
            : bCut       ? item.sign == Sign::LinkLost
                         : item.sign == Sign::Late)
            Meet(pState, it->second);
    }
    if (pState == nullptr || nRequest == 0)
        return;
    if (IsCheckin(nRequest) && bLate && !mishap.bDrop && !bCut)
        ++pState->nLateCheckins;
    if (nRequest == XC2S_PurchaseProductReq::kMsgID)
        pState->bBoxDue = true;
    if (bCut)
        return;
    if (pState->listWaiting.size() >= kRemembered)
        pState->listWaiting.pop_front();
    pState->listWaiting.push_back({nRequest, std::chrono::steady_clock::now()});
}

void Coverage::OnOutage(const std::string& strConnector, Outage::Kind kind)
{
    if (kind == Outage::Kind::Refuse) {
        for (auto& [strName, state] : m_mapStates)
            state.bRefused |= !state.bLinked;
        return;
    }
    State* const pState = StateOf(strConnector);
    if (kind == Outage::Kind::HalfOpen)
        Meet(pState, kHalfOpen);
    if (kind == Outage::Kind::Freeze)
        Meet(pState, kFrozen);
    if (kind == Outage::Kind::Slow)
        Meet(pState, kSlow);
}

void Coverage::OnClosed(const std::string& strConnector, bool bRefusing)
{
    m_mapNames.erase(strConnector);
    State* const pState = StateOf(strConnector);
    if (pState == nullptr)
        return;
    pState->bLinked = false;
    pState->bRefused |= bRefusing;
    const auto since = std::chrono::steady_clock::now() - std::chrono::milliseconds(kLibraryWaits);
    for (const Waiting& waiting : pState->listWaiting) {
        const auto [itBegin, itEnd] = m_mapByMishap.equal_range(waiting.nRequest);
        for (auto it = itBegin; it != itEnd && waiting.since >= since; ++it) {
            if (CoverageItems()[it->second].sign == Sign::LinkLost)
                Meet(pState, it->second);
        }
    }
    pState->listWaiting.clear();
}

void Coverage::Reset()
{
    std::ranges::fill(m_all.vecMet, 0);
    for (auto& [strName, state] : m_mapStates)
        std::ranges::fill(state.vecMet, 0);
}

// ---- what is told of it ----

Coverage::Count Coverage::CountOf(const std::string& strGroup) const
{
    Count count;
    for (std::size_t n = 0; n < m_all.vecMet.size(); ++n) {
        if (!strGroup.empty() && CoverageItems()[n].strGroup != strGroup)
            continue;
        ++count.nItems;
        count.nMet += m_all.vecMet[n] > 0 ? 1 : 0;
    }
    return count;
}

bool Coverage::ToJson(const std::string& strConnector, const std::string& strGroup, Json& json) const
{
    const auto itState = m_mapStates.find(strConnector);
    if (!strConnector.empty() && itState == m_mapStates.end())
        return false;
    const auto& vecMet = strConnector.empty() ? m_all.vecMet : itState->second.vecMet;
    Json items = Json::array(), connectors = Json::array();
    std::size_t nMissing = 0;
    for (std::size_t n = 0; n < vecMet.size(); ++n) {
        const CoverageItem& item = CoverageItems()[n];
        if (!strGroup.empty() && item.strGroup != strGroup)
            continue;
        Json row = {{"id", item.strID}, {"group", item.strGroup}, {"what", item.strWhat}, {"met", vecMet[n]}};
        if (vecMet[n] == 0) {
            ++nMissing;
            row["next"] = item.strNext;
        }
        items.push_back(std::move(row));
    }
    for (const auto& [strName, state] : m_mapStates)
        connectors.push_back(
            {{"connector", strName},
             {"met", std::ranges::count_if(state.vecMet, [](std::uint32_t n) { return n > 0; })}});
    json = {{"items", items.size()}, {"missing", nMissing}, {"connectors", connectors}, {"coverage", items}};
    return true;
}

}  // namespace Sandbox

// Checkouts on their way; comm/FailedDelivery.cpp delivers those that wait.
#include "session/FailedCheckOutVector.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <utility>

#include "base/Gauges.h"
#include "platform/Logova.h"
#include "session/UserInfoMap.h"

using Kernova::XTL::ScopedLock;

namespace {

// A checkout counts as delivered at the second heartbeat that finds all bytes gone: between the two the link
// has lived for a whole cycle, in which a peer that is not there any more has reset it.
constexpr int kBeatsToOutlive = 2;

}  // namespace

CFailedCheckOutVector::Place CFailedCheckOutVector::MakePlace(const CUserInfo& info, int nReqID)
{
    if (info.GetKey().empty() || info.GetUserIP().empty())
        return {};
    Entries one;
    return one.extract(one.emplace(info.GetKey(), Entry{info, 0, nReqID, 0}));
}

void CFailedCheckOutVector::AddFailed(Place place)
{
    const ScopedLock lock(m_lock);
    if (place.empty() || place.mapped().info.GetLife() != ModuleLife::Current())
        return;
    place.mapped().nOrder = ++m_nLastOrder;
    place.mapped().nReqID = 0;
    Wait(std::move(place));
}

// Of two entries of one session the one that waits already stays.
void CFailedCheckOutVector::Wait(Place place)
{
    const CUserInfo& info = place.mapped().info;
    const auto [itBegin, itEnd] = m_mapWaiting.equal_range(place.key());
    for (auto it = itBegin; it != itEnd; ++it) {
        if (it->second.info == info && it->second.info.GetSeqNo() == info.GetSeqNo())
            return;
    }
    m_mapWaiting.insert(std::move(place));
    CountWaiting();
}

void CFailedCheckOutVector::CountWaiting() const
{
    ConnectorGauges::Set(Gauges().nFailedCheckouts, m_mapWaiting.size());
}

void CFailedCheckOutVector::AddSent(Place place)
{
    const ScopedLock lock(m_lock);
    if (place.empty())
        return;
    place.mapped().nOrder = ++m_nLastOrder;
    m_mapSent.insert(std::move(place));
}

void CFailedCheckOutVector::OnAnswer(std::string_view key, int nReqID)
{
    Place answered;  // declared before the lock, so destroyed after it is released
    const ScopedLock lock(m_lock);
    const auto [itBegin, itEnd] = m_mapSent.equal_range(key);
    const auto it =
        std::find_if(itBegin, itEnd, [nReqID](const auto& entry) { return entry.second.nReqID == nReqID; });
    if (it != itEnd)
        answered = m_mapSent.extract(it);
}

void CFailedCheckOutVector::OnHeartbeat(bool bAllLeft)
{
    if (!bAllLeft)
        return;
    const ScopedLock lock(m_lock);
    for (auto it = m_mapSent.begin(); it != m_mapSent.end();)
        it = ++it->second.nBeats == kBeatsToOutlive ? m_mapSent.erase(it) : std::next(it);
}

void CFailedCheckOutVector::OnLinkLost()
{
    const ScopedLock lock(m_lock);
    while (!m_mapSent.empty()) {
        Place place = m_mapSent.extract(m_mapSent.begin());
        place.mapped().nBeats = 0;
        place.mapped().nReqID = 0;
        // The order stays that of the sending, before everything that has failed since; a delivery that is
        // being made has not listed it.
        if (place.mapped().nOrder <= m_nListedUpTo)
            place.mapped().nOrder = ++m_nLastOrder;
        Wait(std::move(place));
    }
}

std::vector<const CFailedCheckOutVector::Entry*> CFailedCheckOutVector::InOrder(std::uint64_t nUpTo)
{
    std::vector<const Entry*> vecEntries;
    vecEntries.reserve(m_mapWaiting.size());
    for (const auto& [strKey, entry] : m_mapWaiting) {
        if (entry.nOrder <= nUpTo)
            vecEntries.push_back(&entry);
    }
    std::ranges::sort(vecEntries, {}, &Entry::nOrder);
    return vecEntries;
}

bool CFailedCheckOutVector::GetFailedCheckOutList(Wirova::RecordVector<XCheckOutInfo>& list)
try {
    const ScopedLock lock(m_lock);
    // Set at the end only: if memory runs out on the way, no user is listed and none will be cleared unsent.
    m_nListedUpTo = 0;
    for (const Entry* const pEntry : InOrder(m_nLastOrder))
        FillCheckOutInfo(list.Add(), pEntry->info);
    m_nListedUpTo = m_nLastOrder;
    return !m_mapWaiting.empty();
} catch (const std::bad_alloc&) {
    return false;
}

bool CFailedCheckOutVector::DumpFailedUsers(std::string& out)
{
    const ScopedLock lock(m_lock);
    const auto vecListed = InOrder(m_nListedUpTo);
    if (vecListed.empty())
        return false;
    out = "[Failed Checkout Vector] Failed checkout user list start.\r\n";
    for (const Entry* const pEntry : vecListed)
        out += "\tUser ID: " + Logova::EscapeControls(pEntry->info.GetKey()) +
               "\r\n\tUser IP: " + Logova::EscapeControls(pEntry->info.GetUserIP()) + "\r\n";
    out += "[Failed Checkout Vector] Failed checkout user list end.";
    return true;
}

void CFailedCheckOutVector::ClearFailedUsers()
{
    const ScopedLock lock(m_lock);
    for (auto it = m_mapWaiting.begin(); it != m_mapWaiting.end();) {
        const auto itNext = std::next(it);
        if (it->second.nOrder <= m_nListedUpTo)
            m_mapSent.insert(m_mapWaiting.extract(it));
        it = itNext;
    }
    CountWaiting();
    m_nListedUpTo = 0;
}

void CFailedCheckOutVector::RemoveAll()
{
    const ScopedLock lock(m_lock);
    m_mapWaiting.clear();
    m_mapSent.clear();
    CountWaiting();
    m_nListedUpTo = 0;
}

std::size_t CFailedCheckOutVector::GetCount()
{
    const ScopedLock lock(m_lock);
    return m_mapWaiting.size();
}

std::size_t CFailedCheckOutVector::GetSentCount()
{
    const ScopedLock lock(m_lock);
    return m_mapSent.size();
}

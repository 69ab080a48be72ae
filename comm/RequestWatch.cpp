#include "comm/RequestWatch.h"

#include <algorithm>

#include "base/Logger.h"
#include "base/Times.h"

namespace {

constexpr std::int64_t kSecond = 1'000'000'000;  // nanoseconds
constexpr std::int64_t kBetweenLines = 10 * kSecond;

}  // namespace

// What differs from kind to kind.
struct CRequestWatch::Words {
    MessageCounts::Figure MessageCounts::*pBad;
    MessageCounts::Figure MessageCounts::*pGood;  // null: the kind has no end
    std::int64_t nLead;                           // how long before its first count the trouble began
    const char* pszTrouble;                       // formats; the messages follow
    const char* pszReturn;
    const char* pszTotal;
};

namespace {

std::string Number(std::int64_t n) { return std::to_string(n); }

void AddItem(std::string& strList, const std::string& strItem)
{
    strList += strList.empty() ? strItem : ", " + strItem;
}

}  // namespace

void CRequestWatch::Look(std::int64_t nNow, bool bFresh)
{
    static constexpr Words kWords[] = {
        {&MessageCounts::nTimedOut, &MessageCounts::nAnswered, kAnswerTimeout * kSecond / 1000,
         "[Velkar Connector] Requests without an answer in time: %s.",
         "[Velkar Connector] The service answers again after %d s: %s.", "without an answer"},
        {&MessageCounts::nRefused, &MessageCounts::nSent, 0,
         "[Velkar Connector] Messages that were not sent: %s.",
         "[Velkar Connector] Messages are sent again after %d s: %s.", "not sent"},
        {&MessageCounts::nSlow, nullptr, 0, "[Velkar Connector] Slow answers: %s.", "", ""},
    };
    if (bFresh)
        m_arrKinds = {};
    for (std::size_t nKind = 0; nKind < m_arrKinds.size(); ++nKind) {
        Kind& kind = m_arrKinds[nKind];
        const Words& words = kWords[nKind];
        for (std::size_t n = 0; n < kind.arrTroubles.size(); ++n) {
            Trouble& trouble = kind.arrTroubles[n];
            MessageCounts& counts = MessageTable()[n];
            if (words.pGood == nullptr)
                trouble.nLongest = std::max(trouble.nLongest, counts.nLongest.exchange(0));
            LookAt(trouble, counts, words, nNow);
            if (bFresh)
                trouble = {trouble.nBadSeen, trouble.nGoodSeen};
        }
        TellTrouble(kind, words, nNow);
        TellReturn(kind, words, nNow);
    }
}

void CRequestWatch::LookAt(Trouble& trouble, const MessageCounts& counts, const Words& words,
                           std::int64_t nNow)
{
    const auto since = [](std::int64_t& nSeen, std::int64_t nCount) {
        return nCount - std::exchange(nSeen, nCount);
    };
    const std::int64_t nBad = since(trouble.nBadSeen, (counts.*words.pBad).load(std::memory_order_relaxed));
    trouble.nUntold += nBad;
    if (words.pGood == nullptr)
        return;
    const std::int64_t nGood =
        since(trouble.nGoodSeen, (counts.*words.pGood).load(std::memory_order_relaxed));
    if (nBad > 0) {
        if (trouble.nBegin == 0)
            trouble.nBegin = nNow - words.nLead;
        trouble.nTotal += nBad;
        trouble.nSeconds = -1;
    } else if (nGood > 0 && trouble.nBegin != 0 && trouble.nSeconds < 0) {
        trouble.nSeconds = (nNow - trouble.nBegin) / kSecond;
    }
}

void CRequestWatch::TellTrouble(Kind& kind, const Words& words, std::int64_t nNow)
{
    if (nNow < kind.nNextLine)
        return;
    std::string strList;
    for (std::size_t n = 0; n < kind.arrTroubles.size(); ++n) {
        Trouble& trouble = kind.arrTroubles[n];
        if (trouble.nUntold == 0)
            continue;
        std::string strItem = Wirova::kSentMessages[n].pszName + (" " + Number(trouble.nUntold));
        if (words.pGood == nullptr)
            strItem += " (longest " + Number(trouble.nLongest / 1'000'000) + " ms)";
        AddItem(strList, strItem);
        trouble.nUntold = 0;
        trouble.nLongest = 0;
    }
    if (strList.empty())
        return;
    kind.nNextLine = nNow + kBetweenLines;
    Log::WarningFmt(words.pszTrouble, strList.c_str());
}

// What is left to tell of such a message is part of its total.
void CRequestWatch::TellReturn(Kind& kind, const Words& words, std::int64_t nNow)
{
    if (nNow < kind.nNextReturn)
        return;
    std::string strList;
    std::int64_t nSeconds = 0;
    for (std::size_t n = 0; n < kind.arrTroubles.size(); ++n) {
        Trouble& trouble = kind.arrTroubles[n];
        if (trouble.nSeconds < 0)
            continue;
        AddItem(strList, Wirova::kSentMessages[n].pszName +
                             (" (" + Number(trouble.nTotal) + ' ' + words.pszTotal + ')'));
        nSeconds = std::max(nSeconds, trouble.nSeconds);
        trouble = {trouble.nBadSeen, trouble.nGoodSeen};
    }
    if (strList.empty())
        return;
    kind.nNextReturn = nNow + kBetweenLines;
    Log::WarningFmt(words.pszReturn, static_cast<int>(nSeconds), strList.c_str());
}

// Tells the operator when requests go wrong: timeouts, messages that could not be sent and slow answers, as
// lines that sum up.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "comm/MessageCounts.h"

// Compares the figures of MessageCounts.h with those of the last look and says what has changed: at the first
// look that sees it, and then in one line for each kind of trouble and 10 seconds at most. When a message
// that was in trouble gets its answer, or is sent again, another line says so, also one in 10 seconds at
// most. No request waits for any of this, because nobody but the log's thread looks.
class CRequestWatch {
public:
    // One thread at a time. nNow: Host::GetSteadyTime. bFresh: the figures that there are now are none that
    // have to be told, because a new life of the library has begun.
    void Look(std::int64_t nNow, bool bFresh);

private:
    // The trouble of one message, of one kind.
    struct Trouble {
        std::int64_t nBadSeen = 0;  // the figures of the last look
        std::int64_t nGoodSeen = 0;
        std::int64_t nUntold = 0;    // for the next line
        std::int64_t nLongest = 0;   // of the slow answers among these, nanoseconds
        std::int64_t nBegin = 0;     // when the trouble began; 0: there is none
        std::int64_t nTotal = 0;     // since then
        std::int64_t nSeconds = -1;  // that it has lasted, once it is over and that is not told yet
    };
    struct Kind {
        std::array<Trouble, Wirova::kSentMessages.size()> arrTroubles{};
        std::int64_t nNextLine = 0, nNextReturn = 0;
    };
    struct Words;

    static void LookAt(Trouble& trouble, const MessageCounts& counts, const Words& words, std::int64_t nNow);
    static void TellTrouble(Kind& kind, const Words& words, std::int64_t nNow);
    static void TellReturn(Kind& kind, const Words& words, std::int64_t nNow);

    std::array<Kind, 3> m_arrKinds{};
};

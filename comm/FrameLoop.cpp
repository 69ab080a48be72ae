#include "comm/FrameLoop.h"

#include <algorithm>

#include "base/LastErrorCode.h"
#include "base/Logger.h"
#include "wirova/BigEndian.h"
#include "wirova/Frame.h"

namespace {

// A stream that refuses to give up a header so often in a row will not do so any more.
constexpr int kMaxHeaderFailures = 8;

// The length of a frame is the truth: the handler sees the bytes of its frame and no others, so that neither
// a field that runs over the frame's end nor bytes behind the last field can put the link out of step. False
// if what the handler has left cannot be taken off.
bool HandleFrame(const Wirova::CMsgHandlerTable& table, Wirova::Stream* pStream, int nLength, void* pParam)
{
    unsigned char id[sizeof(Wirova::int32)] = {};
    Strova::SetEnd(pStream, std::max(nLength, 0));
    Strova::Peek(pStream, id, sizeof(id));
    if (nLength > 0)  // anything shorter has no id
        table.Dispatch(pStream, pParam);
    const int nLeft = Strova::GetLength(pStream);
    const bool bSkipped = nLeft == 0 || Strova::RemoveLeft(pStream, nLeft) == nLeft;
    Strova::SetEnd(pStream, -1);
    if (nLeft != 0)
        Log::WarningFmt("[Comm Handler] %d byte(s) of a msg are skipped. [Msg ID: %d]", nLeft,
                        Wirova::GetBigEndian<Wirova::int32>(id));
    return bSkipped;
}

}  // namespace

bool HandleFrames(const Wirova::CMsgHandlerTable& table, Wirova::Stream* pStream, void* pParam)
{
    using Wirova::FrameState;
    int nHeaderFailures = 0;
    for (;;) {
        Wirova::int32 nLength = 0;
        const FrameState state = Wirova::NextFrame(pStream, kMaxBodyLength, nLength);
        if (state == FrameState::NeedMore)
            Log::DebugFmt("[Comm Handler] IsValidStream failed. Stream body length is too small(Length: %d).",
                          nLength);
        if (state != FrameState::Whole)
            return state != FrameState::TooLong;
        if (Strova::RemoveLeft(pStream, 4) == -1) {
            Log::ErrorFmt("[Comm Handler] Failed to remove a msg header from a recv stream. [Error code: %d]",
                          LastErrorCode());
            if (++nHeaderFailures == kMaxHeaderFailures)
                return false;
            continue;
        }
        nHeaderFailures = 0;
        if (!HandleFrame(table, pStream, nLength, pParam))
            return false;
    }
}

#include "comm/FrameLoop.h"

#include "base/LastErrorCode.h"
#include "base/Logger.h"
#include "wirova/Frame.h"

namespace {

// A stream that refuses to give up a header so often in a row will not do so any more.
constexpr int kMaxHeaderFailures = 8;

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
        table.Dispatch(pStream, pParam);
    }
}

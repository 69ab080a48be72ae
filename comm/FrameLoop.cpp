#include "comm/FrameLoop.h"

#include "comm/LastErrorCode.h"
#include "connector/Logger.h"
#include "wirova/Frame.h"

namespace {

// A stream that refuses to give up a header so often in a row will not do so any more.
constexpr int kMaxHeaderFailures = 8;

// Whether the stream holds a whole frame.
bool IsValidStream(Wirova::Stream* pStream)
{
    Wirova::int32 nLen = 0;
    if (!Wirova::PeekFrameLength(pStream, nLen))
        return false;
    if (Strova::GetLength(pStream) - 4 >= nLen)
        return true;
    Log::DebugFmt("[Comm Handler] IsValidStream failed. Stream body length is too small(Length: %d).", nLen);
    return false;
}

bool IsFrameTooLong(Wirova::Stream* pStream)
{
    Wirova::int32 nLen = 0;
    return Wirova::PeekFrameLength(pStream, nLen) && nLen > kMaxBodyLength;
}

}  // namespace

bool HandleFrames(const Wirova::CMsgHandlerTable& table, Wirova::Stream* pStream, void* pParam)
{
    int nHeaderFailures = 0;
    while (!IsFrameTooLong(pStream) && IsValidStream(pStream)) {
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
    return !IsFrameTooLong(pStream);
}

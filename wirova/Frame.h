// The frame around a message: the body's length, big-endian, 4 bytes, then the body.
#pragma once

#include "wirova/WirovaBase.h"

namespace Wirova {

// Appends the length and the body. False at the first write that fails.
bool WriteFrame(Stream* stream, const IMessage& msg);

// What stands at the front of a stream of received bytes.
enum class FrameState {
    NoLength,  // fewer than 4 bytes
    NeedMore,  // the length, but not yet the whole body
    Whole,     // the length and the whole body; a negative length counts as an empty body
    TooLong,   // a length above the limit: no frame of the protocol
};

// Looks at the front of the stream and takes nothing off it. nLength is the length that the frame claims, and
// is left alone without one.
FrameState NextFrame(Stream* stream, int32 nMaxLength, int32& nLength);

}  // namespace Wirova

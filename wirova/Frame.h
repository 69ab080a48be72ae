// The frame around a message on the connection: 4 bytes with the length of the body, big-endian, then the
// body, which begins with the message id. The length does not count its own 4 bytes. Nothing else stands
// between messages.
#pragma once

#include "wirova/WirovaBase.h"

namespace Wirova {

// Appends the length and the body to the stream. False at the first write that fails; what has been written
// stays, so the caller gives the stream up.
bool WriteFrame(Stream* stream, const IMessage& msg);

// What stands at the front of a stream of received bytes.
enum class FrameState {
    NoLength,  // fewer than 4 bytes
    NeedMore,  // the length, but not yet the whole body
    Whole,     // the length and the whole body; a negative length counts as an empty body
    TooLong,   // a length above the limit: the bytes are no frame of the protocol
};

// Looks at the front of a stream of received bytes and takes nothing off it. nLength becomes the length that
// the frame claims; with NoLength it is left as it is. nMaxLength is the longest body allowed, in bytes.
FrameState NextFrame(Stream* stream, int32 nMaxLength, int32& nLength);

}  // namespace Wirova

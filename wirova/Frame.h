// The frame around a message: the body's length, big-endian, 4 bytes, then the body.
#pragma once

#include "wirova/WirovaBase.h"

namespace Wirova {

// Appends the length and the body. False at the first write that fails.
bool WriteFrame(Stream* stream, const IMessage& msg);

// The length at the front of the stream, which stays there. False with fewer than 4 bytes.
bool PeekFrameLength(Stream* stream, int32& nLen);

}  // namespace Wirova

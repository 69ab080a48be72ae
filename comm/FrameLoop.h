// Frames off a stream of received bytes, into the handlers.
#pragma once

#include "wirova/WirovaBase.h"

// A body longer than this is no message of the protocol, and its bytes are not waited for.
inline constexpr Wirova::int32 kMaxBodyLength = 64 << 20;

// Dispatches every whole frame at the front of the stream; what remains is the beginning of the next
// one. False if no frame can follow any more: the link should be closed.
bool HandleFrames(const Wirova::CMsgHandlerTable& table, Wirova::Stream* pStream, void* pParam);

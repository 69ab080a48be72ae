// Messages to bytes and back: a frame is four bytes of length and the body of one message.
#pragma once

#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>

#include "wirova/WirovaBase.h"

namespace Sandbox {

// The longest body that the sandbox takes, in bytes.
inline constexpr int kMaxFrameBody = 16 << 20;

// The peer has broken the protocol: its link is closed, and the text is the reason that is shown.
class ProtocolError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct StreamDeleter {
    void operator()(Wirova::Stream* stream) const { Strova::DestroyHandle(stream); }
};
using StreamPtr = std::unique_ptr<Wirova::Stream, StreamDeleter>;

// Both throw std::bad_alloc.
StreamPtr MakeStream();
std::string FrameOf(const Wirova::IMessage& msg);  // length and body

// Takes the first frame's body off the stream; null if the frame has not arrived whole. Throws ProtocolError
// for a length that no frame can have, as soon as the length is there.
StreamPtr TakeBody(Wirova::Stream* stream);

// Fills the message from the body. Throws ProtocolError unless the message takes all bytes of the body.
void LoadBody(Wirova::IMessage& msg, Wirova::Stream* body);

// The message id at the front of a body; the body keeps it.
Wirova::int32 PeekMsgID(Wirova::Stream* body);

}  // namespace Sandbox

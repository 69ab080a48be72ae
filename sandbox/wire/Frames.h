// Messages to bytes and back.
#pragma once

#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>

#include "wirova/WirovaBase.h"

namespace Sandbox {

// A frame's body may have this many bytes; so may, about, what waits to be written to one link.
inline constexpr int kMaxFrameBody = 16 << 20;

// The peer has broken the protocol: its link is closed, and the text is the reason that is shown.
class ProtocolError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct StreamDeleter {
    void operator()(Wirova::Stream* stream) const { Strova::DestroyHandle(stream); }
};
using StreamPtr = std::unique_ptr<Wirova::Stream, StreamDeleter>;

StreamPtr MakeStream();                            // throws std::bad_alloc
std::string FrameOf(const Wirova::IMessage& msg);  // length and body

// Takes the first frame's body off the stream; null if it has not arrived whole. Throws ProtocolError for
// a length that no frame can have, as soon as the length is there.
StreamPtr TakeBody(Wirova::Stream* stream);

// The message must take the whole body, no more and no less; otherwise ProtocolError.
void LoadBody(Wirova::IMessage& msg, Wirova::Stream* body);

}  // namespace Sandbox

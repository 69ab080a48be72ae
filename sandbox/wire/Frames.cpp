#include "sandbox/wire/Frames.h"

#include <new>
#include <vector>

#include "wirova/BigEndian.h"
#include "wirova/Frame.h"

namespace Sandbox {

StreamPtr MakeStream()
{
    StreamPtr stream(Strova::CreateHandle());
    if (stream == nullptr)
        throw std::bad_alloc();
    return stream;
}

std::string FrameOf(const Wirova::IMessage& msg)
{
    const StreamPtr stream = MakeStream();
    if (!Wirova::WriteFrame(stream.get(), msg))
        throw std::bad_alloc();
    std::string strBytes(static_cast<std::size_t>(Strova::GetLength(stream.get())), '\0');
    Strova::Read(stream.get(), strBytes.data(), static_cast<int>(strBytes.size()));
    return strBytes;
}

StreamPtr TakeBody(Wirova::Stream* stream)
{
    using Wirova::FrameState;
    Wirova::int32 nLength = 0;
    const FrameState state = Wirova::NextFrame(stream, kMaxFrameBody, nLength);
    if (state == FrameState::NoLength)
        return nullptr;
    if (nLength < 4 || state == FrameState::TooLong)
        throw ProtocolError("a frame of " + std::to_string(nLength) + " bytes is announced");
    if (state == FrameState::NeedMore)
        return nullptr;
    std::vector<char> vecBody(static_cast<std::size_t>(nLength));
    StreamPtr body = MakeStream();
    if (Strova::RemoveLeft(stream, 4) != 4 || Strova::Read(stream, vecBody.data(), nLength) != nLength ||
        Strova::Write(body.get(), vecBody.data(), nLength) != nLength)
        throw std::bad_alloc();
    return body;
}

void LoadBody(Wirova::IMessage& msg, Wirova::Stream* body)
{
    bool bLoaded = false;
    try {
        bLoaded = msg.Load(body);
    } catch (const std::length_error&) {
        // The stream throws for a negative count of elements, which is as wrong as a missing field.
    }
    const int nRest = Strova::GetLength(body);
    if (!bLoaded)
        throw ProtocolError(std::string("the body of a ") + msg.GetMsgName() + " does not hold its fields");
    if (nRest != 0) {
        throw ProtocolError(std::to_string(nRest) + " bytes too many in the body of a " + msg.GetMsgName());
    }
}

Wirova::int32 PeekMsgID(Wirova::Stream* body)
{
    unsigned char bytes[sizeof(Wirova::int32)] = {};
    Strova::Peek(body, bytes, sizeof(bytes));
    return Wirova::GetBigEndian<Wirova::int32>(bytes);
}

}  // namespace Sandbox

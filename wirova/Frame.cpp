// Writing and recognising frames. The frame loop in comm/ takes the frames off the stream.
#include "wirova/Frame.h"

#include "wirova/Codec.h"

namespace Wirova {

bool WriteFrame(Stream* stream, const IMessage& msg)
{
    return Codec<int32>::Save(stream, msg.GetSize()) && msg.Save(stream);
}

FrameState NextFrame(Stream* stream, int32 nMaxLength, int32& nLength)
{
    unsigned char bytes[sizeof(int32)];
    constexpr int nHeader = sizeof(bytes);
    if (Strova::Peek(stream, bytes, nHeader) != nHeader)
        return FrameState::NoLength;
    nLength = GetBigEndian<int32>(bytes);
    if (nLength > nMaxLength)
        return FrameState::TooLong;
    // A negative length is never more than what is there, so it counts as whole, with an empty body.
    return Strova::GetLength(stream) - nHeader >= nLength ? FrameState::Whole : FrameState::NeedMore;
}

}  // namespace Wirova

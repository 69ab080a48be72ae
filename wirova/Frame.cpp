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
    return Strova::GetLength(stream) - nHeader >= nLength ? FrameState::Whole : FrameState::NeedMore;
}

}  // namespace Wirova

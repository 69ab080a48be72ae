#include "wirova/Frame.h"

#include "wirova/Codec.h"

namespace Wirova {

bool WriteFrame(Stream* stream, const IMessage& msg)
{
    return Codec<int32>::Save(stream, msg.GetSize()) && msg.Save(stream);
}

bool PeekFrameLength(Stream* stream, int32& nLen)
{
    unsigned char bytes[sizeof(int32)];
    if (Strova::Peek(stream, bytes, sizeof(bytes)) != static_cast<int>(sizeof(bytes)))
        return false;
    nLen = GetBigEndian<int32>(bytes);
    return true;
}

}  // namespace Wirova

#include <algorithm>
#include <cstring>

#include "tests/fakeplatform/Parts.h"
#include "tests/fakeplatform/Stream.h"

namespace Strova {
namespace {

// Whether a call may go on that would take or give nSize bytes.
bool Usable(const _THandle* pStream, const void* pData, int nSize, Fake::Op op)
{
    if (pStream == nullptr || nSize < 0 || (pData == nullptr && nSize > 0)) {
        Fake::SetLastError(Fake::kInvalidCode);
        return false;
    }
    if (pStream->bSent)
        Fake::Violation("A stream is used after it has been sent");
    return !Fake::MustFail(op);
}

}  // namespace

_THandle* CreateHandle()
{
    if (Fake::MustFail(Fake::Op::StreamCreate))
        return nullptr;
    ++Fake::Counters().nStreams;
    return new _THandle;
}

void DestroyHandle(_THandle* pStream)
{
    if (pStream != nullptr)
        --Fake::Counters().nStreams;
    delete pStream;
}

int GetLength(_THandle* pStream) { return pStream == nullptr ? 0 : pStream->Length(); }

int Write(_THandle* pStream, const void* data, int size)
{
    if (!Usable(pStream, data, size, Fake::Op::StreamWrite))
        return -1;
    if (size > 0)
        pStream->strBytes.append(static_cast<const char*>(data), static_cast<std::size_t>(size));
    return size;
}

int Peek(_THandle* pStream, void* data, int size)
{
    if (!Usable(pStream, data, size, Fake::Op::StreamPeek))
        return -1;
    const int nCount = std::min(size, pStream->Length());
    if (nCount > 0)
        std::memcpy(data, pStream->strBytes.data() + pStream->nFront, static_cast<std::size_t>(nCount));
    return nCount;
}

int Read(_THandle* pStream, void* data, int size)
{
    if (!Usable(pStream, data, size, Fake::Op::StreamRead))
        return -1;
    const int nCount = std::min(size, pStream->Length());
    if (nCount > 0)
        std::memcpy(data, pStream->strBytes.data() + pStream->nFront, static_cast<std::size_t>(nCount));
    pStream->Drop(nCount);
    return nCount;
}

int RemoveLeft(_THandle* pStream, int size)
{
    if (!Usable(pStream, pStream, size, Fake::Op::StreamRemoveLeft))
        return -1;
    const int nCount = std::min(size, pStream->Length());
    pStream->Drop(nCount);
    return nCount;
}

Kernova::MemoryPool::_XMemory* GetXMemory(_THandle* pStream)
{
    if (pStream == nullptr)
        return nullptr;
    pStream->memory.pStream = pStream;
    return &pStream->memory;
}

}  // namespace Strova

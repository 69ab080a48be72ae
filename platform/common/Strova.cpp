#include "platform/Strova.h"

#include <algorithm>
#include <climits>
#include <exception>
#include <new>
#include <system_error>

#include "platform/common/LastError.h"
#include "platform/common/XMemory.h"

namespace Strova {

struct _THandle {
    Kernova::MemoryPool::_XMemory m_memory;
    std::size_t m_nToEnd = kNoEnd;  // bytes before the end that SetEnd has set

    static constexpr std::size_t kNoEnd = static_cast<std::size_t>(-1);
    std::size_t GetReadable() const { return std::min(m_memory.GetLength(), m_nToEnd); }
};

namespace {

bool IsValid(const _THandle* pStream, const void* data, int size)
{
    return pStream != nullptr && size >= 0 && (data != nullptr || size == 0);
}

// How many of `size` bytes are there to be taken.
std::size_t Available(const _THandle* pStream, int size)
{
    return std::min(static_cast<std::size_t>(size), pStream->GetReadable());
}

// So many bytes before the end are being taken off.
void MoveToEnd(_THandle& stream, std::size_t nCount)
{
    if (stream.m_nToEnd != _THandle::kNoEnd)
        stream.m_nToEnd -= nCount;
}

}  // namespace

_THandle* CreateHandle()
{
    auto* const pStream = new (std::nothrow) _THandle;
    if (pStream == nullptr)
        Platova::FailWith(std::errc::not_enough_memory);
    return pStream;
}

void DestroyHandle(_THandle* pStream) { delete pStream; }

void SetEnd(_THandle* pStream, int size)
{
    if (pStream != nullptr)
        pStream->m_nToEnd = size < 0 ? _THandle::kNoEnd : static_cast<std::size_t>(size);
}

int GetLength(_THandle* pStream) { return pStream == nullptr ? 0 : static_cast<int>(pStream->GetReadable()); }

int Write(_THandle* pStream, const void* data, int size)
{
    if (!IsValid(pStream, data, size))
        return Platova::FailWith(std::errc::invalid_argument);
    auto& memory = pStream->m_memory;
    if (memory.GetLength() + static_cast<std::size_t>(size) > static_cast<std::size_t>(INT_MAX))
        return Platova::FailWith(std::errc::file_too_large);
    try {
        memory.Append(static_cast<const char*>(data), static_cast<std::size_t>(size));
    } catch (const std::exception&) {
        return Platova::FailWith(std::errc::not_enough_memory);
    }
    return size;
}

int Peek(_THandle* pStream, void* data, int size)
{
    if (!IsValid(pStream, data, size))
        return Platova::FailWith(std::errc::invalid_argument);
    const std::size_t nCount = Available(pStream, size);
    if (nCount != 0)
        pStream->m_memory.CopyFront(static_cast<char*>(data), nCount);
    return static_cast<int>(nCount);
}

int Read(_THandle* pStream, void* data, int size)
{
    if (!IsValid(pStream, data, size))
        return Platova::FailWith(std::errc::invalid_argument);
    const std::size_t nCount = Available(pStream, size);
    if (nCount != 0) {
        MoveToEnd(*pStream, nCount);
        pStream->m_memory.TakeFront(static_cast<char*>(data), nCount);
    }
    return static_cast<int>(nCount);
}

int RemoveLeft(_THandle* pStream, int size)
{
    if (pStream == nullptr || size < 0)
        return Platova::FailWith(std::errc::invalid_argument);
    const std::size_t nCount = Available(pStream, size);
    MoveToEnd(*pStream, nCount);
    pStream->m_memory.DropFront(nCount);
    return static_cast<int>(nCount);
}

Kernova::MemoryPool::_XMemory* GetXMemory(_THandle* pStream)
{
    return pStream == nullptr ? nullptr : &pStream->m_memory;
}

}  // namespace Strova

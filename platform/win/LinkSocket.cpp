// The socket stays with the completion port, which is told of asynchronous operations alone: a Receive waits
// for an event of its own, and a Send never waits.
#include "platform/common/LinkSocket.h"

#include <algorithm>
#include <system_error>

#include <windows.h>

namespace Netrova {

namespace {

constexpr std::size_t kMostParts = 64;  // blocks in one system call

void* MakeEvent(bool bManual)
{
    void* const pEvent = CreateEventA(nullptr, bManual, FALSE, nullptr);
    if (pEvent == nullptr)
        throw std::system_error(static_cast<int>(GetLastError()), std::system_category());
    return pEvent;
}

// The completion port hears nothing of an operation whose event has the lowest bit set.
HANDLE WithoutCompletion(void* pEvent)
{
    return reinterpret_cast<HANDLE>(reinterpret_cast<ULONG_PTR>(pEvent) | 1);
}

}  // namespace

LinkSocket::LinkSocket(Socket socket) : m_socket(std::move(socket)), m_nHandle(m_socket.native_handle())
{
    m_pEndEvent = MakeEvent(true);
    try {
        m_pReadEvent = MakeEvent(true);
    } catch (...) {
        CloseHandle(m_pEndEvent);
        throw;
    }
    u_long nNonBlocking = 1;  // means the calls without an OVERLAPPED
    ioctlsocket(m_nHandle, FIONBIO, &nNonBlocking);
}

LinkSocket::~LinkSocket()
{
    std::error_code ignored;
    m_socket.close(ignored);
    CloseHandle(m_pReadEvent);
    CloseHandle(m_pEndEvent);
}

LinkSocket::Sent LinkSocket::Send(const Blocks& vecBlocks, std::size_t nFront, std::size_t& nCount)
{
    nCount = 0;
    for (std::size_t nBlock = 0; nBlock < vecBlocks.size();) {
        WSABUF parts[kMostParts];
        DWORD nParts = 0, nSent = 0;
        std::size_t nAsked = 0;
        for (; nParts < kMostParts && nBlock + nParts < vecBlocks.size(); ++nParts) {
            const std::vector<char>& vecBlock = vecBlocks[nBlock + nParts];
            const std::size_t nSkipped = nBlock + nParts == 0 ? nFront : 0;
            parts[nParts].buf = const_cast<char*>(vecBlock.data()) + nSkipped;
            parts[nParts].len = static_cast<ULONG>(vecBlock.size() - nSkipped);
            nAsked += parts[nParts].len;
        }
        if (WSASend(m_nHandle, parts, nParts, &nSent, 0, nullptr, nullptr) != 0) {
            const int nError = WSAGetLastError();
            if (nError == WSAEWOULDBLOCK || nError == WSAENOBUFS)
                return Sent::Part;
            m_nError.store(nError);
            return Sent::Failed;
        }
        nCount += nSent;
        if (nSent < nAsked)
            return Sent::Part;
        nBlock += nParts;
    }
    return Sent::All;
}

std::size_t LinkSocket::Receive(char* pBytes, std::size_t nSize)
{
    WSABUF part{static_cast<ULONG>(nSize), pBytes};
    DWORD nCount = 0, nFlags = 0;
    OVERLAPPED operation{};
    operation.hEvent = WithoutCompletion(m_pReadEvent);
    if (WSARecv(m_nHandle, &part, 1, &nCount, &nFlags, &operation, nullptr) == 0)
        return nCount;
    if (WSAGetLastError() != WSA_IO_PENDING) {
        m_nError.store(WSAGetLastError());
        return 0;
    }
    const HANDLE arrEvents[] = {m_pEndEvent, m_pReadEvent};
    if (WaitForMultipleObjects(2, arrEvents, FALSE, INFINITE) == WAIT_OBJECT_0)
        CancelIoEx(reinterpret_cast<HANDLE>(m_nHandle), &operation);
    if (WSAGetOverlappedResult(m_nHandle, &operation, &nCount, TRUE, &nFlags))
        return nCount;
    m_nError.store(WSAGetLastError());
    return 0;
}

Socket& LinkSocket::Attach() { return m_socket; }

void LinkSocket::Detach() {}

void LinkSocket::Drain(std::size_t nMost)
{
    char szUnread[4096];
    for (std::size_t nDrained = 0; nDrained < nMost;) {
        const int nResult = recv(m_nHandle, szUnread, sizeof(szUnread), 0);
        if (nResult <= 0)
            return;
        nDrained += static_cast<std::size_t>(nResult);
    }
}

void LinkSocket::End()
{
    std::error_code ignored;
    SetEvent(m_pEndEvent);
    m_socket.cancel(ignored);
    shutdown(m_nHandle, SD_BOTH);
}

}  // namespace Netrova

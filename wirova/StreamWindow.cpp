#include "wirova/StreamWindow.h"

#include <algorithm>
#include <cstring>

namespace Wirova {

bool StreamWindow::Close()
{
    const int nTaken = static_cast<int>(m_nAt);
    if (nTaken != 0 && Strova::RemoveLeft(m_stream, nTaken) != nTaken)
        return false;
    m_nLeft += m_nEnd - m_nAt;
    m_nAt = m_nEnd = 0;
    return true;
}

bool StreamWindow::MoveOn(std::size_t nCount)
{
    if (nCount > kMostTaken || GetLeft() < nCount || !Close())
        return false;
    const int nMost = static_cast<int>(std::min(m_nLeft, kWindow));
    const int nCopied = std::max(Strova::Peek(m_stream, m_bytes, nMost), 0);
    std::memset(m_bytes + nCopied, 0, kPadding);
    m_nEnd = static_cast<std::size_t>(nCopied);
    m_nLeft -= m_nEnd;
    return m_nEnd >= nCount;
}

bool StreamWindow::Skip(std::size_t nCount)
{
    if (nCount <= m_nEnd - m_nAt) {
        m_nAt += nCount;
        return true;
    }
    if (GetLeft() < nCount || !Close())
        return false;
    m_nLeft -= nCount;
    return Strova::RemoveLeft(m_stream, static_cast<int>(nCount)) == static_cast<int>(nCount);
}

}  // namespace Wirova

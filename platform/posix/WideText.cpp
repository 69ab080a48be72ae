// UTF-16, little-endian, told from other text and turned into UTF-8.
#include <cerrno>
#include <cstddef>

#include "platform/Host.h"
#include "platform/common/LastError.h"

namespace Host {

namespace {

// The unit at that place; bytes are taken one by one, so alignment and the machine's own order are
// without effect.
unsigned int UnitAt(const void* pText, std::size_t nIndex)
{
    const auto* const pBytes = static_cast<const unsigned char*>(pText) + 2 * nIndex;
    return pBytes[0] | static_cast<unsigned int>(pBytes[1]) << 8;
}

constexpr unsigned int kByteOrderMark = 0xFEFF;
constexpr unsigned int kReplacement = 0xFFFD;

bool IsHighSurrogate(unsigned int nUnit) { return (nUnit & 0xFC00) == 0xD800; }

bool IsLowSurrogate(unsigned int nUnit) { return (nUnit & 0xFC00) == 0xDC00; }

void AppendUtf8(std::string& strOut, unsigned int nCode)
{
    const auto append = [&strOut](unsigned int nByte) { strOut += static_cast<char>(nByte); };
    const auto tail = [&append, nCode](int nShift) { append(0x80 | ((nCode >> nShift) & 0x3F)); };
    if (nCode < 0x80) {
        append(nCode);
    } else if (nCode < 0x800) {
        append(0xC0 | nCode >> 6);
        tail(0);
    } else if (nCode < 0x10000) {
        append(0xE0 | nCode >> 12);
        tail(6);
        tail(0);
    } else {
        append(0xF0 | nCode >> 18);
        tail(12);
        tail(6);
        tail(0);
    }
}

}  // namespace

// Text with a byte order mark. Without one: whole units of which at least half are ASCII characters with
// their zero byte behind, and no NUL; no text in a single-byte encoding or in UTF-8 has those zeros.
bool IsTextUnicode(const void* pBuffer, int nLength)
{
    if (pBuffer == nullptr || nLength < 2)
        return false;
    if (UnitAt(pBuffer, 0) == kByteOrderMark)
        return true;
    if (nLength % 2 != 0)
        return false;
    const std::size_t nUnits = static_cast<std::size_t>(nLength) / 2;
    std::size_t nAscii = 0;
    for (std::size_t n = 0; n < nUnits; ++n) {
        const unsigned int nUnit = UnitAt(pBuffer, n);
        if (nUnit == 0)
            return false;
        nAscii += nUnit < 0x80 ? 1 : 0;
    }
    return nAscii * 2 >= nUnits;
}

// The system's own code page is UTF-8 here, whatever the locale: a host that has never chosen one runs in
// "C", which could not take a single letter beyond ASCII. A surrogate without its partner becomes U+FFFD,
// and an odd byte at the end is left out.
bool WideToMultiByte(const void* pWide, int nLength, bool, std::string& strOut)
{
    if (nLength < 0 || (pWide == nullptr && nLength > 0)) {
        Platova::SetLastError(EINVAL);
        return false;
    }
    const std::size_t nUnits = static_cast<std::size_t>(nLength) / 2;
    strOut.clear();
    for (std::size_t n = 0; n < nUnits; ++n) {
        unsigned int nCode = UnitAt(pWide, n);
        if (IsHighSurrogate(nCode) && n + 1 < nUnits && IsLowSurrogate(UnitAt(pWide, n + 1)))
            nCode = 0x10000 + ((nCode & 0x3FF) << 10 | (UnitAt(pWide, ++n) & 0x3FF));
        else if (IsHighSurrogate(nCode) || IsLowSurrogate(nCode))
            nCode = kReplacement;
        AppendUtf8(strOut, nCode);
    }
    return true;
}

}  // namespace Host

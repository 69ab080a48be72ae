// GetConnectorStatus. It reads figures alone and needs no object of the library, so it works in every state
// of the library and while the process exits.
#include <algorithm>
#include <cstddef>
#include <cstring>

#include "VelkarConnector.h"
#include "comm/Status.h"

namespace {

// A record without these fields tells nothing; no header is ever going to have a record beyond the other
// size.
constexpr int kSmallest = offsetof(_CONNECTOR_STATUS, nConnectAttempts);
constexpr int kLargest = 64 << 10;

}  // namespace

bool GetConnectorStatus(_CONNECTOR_STATUS* pStatus)
{
    if (pStatus == nullptr || pStatus->nSize < kSmallest || pStatus->nSize > kLargest)
        return false;
    const auto nSize = static_cast<std::size_t>(pStatus->nSize);
    _CONNECTOR_STATUS status;
    TakeStatus(status);
    status.nSize = pStatus->nSize;
    // As bytes: the caller's record may be smaller or larger than this library's.
    auto* const pBytes = reinterpret_cast<unsigned char*>(pStatus);
    const std::size_t nKnown = std::min(nSize, sizeof(status));
    std::memcpy(pBytes, &status, nKnown);
    std::memset(pBytes + nKnown, 0, nSize - nKnown);
    return true;
}

#include "platform/Assertion.h"
#include "wirova/BigEndian.h"
#include "wirova/WirovaBase.h"

// The table is a list that is walked for each message; the connector enters 31 handlers.
namespace Wirova {

bool CMsgHandlerTable::RegisterHandler(int32 nMsgID, MsgHandler handler, void* pContext)
{
    for (const Entry& entry : m_vecEntries) {
        if (entry.nMsgID == nMsgID) {
            RaiseAssertion("nMsgID is already exists.");
            return false;
        }
    }
    m_vecEntries.push_back({nMsgID, {handler, pContext}});
    return true;
}

bool CMsgHandlerTable::Dispatch(Stream* stream, void* pParam) const
{
    // The id stays on the stream, because the handler's Load reads it as the first field of the body.
    unsigned char bytes[sizeof(int32)];
    if (Strova::Peek(stream, bytes, sizeof(bytes)) != static_cast<int>(sizeof(bytes))) {
        RaiseAssertion("Invalid stream. Stream length is too short.");
        return false;
    }
    const auto nMsgID = GetBigEndian<int32>(bytes);
    for (const Entry& entry : m_vecEntries) {
        if (entry.nMsgID == nMsgID)
            return entry.target.handler(stream, entry.target.pContext, pParam);
    }
    return m_default.handler != nullptr && m_default.handler(stream, m_default.pContext, pParam);
}

}  // namespace Wirova

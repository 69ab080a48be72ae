#include "comm/FailedDelivery.h"

#include <exception>
#include <string>

#include "base/LastErrorCode.h"
#include "base/Logger.h"
#include "comm/CommHandler.h"
#include "session/FailedCheckOutVector.h"

// The users become sent as soon as the link has accepted the message, with the active link list locked: a
// loss of the link behind that finds them, and gives them back.
void DeliverFailedCheckouts(Netrova::Link::_THandle* pLink)
{
    std::string strUsers;
    const auto onAccepted = [&strUsers] {
        auto& failed = FailedCheckOutVector();
        try {
            failed.DumpFailedUsers(strUsers);
        } catch (const std::exception&) {  // no memory for the line of the log
            strUsers.clear();
        }
        failed.ClearFailedUsers();
    };
    if (!CommHandler().SendOnThen<XC2S_FailedCheckOutReq>(pLink, onAccepted)) {
        Log::ErrorFmt("[Comm Handler] Failed to send a 'XC2S_FailedCheckOutReq' msg. [Error code: %d]",
                      LastErrorCode());
    } else if (!strUsers.empty()) {
        Log::Info(strUsers.c_str());
    }
}

// The service's answer to the registration of this connector, at the first connection and at every
// reconnection. After an acceptance the service is brought up to date with two lists: the users whose
// checkout could not be sent, and the users who are checked in here. Both are sent before InitModule returns.
#include "base/LastErrorCode.h"
#include "base/Logger.h"
#include "comm/CommHandler.h"
#include "comm/FirstConnectWait.h"
#include "comm/in/Handlers.h"
#include "session/FailedCheckOutVector.h"

namespace {

// Wakes the thread that waits for the registration at the end of the handler, also when an exception ends the
// handler; that thread would otherwise wait for its whole 5000 milliseconds.
struct ConnectWaitReleaser {
    ~ConnectWaitReleaser() { FirstConnectWait().ReleaseConnectWait(); }
};

// Sends a list; an empty list is not sent and counts as success.
template <class M>
bool SendList()
{
    if (CommHandler().SendMessage<M>())
        return true;
    Log::ErrorFmt("[Comm Handler] Failed to send a '%s' msg. [Error code: %d]", M().GetMsgName(),
                  LastErrorCode());
    return false;
}

// A list of failed checkouts that could not be sent stays for the next connection. The second list is sent
// whatever became of the first.
void SendLists()
{
    if (SendList<XC2S_FailedCheckOutReq>()) {
        auto& failed = FailedCheckOutVector();
        std::string strUsers;
        if (failed.DumpFailedUsers(strUsers))
            Log::Info(strUsers.c_str());
        failed.ClearFailedUsers();
    }
    SendList<XC2S_UserListSyncReq>();
}

}  // namespace

bool OnVelkarAddConnctorAns(const XS2C_VelkarConnectAns& msg)
{
    const ConnectWaitReleaser waitForFirstConnect;
    auto& wait = FirstConnectWait();
    wait.SetConnectResult(msg.nResult);
    wait.SetConnectMessage(msg.strMessage);
    if (msg.nResult == 0)
        SendLists();
    return true;
}

// The service's answer to the registration of this connector.
#include "base/LastErrorCode.h"
#include "base/Logger.h"
#include "comm/CommHandler.h"
#include "comm/FirstConnectWait.h"
#include "comm/in/Handlers.h"
#include "session/FailedCheckOutVector.h"

namespace {

// Lets the waiting thread go at the end of the handler, also on the way out of an exception.
struct ConnectWaitReleaser {
    ~ConnectWaitReleaser() { FirstConnectWait().ReleaseConnectWait(); }
};

template <class M>
bool SendList()
{
    if (CommHandler().SendMessage<M>())
        return true;
    Log::ErrorFmt("[Comm Handler] Failed to send a '%s' msg. [Error code: %d]", M().GetMsgName(),
                  LastErrorCode());
    return false;
}

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

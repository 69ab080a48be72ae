// The service's answer to the registration of this connector, at the first connection and at every
// reconnection. After an acceptance the service is brought up to date with two lists: the users whose
// checkout could not be sent, and the users who are checked in here. Both are sent before InitModule returns.
#include "base/LastErrorCode.h"
#include "base/Logger.h"
#include "comm/CommHandler.h"
#include "comm/FailedDelivery.h"
#include "comm/FirstConnectWait.h"
#include "comm/in/Handlers.h"

namespace {

// Wakes the thread that waits for the registration at the end of the handler, also when an exception ends the
// handler; that thread would otherwise wait for its whole 5000 milliseconds.
struct ConnectWaitReleaser {
    explicit ConnectWaitReleaser(Link p) : pLink(p) {}
    ~ConnectWaitReleaser() { FirstConnectWait().ReleaseConnectWait(pLink); }
    ConnectWaitReleaser(const ConnectWaitReleaser&) = delete;
    ConnectWaitReleaser& operator=(const ConnectWaitReleaser&) = delete;

    const Link pLink;
};

// The second list is sent whatever became of the first. Neither goes out on another link than the one that
// the service has accepted.
void SendLists(Link pLink)
{
    DeliverFailedCheckouts(pLink);
    if (!CommHandler().SendOn<XC2S_UserListSyncReq>(pLink))
        Log::ErrorFmt("[Comm Handler] Failed to send a 'XC2S_UserListSyncReq' msg. [Error code: %d]",
                      LastErrorCode());
}

}  // namespace

bool OnVelkarAddConnctorAns(const XS2C_VelkarConnectAns& msg, Link pLink)
{
    const ConnectWaitReleaser waitForFirstConnect(pLink);
    auto& wait = FirstConnectWait();
    wait.SetConnectResult(pLink, msg.nResult);
    wait.SetConnectMessage(pLink, msg.strMessage);
    if (msg.nResult == 0) {
        CommHandler().SetRegistered(pLink);
        SendLists(pLink);
    }
    return true;
}

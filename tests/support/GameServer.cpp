#include "tests/support/GameServer.h"

#include "platform/Host.h"
#include "tests/support/Outside.h"

namespace Support {

namespace {

template <auto... pSlots>
struct SlotList {
    static void SetAll(_CONNECTOR_CALLBACKS& callbacks)
    {
        ((callbacks.*pSlots = &Slot<pSlots>::Callback), ...);
    }
    static void ForgetAll() { (Slot<pSlots>::The().Forget(), ...); }
    static void ReleaseAll() { (Slot<pSlots>::The().Hold(false), ...); }
};
using AllSlots = SlotList<BillingEvent, NotifyStorageInfo, QueryGameMoney, SpendGameMoney, QueryInventory,
                          SaveInventory, QueryCharacter>;

std::string ExecutableDirectory()
{
    const Outside outside;
    return Host::GetExecutableDirectory();
}

}  // namespace

std::atomic<int>& LateCallbacks()
{
    static std::atomic<int> s_nCount{0};
    return s_nCount;
}

std::atomic<bool>& LibraryIsStopped()
{
    static std::atomic<bool> s_bStopped{true};
    return s_bStopped;
}

GameServer::GameServer(unsigned short nServicePort)
{
    settings.nServerPort = nServicePort;
    Put(id.GID, "GAME");
    Put(id.SID, "SERVER");
    Put(id.WID, "WORLD");
    AllSlots::ForgetAll();
    AllSlots::SetAll(callbacks);
    LateCallbacks().store(0);
}

GameServer::~GameServer()
{
    Stop();
    AllSlots::ForgetAll();
}

testing::AssertionResult GameServer::Start()
{
    WriteSettings();
    return Init();
}

testing::AssertionResult GameServer::Init()
{
    char szError[1025];
    std::memset(szError, 0x5A, sizeof(szError));
    szError[1024] = '\0';
    LibraryIsStopped().store(false);
    const bool bStarted = InitModule(&id, &callbacks, szError, 1024);
    if (!bStarted)
        LibraryIsStopped().store(true);
    m_strLastError = szError;
    return bStarted ? testing::AssertionSuccess() : testing::AssertionFailure() << "InitModule: " << szError;
}

void GameServer::WriteSettings() const { settings.WriteTo(ExecutableDirectory()); }

void GameServer::Stop()
{
    AllSlots::ReleaseAll();
    UninitModule();
    LibraryIsStopped().store(true);
}

_USER_REQ GameServer::User(const std::string& strUser, const std::string& strIP)
{
    _USER_REQ req{};
    Put(req.szUserID, strUser);
    Put(req.szUserIP, strIP);
    return req;
}

}  // namespace Support

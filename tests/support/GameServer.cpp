#include "tests/support/GameServer.h"

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

}  // namespace

GameServer::GameServer(unsigned short nServicePort)
{
    settings.nServerPort = nServicePort;
    Put(id.GID, "GAME");
    Put(id.SID, "SERVER");
    Put(id.WID, "WORLD");
    AllSlots::ForgetAll();
    AllSlots::SetAll(callbacks);
    g_nLateCallbacks = 0;
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
    g_bLibraryIsStopped = false;
    const bool bStarted = InitModule(&id, &callbacks, szError, 1024);
    g_bLibraryIsStopped = !bStarted;
    m_strLastError = szError;
    return bStarted ? testing::AssertionSuccess() : testing::AssertionFailure() << "InitModule: " << szError;
}

void GameServer::Stop()
{
    AllSlots::ReleaseAll();
    UninitModule();
    g_bLibraryIsStopped = true;
}

_USER_REQ GameServer::User(const std::string& strUser, const std::string& strIP)
{
    _USER_REQ req{};
    Put(req.szUserID, strUser);
    Put(req.szUserIP, strIP);
    return req;
}

}  // namespace Support

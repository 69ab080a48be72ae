// A game server as a test plays it: Game() in the fixtures. It knows the public header alone.
//
//   Game().settings.nReconnectCycle = 1;      before Start; see support/Settings.h
//   ASSERT_TRUE(Game().Start());              writes the settings file and calls InitModule
//   EXPECT_FALSE(Game().Start());  Game().LastError();      its text
//   Game().Init();                            InitModule alone, with whatever file there is
//   Game().WriteSettings();                   again, while the library runs: a reload
//   Game().Stop();                            UninitModule; the fixture does it, too
//
//   auto res = Game().Checkin("abc");         session calls by the user's id, all others by their record:
//   auto res = Game().Call(&QueryMenuList, req);
//   auto later = Game().Later([&] { return Game().Checkin("abc"); });   in a thread of its own
//   auto res = later.get();
//
//   Callbacks. Slots are BillingEvent, NotifyStorageInfo, QueryGameMoney, SpendGameMoney, QueryInventory,
//   SaveInventory, QueryCharacter. All are there and report success unless a test says otherwise.
//     Game().On<QueryGameMoney>([](const auto& req, auto& res) { res.nGameMoney = 5; });
//     Game().callbacks.pfnSpendGameMoney = nullptr;       before Start
//     auto info = Game().WaitFor<BillingEvent>();       the first one's record; WaitFor<...>(2) the second's
//     Game().Got<BillingEvent>();             the records so far
//     Game().Hold<BillingEvent>();            callbacks block at their end until Release<BillingEvent>()
//   A callback that runs after UninitModule has returned is a breach; the fixtures fail such a test.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <functional>
#include <future>
#include <stdexcept>
#include <string>
#include <vector>

#include "VelkarConnector.h"
#include "platform/Host.h"
#include "tests/support/Guarded.h"
#include "tests/support/Settings.h"

namespace Support {

inline constexpr auto BillingEvent = &_CONNECTOR_CALLBACKS::pfnBillingEvent;
inline constexpr auto NotifyStorageInfo = &_CONNECTOR_CALLBACKS::pfnNotifyStorageInfo;
inline constexpr auto QueryGameMoney = &_CONNECTOR_CALLBACKS::pfnQueryGameMoney;
inline constexpr auto SpendGameMoney = &_CONNECTOR_CALLBACKS::pfnSpendGameMoney;
inline constexpr auto QueryInventory = &_CONNECTOR_CALLBACKS::pfnQueryInventory;
inline constexpr auto SaveInventory = &_CONNECTOR_CALLBACKS::pfnSaveInventory;
inline constexpr auto QueryCharacter = &_CONNECTOR_CALLBACKS::pfnQueryCharacter;

// The text cut to the field, with its NUL.
template <std::size_t nWidth>
void Put(char (&szField)[nWidth], const std::string& strText)
{
    const std::size_t nLength = std::min(nWidth - 1, strText.size());
    std::memcpy(szField, strText.data(), nLength);
    szField[nLength] = '\0';
}

inline std::atomic<int> g_nLateCallbacks{0};  // after UninitModule
inline std::atomic<bool> g_bLibraryIsStopped{true};

// What one callback has got and does. The library's callbacks carry no context, so there is one of each.
template <class Request, class... Answers>
class SlotState {
public:
    using Handler = std::function<void(const Request&, Answers&...)>;

    void Run(const Request* pReq, Answers*... pAnswers)
    {
        g_nLateCallbacks += g_bLibraryIsStopped ? 1 : 0;
        auto state = m_state.Lock();
        state->vecGot.push_back(*pReq);
        state->cond.notify_all();
        const Handler handler = state->handler;
        state.lock.unlock();
        ((pAnswers->bSuccess = 1), ...);
        if (handler)
            handler(*pReq, *pAnswers...);
        state.lock.lock();
        state->cond.wait(state.lock, [&] { return !state->bHeld; });
    }
    void Set(Handler handler) { m_state->handler = std::move(handler); }
    void Hold(bool bHeld)
    {
        const auto state = m_state.Lock();
        state->bHeld = bHeld;
        state->cond.notify_all();
    }
    std::vector<Request> Got() { return m_state->vecGot; }
    Request WaitFor(std::size_t nNumber)
    {
        auto state = m_state.Lock();
        if (!state->cond.wait_for(state.lock, std::chrono::seconds(20),
                                  [&] { return state->vecGot.size() >= nNumber; }))
            throw std::runtime_error("The game has waited in vain for a callback");
        return state->vecGot[nNumber - 1];
    }
    void Forget()
    {
        Set(nullptr);
        Hold(false);
        m_state->vecGot.clear();
    }

private:
    struct State {
        std::condition_variable cond;
        std::vector<Request> vecGot;
        Handler handler;
        bool bHeld = false;
    };
    Guarded<State> m_state;
};

template <auto pSlot>
struct Slot;
template <class... Args, void (*_CONNECTOR_CALLBACKS::*pSlot)(Args*...)>
struct Slot<pSlot> {
    using State = SlotState<std::remove_const_t<Args>...>;
    static State& The()
    {
        static State* const s_pState = new State;  // a late callback may come while the process exits
        return *s_pState;
    }
    static void Callback(Args*... args) { The().Run(args...); }
};

class GameServer {
public:
    explicit GameServer(unsigned short nServicePort);
    ~GameServer();
    GameServer(const GameServer&) = delete;
    GameServer& operator=(const GameServer&) = delete;

    // ---- life ----
    testing::AssertionResult Start();
    testing::AssertionResult Init();
    void WriteSettings() const { settings.WriteTo(Host::GetExecutableDirectory()); }
    void Stop();
    const std::string& LastError() const { return m_strLastError; }

    Settings settings;
    _CONNECTOR_ID id{};
    _CONNECTOR_CALLBACKS callbacks{};

    // ---- exports ----
    static _USER_REQ User(const std::string& strUser, const std::string& strIP = "10.0.0.1");
    _CHECKIN_RES Checkin(const std::string& strUser) { return Call(&::Checkin, User(strUser)); }
    _RESULT_RES Checkout(const std::string& strUser) { return Call(&::Checkout, User(strUser)); }
    // Any export of a request and a response; the response comes filled with rubbish.
    template <class Request, class Response>
    Response Call(void (*pfnExport)(const Request*, Response*), const Request& req)
    {
        Response res;
        std::memset(&res, 0x5A, sizeof(res));
        pfnExport(&req, &res);
        return res;
    }
    template <class Function>
    auto Later(Function function)
    {
        return std::async(std::launch::async, std::move(function));
    }

    // ---- callbacks ----
    template <auto pSlot, class Handler>
    void On(Handler handler)
    {
        Slot<pSlot>::The().Set(std::move(handler));
    }
    template <auto pSlot>
    auto WaitFor(std::size_t nNumber = 1)
    {
        return Slot<pSlot>::The().WaitFor(nNumber);
    }
    template <auto pSlot>
    auto Got()
    {
        return Slot<pSlot>::The().Got();
    }
    template <auto pSlot>
    void Hold()
    {
        Slot<pSlot>::The().Hold(true);
    }
    template <auto pSlot>
    void Release()
    {
        Slot<pSlot>::The().Hold(false);
    }
    // Callbacks that ran after UninitModule.
    static int Breaches() { return g_nLateCallbacks; }

private:
    std::string m_strLastError;
};

}  // namespace Support

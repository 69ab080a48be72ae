// The one connection to the service: its start and stop, its timing, its senders.
#pragma once

#include <atomic>
#include <string>

#include "VelkarConnector.h"
#include "base/CycleWait.h"
#include "comm/out/Builders.h"
#include "platform/Kernova.h"
#include "platform/KernovaXtl.h"
#include "platform/Netrova.h"
#include "wirova/Frame.h"
#include "wirova/WirovaBase.h"

// A process-wide object. Its own thread, the comm thread, only keeps the time: it sends heartbeats while
// connected and reconnects while not. Everything is read on the pool's threads.
class CCommHandler final : public Kernova::Threading::Thread {
public:
    // Enters the handlers of everything that the service sends into the table.
    using RegisterHandlersFunction = void (*)(Wirova::CMsgHandlerTable& table);

    // Makes the pool and the connector, connects, and starts the threads. The first connection of the process
    // calls pfnRegisterHandlers. False with the reason in GetLastErrorText; Stop then takes down what had
    // been started.
    bool Start(const _CONNECTOR_ID& id, const _CONNECTOR_CALLBACKS& callbacks,
               RegisterHandlersFunction pfnRegisterHandlers);
    // Ends everything that Start began, from any state, and raises the being-terminated flag. Waits for
    // a callback of the game that is running. Not from inside a callback.
    void Stop();
    void Execute() override;

    // Given to the connector; each runs on a pool thread.
    static void OnConnected(Netrova::Connector::_THandle*, Netrova::Link::_THandle* pLink, void* pContext);
    static void OnDisconnected(Netrova::Connector::_THandle*, Netrova::Link::_THandle* pLink, void* pContext);
    static void OnTimeout(Netrova::Connector::_THandle*, Netrova::Link::_THandle* pLink, void* pContext);
    static void OnReceived(Netrova::Connector::_THandle*, Netrova::Link::_THandle* pLink, void* pContext);

    std::string GetLastErrorText() const;

    // The game's callback of one slot, null if the game gave none or the library is stopping:
    // GetCallback<&_CONNECTOR_CALLBACKS::pfnBillingEvent>().
    template <auto pfnSlot>
    auto GetCallback() const
    {
        const Kernova::XTL::ScopedLock lock(m_lockSettings);
        return m_callbacks.*pfnSlot;
    }

    // Sends one message of class M, filled by its Build overload from the arguments. True when it has
    // been handed to the link or there was nothing to send. Never waits for the service.
    template <class M, class... Args>
    bool SendMessage(const Args&... args)
    {
        return SendMessageThen<M>([] {}, args...);
    }

    // The same, and runs onAccepted() once the link has accepted the message and before any byte of it
    // leaves: what the handler of the answer finds is prepared there. Runs with the active link list locked.
    template <class M, class OnAccepted, class... Args>
    bool SendMessageThen(OnAccepted onAccepted, const Args&... args)
    {
        auto build = [&](Wirova::Stream* pStream) {
            M msg;
            const Built built = Build(msg, args...);
            if (built == Built::Ready && !Wirova::WriteFrame(pStream, msg))
                return Built::Failed;
            return built;
        };
        return SendBuilt({[](void* pBuild, Wirova::Stream* pStream) {
                              return (*static_cast<decltype(build)*>(pBuild))(pStream);
                          },
                          &build, [](void* pAccepted) { (*static_cast<OnAccepted*>(pAccepted))(); },
                          &onAccepted});
    }

    void CloseActiveLink();

private:
    // What differs from one send to the next.
    struct Send {
        Built (*pfnBuild)(void* pBuild, Wirova::Stream* pStream);
        void* pBuild;
        void (*pfnAccepted)(void* pAccepted);
        void* pAccepted;
    };
    bool SendBuilt(const Send& send);
    bool SendOnLink(const Send& send);

    bool CreateConnector();
    bool SetConnectorCallbacks();
    bool ConnectFirst();
    void StartFailed(const char* pszError);
    bool Connect();
    void BeatHeart();
    void Reconnect();
    bool Register();
    void ResetWake(Kernova::Threading::ManualResetEvent& event) { ResetUnlessStopping(event, m_bStop); }
    void SetCallbacks(const _CONNECTOR_CALLBACKS& callbacks);
    void SetLastErrorText(std::string str);

    std::atomic<bool> m_bRunning{false};      // from Start until the comm thread leaves its loop
    std::atomic<bool> m_bStop{false};         // Stop has asked the comm thread to finish
    std::atomic<bool> m_bConnected{false};    // between the connected and disconnected callbacks
    std::atomic<bool> m_bFirstConnect{true};  // until the first connected callback of the process
    std::atomic<bool> m_bHandlersRegistered{false};
    std::atomic<RegisterHandlersFunction> m_pfnRegisterHandlers{nullptr};
    std::atomic<Netrova::Connector::_THandle*> m_pConnector{nullptr};
    Kernova::ThreadPool::_THandle* m_pPool = nullptr;
    // Senders use the connector while Stop takes it away.
    Kernova::XTL::UseGate m_gateConnector;
    Kernova::Threading::ManualResetEvent m_wakeHeartbeat{false};
    Kernova::Threading::ManualResetEvent m_wakeReconnect{false};
    Wirova::CMsgHandlerTable m_table;  // written once, before the first answer can arrive
    mutable Kernova::Threading::CriticalSection m_lockSettings{Kernova::XTL::kSpinCount,
                                                               Kernova::Threading::LockRank::Leaf};
    _CONNECTOR_ID m_id GUARDED_BY(m_lockSettings){};
    _CONNECTOR_CALLBACKS m_callbacks GUARDED_BY(m_lockSettings){};
    std::string m_strLastError GUARDED_BY(m_lockSettings);
};

// The one object of the process.
inline CCommHandler& CommHandler() { return Kernova::XTL::Singleton<CCommHandler>::Instance(); }

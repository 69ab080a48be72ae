// The one connection to the service: its start and stop, its timing, its senders.
#pragma once

#include <atomic>
#include <string>

#include "VelkarConnector.h"
#include "base/CycleWait.h"
#include "comm/LinkWatch.h"
#include "comm/MessageCounts.h"
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
    _CONNECTOR_ID GetId() const
    {
        const Kernova::XTL::ScopedLock lock(m_lockSettings);
        return m_id;
    }

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
    // leaves: what the handler of the answer finds is prepared there. Runs with the active link list locked
    // and must not throw. SendMessage may throw what the builder throws, and only before that.
    template <class M, class OnAccepted, class... Args>
    bool SendMessageThen(OnAccepted onAccepted, const Args&... args)
    {
        return SendWith<M>(SendTerms{}, onAccepted, args...);
    }
    // The same in one life of the library: fails if that life has ended.
    template <class M, class OnAccepted, class... Args>
    bool SendInLife(unsigned int nLife, OnAccepted onAccepted, const Args&... args)
    {
        return SendWith<M>(SendTerms{nLife, nullptr, nullptr}, onAccepted, args...);
    }
    // The same on one link: fails if another link has taken its place. What came in on a link is answered
    // this way, because the service gives a Req ID of its own to one link only.
    template <class M, class... Args>
    bool SendOn(Netrova::Link::_THandle* pLink, const Args&... args)
    {
        return SendOnThen<M>(
            pLink, [] {}, args...);
    }
    template <class M, class OnAccepted, class... Args>
    bool SendOnThen(Netrova::Link::_THandle* pLink, OnAccepted onAccepted, const Args&... args)
    {
        return SendWith<M>(SendTerms{0, pLink, nullptr}, onAccepted, args...);
    }

    // Runs work() with the active link list locked, so that what work() sends leaves together. False, without
    // having run work(), if there is no connection.
    template <class Work>
    bool WithActiveLink(Work work)
    {
        return RunWithActiveLink([](void* pWork) { (*static_cast<Work*>(pWork))(); }, &work);
    }

    void CloseActiveLink();
    // The service has accepted the registration on that link: waiting checkouts may be delivered on it.
    void SetRegistered(Netrova::Link::_THandle* pLink)
    {
        if (m_pLink.load() == pLink && m_pRegistered.exchange(pLink) != pLink)
            LinkWatch().OnAccepted();
    }
    // Entered for the length of a charge pass: Stop waits for the pass, so no callback of the game begins
    // afterwards.
    Kernova::XTL::UseGate& GetGate() { return m_gateConnector; }

private:
    // Where a message may go.
    struct SendTerms {
        unsigned int nLife = 0;                    // 0: any
        Netrova::Link::_THandle* pLink = nullptr;  // null: any
        bool* pbAllLeft = nullptr;  // becomes whether everything sent before has left the link's queue
    };
    template <class M, class OnAccepted, class... Args>
    bool SendWith(const SendTerms& terms, OnAccepted onAccepted, const Args&... args)
    {
        auto build = [&](Wirova::Stream* pStream) {
            M msg;
            const Built built = Build(msg, args...);
            if (built == Built::Ready && !Wirova::WriteFrame(pStream, msg))
                return Built::Failed;
            return built;
        };
        return SendBuilt({terms,
                          [](void* pBuild, Wirova::Stream* pStream) {
                              return (*static_cast<decltype(build)*>(pBuild))(pStream);
                          },
                          &build, [](void* pAccepted) { (*static_cast<OnAccepted*>(pAccepted))(); },
                          &onAccepted, CountsOf<M>()});
    }

    // What differs from one send to the next.
    struct Send {
        SendTerms terms;
        Built (*pfnBuild)(void* pBuild, Wirova::Stream* pStream);
        void* pBuild;
        void (*pfnAccepted)(void* pAccepted);
        void* pAccepted;
        MessageCounts& counts;
    };
    bool SendBuilt(const Send& send);
    bool SendIfConnected(const Send& send);
    bool SendOnLink(const Send& send);
    bool RunWithActiveLink(void (*pfnWork)(void* pWork), void* pWork);

    bool CreateConnector();
    bool SetConnectorCallbacks();
    bool ConnectFirst();
    void StartFailed(const char* pszError);
    bool Connect();
    void RunCycle();
    void BeatHeart();
    void Reconnect();
    bool Register();
    void LoseRead(Netrova::Link::_THandle* pLink);
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
    // The link of the last connected callback, its receives that are outstanding, and the same link again
    // from its accepted registration to its end. Compared only, never followed.
    std::atomic<Netrova::Link::_THandle*> m_pLink{nullptr};
    std::atomic<int> m_nReads{0};
    std::atomic<Netrova::Link::_THandle*> m_pRegistered{nullptr};
    // Senders use the connector while Stop takes it away. Closed from the one to the next life.
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

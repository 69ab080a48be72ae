// Waiting for a change in a directory or for the order to stop: inotify, eventfd and poll.
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <new>

#include "platform/Host.h"
#include "platform/common/LastError.h"

namespace Host {

using std::chrono::steady_clock;

struct StopEvent {
    int nHandle;
};

struct ChangeNotification {
    int nHandle;  // of the change source
    int nWatch;
};

namespace {

// A file counts as changed when its writer has closed it, not at every write: whoever waits reads it at
// once and would find half of it. A file that is moved here counts, and a time that is set.
constexpr unsigned int kChanges = IN_CLOSE_WRITE | IN_MOVED_TO | IN_ATTRIB;

void StoreError() { Platova::SetLastError(static_cast<unsigned int>(errno)); }

// A change source that nobody uses. The kernel takes over 10 milliseconds to close one with a former watch,
// for which a stop of the library would have to wait, so the last one is kept for the next start.
class SpareSource {
public:
    ~SpareSource() { Put(-1); }
    int Take() { return m_nHandle.exchange(-1); }
    void Put(int nHandle)
    {
        const int nOld = m_nHandle.exchange(nHandle);
        if (nOld >= 0)
            close(nOld);
    }

private:
    std::atomic<int> m_nHandle{-1};
};

SpareSource g_spare;

// Takes every change that has been reported so far, so that the next one is a new one.
void TakeChanges(int nHandle)
{
    alignas(inotify_event) char szEvents[4096];
    while (read(nHandle, szEvents, sizeof(szEvents)) > 0) {
    }
}

}  // namespace

StopEvent* CreateStopEvent()
{
    const int nHandle = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (nHandle < 0) {
        StoreError();
        return nullptr;
    }
    auto* const pEvent = new (std::nothrow) StopEvent{nHandle};
    if (pEvent == nullptr) {
        close(nHandle);
        Platova::SetLastError(ENOMEM);
    }
    return pEvent;
}

void SetStopEvent(StopEvent* pEvent)
{
    if (pEvent != nullptr)
        eventfd_write(pEvent->nHandle, 1);
}

void CloseStopEvent(StopEvent* pEvent)
{
    if (pEvent != nullptr)
        close(pEvent->nHandle);
    delete pEvent;
}

ChangeNotification* FindFirstChange(const std::string& strDirectory)
{
    int nHandle = g_spare.Take();
    if (nHandle < 0)
        nHandle = inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
    const int nWatch =
        nHandle < 0 ? -1 : inotify_add_watch(nHandle, strDirectory.c_str(), kChanges | IN_ONLYDIR);
    if (nWatch < 0) {
        StoreError();
        g_spare.Put(nHandle);
        return nullptr;
    }
    auto* const pChange = new (std::nothrow) ChangeNotification{nHandle, nWatch};
    if (pChange == nullptr) {
        close(nHandle);
        Platova::SetLastError(ENOMEM);
    }
    return pChange;
}

// The watch goes on by itself: what has happened since the last wait ends the next one at once.
bool FindNextChange(ChangeNotification* pChange) { return pChange != nullptr; }

void CloseChange(ChangeNotification* pChange)
{
    if (pChange == nullptr)
        return;
    inotify_rm_watch(pChange->nHandle, pChange->nWatch);
    TakeChanges(pChange->nHandle);
    g_spare.Put(pChange->nHandle);
    delete pChange;
}

WaitResult WaitForStopOrChange(StopEvent* pEvent, ChangeNotification* pChange, unsigned int milliseconds)
{
    if (pEvent == nullptr) {
        Platova::SetLastError(EINVAL);
        return WaitResult::Failed;
    }
    // A negative handle is passed over.
    pollfd handles[] = {{pEvent->nHandle, POLLIN, 0},
                        {pChange == nullptr ? -1 : pChange->nHandle, POLLIN, 0}};
    const auto until = steady_clock::now() + std::chrono::milliseconds(milliseconds);
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - steady_clock::now()).count();
        const int nReady = poll(handles, 2, static_cast<int>(std::max<long long>(left, 0)));
        if (nReady < 0 && errno == EINTR)
            continue;
        if (nReady < 0) {
            StoreError();
            return WaitResult::Failed;
        }
        if (nReady == 0)
            return WaitResult::TimedOut;
        eventfd_t nValue = 0;
        if ((handles[0].revents & POLLIN) != 0 && eventfd_read(pEvent->nHandle, &nValue) == 0)
            return WaitResult::Stopped;
        if (((handles[0].revents | handles[1].revents) & (POLLERR | POLLNVAL)) != 0) {
            Platova::SetLastError(EBADF);
            return WaitResult::Failed;
        }
        if (handles[1].revents != 0) {
            TakeChanges(pChange->nHandle);
            return WaitResult::Changed;
        }
    }
}

}  // namespace Host

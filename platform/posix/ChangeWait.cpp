// Waiting for a change in a directory or for the order to stop: inotify, eventfd and poll.
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <cerrno>
#include <new>

#include "platform/Host.h"
#include "platform/common/LastError.h"

namespace Host {

struct StopEvent {
    int nHandle;
};

struct ChangeNotification {
    int nHandle;
};

namespace {

// A file counts as changed when its writer has closed it, not at every write: whoever waits reads it at
// once and would find half of it. A file that is moved here counts, and a time that is set.
constexpr unsigned int kChanges = IN_CLOSE_WRITE | IN_MOVED_TO | IN_ATTRIB;

void StoreError() { Platova::SetLastError(static_cast<unsigned int>(errno)); }

template <class T>
T* Wrap(int nHandle)
{
    if (nHandle < 0) {
        StoreError();
        return nullptr;
    }
    T* const pResult = new (std::nothrow) T{nHandle};
    if (pResult == nullptr) {
        close(nHandle);
        Platova::SetLastError(ENOMEM);
    }
    return pResult;
}

// Takes every change that has been reported so far, so that the next one is a new one.
void TakeChanges(int nHandle)
{
    alignas(inotify_event) char szEvents[4096];
    while (read(nHandle, szEvents, sizeof(szEvents)) > 0) {
    }
}

}  // namespace

StopEvent* CreateStopEvent() { return Wrap<StopEvent>(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)); }

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
    const int nHandle = inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
    if (nHandle >= 0 && inotify_add_watch(nHandle, strDirectory.c_str(), kChanges | IN_ONLYDIR) < 0) {
        StoreError();
        close(nHandle);
        return nullptr;
    }
    return Wrap<ChangeNotification>(nHandle);
}

// The watch goes on by itself: what has happened since the last wait ends the next one at once.
bool FindNextChange(ChangeNotification* pChange) { return pChange != nullptr; }

void CloseChange(ChangeNotification* pChange)
{
    if (pChange != nullptr)
        close(pChange->nHandle);
    delete pChange;
}

WaitResult WaitForStopOrChange(StopEvent* pEvent, ChangeNotification* pChange)
{
    if (pEvent == nullptr || pChange == nullptr) {
        Platova::SetLastError(EINVAL);
        return WaitResult::Failed;
    }
    pollfd handles[] = {{pEvent->nHandle, POLLIN, 0}, {pChange->nHandle, POLLIN, 0}};
    for (;;) {
        if (poll(handles, 2, -1) < 0) {
            if (errno == EINTR)
                continue;
            StoreError();
            return WaitResult::Failed;
        }
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

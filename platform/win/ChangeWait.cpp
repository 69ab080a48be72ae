// Waiting for a change in a directory or for the order to stop: two handles of the system.
#include <windows.h>

#include <new>

#include "platform/Host.h"
#include "platform/common/LastError.h"
#include "platform/win/WidePath.h"

namespace Host {

struct StopEvent {
    HANDLE hEvent;
};

struct ChangeNotification {
    HANDLE hChange;
    bool bArmed;
};

namespace {

// Size and last write time, and names: a file that is moved over another one has its old time and size.
constexpr DWORD kFilter =
    FILE_NOTIFY_CHANGE_SIZE | FILE_NOTIFY_CHANGE_LAST_WRITE | FILE_NOTIFY_CHANGE_FILE_NAME;

}  // namespace

StopEvent* CreateStopEvent()
{
    const HANDLE hEvent = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    if (hEvent == nullptr) {
        Platova::SetLastError(::GetLastError());
        return nullptr;
    }
    auto* const pResult = new (std::nothrow) StopEvent{hEvent};
    if (pResult == nullptr) {
        CloseHandle(hEvent);
        Platova::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    }
    return pResult;
}

void SetStopEvent(StopEvent* pEvent)
{
    if (pEvent != nullptr)
        SetEvent(pEvent->hEvent);
}

void CloseStopEvent(StopEvent* pEvent)
{
    if (pEvent != nullptr)
        CloseHandle(pEvent->hEvent);
    delete pEvent;
}

ChangeNotification* FindFirstChange(const std::string& strDirectory)
{
    // "C:" alone would be the current directory of that drive.
    const std::string strWatched =
        strDirectory.ends_with(':') ? strDirectory + GetPathSeparator() : strDirectory;
    const HANDLE hChange = FindFirstChangeNotificationW(Internal::ToWide(strWatched).c_str(), FALSE, kFilter);
    if (hChange == INVALID_HANDLE_VALUE || hChange == nullptr) {
        Platova::SetLastError(::GetLastError());
        return nullptr;
    }
    auto* const pResult = new (std::nothrow) ChangeNotification{hChange, true};
    if (pResult == nullptr) {
        FindCloseChangeNotification(hChange);
        Platova::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    }
    return pResult;
}

bool FindNextChange(ChangeNotification* pChange)
{
    if (pChange == nullptr) {
        Platova::SetLastError(ERROR_INVALID_PARAMETER);
        return false;
    }
    if (!pChange->bArmed)
        pChange->bArmed = FindNextChangeNotification(pChange->hChange) != FALSE;
    if (!pChange->bArmed)
        Platova::SetLastError(::GetLastError());
    return pChange->bArmed;
}

void CloseChange(ChangeNotification* pChange)
{
    if (pChange != nullptr)
        FindCloseChangeNotification(pChange->hChange);
    delete pChange;
}

WaitResult WaitForStopOrChange(StopEvent* pEvent, ChangeNotification* pChange, unsigned int milliseconds)
{
    if (pEvent == nullptr) {
        Platova::SetLastError(ERROR_INVALID_PARAMETER);
        return WaitResult::Failed;
    }
    const HANDLE handles[] = {pEvent->hEvent, pChange == nullptr ? nullptr : pChange->hChange};
    switch (WaitForMultipleObjects(pChange == nullptr ? 1 : 2, handles, FALSE, milliseconds)) {
        case WAIT_OBJECT_0:
            return WaitResult::Stopped;
        case WAIT_OBJECT_0 + 1:
            // Armed again before the caller looks at the files: what happens from now on fires once more,
            // also on systems that forget what happens in between.
            pChange->bArmed = FindNextChangeNotification(pChange->hChange) != FALSE;
            return WaitResult::Changed;
        case WAIT_TIMEOUT:
            return WaitResult::TimedOut;
        default:
            Platova::SetLastError(::GetLastError());
            return WaitResult::Failed;
    }
}

}  // namespace Host

// The only way from the library into the game's code: every callback of _CONNECTOR_CALLBACKS is called here.
#pragma once

#include "base/Logger.h"
#include "base/ModuleFlags.h"
#include "comm/WakeBatch.h"

// Calls the game's callback, with the calling thread marked as inside a callback for that time. An exception
// that the game throws goes on to the caller of CallGame.
template <class... Params, class... Args>
void CallGame(void (*pfnCallback)(Params...), Args... args)
{
    WakeBatch::WakeNow();
    const CallbackScope inside;
    pfnCallback(args...);
}

// Calls a callback that has no result. A null callback does nothing. An exception of the game is logged and
// goes no further, because the caller still has to check the user out or to walk the rest of its list.
template <class Record>
void TellGame(void (*pfnCallback)(const Record*), const Record& record) noexcept
{
    if (pfnCallback == nullptr)
        return;
    try {
        CallGame(pfnCallback, &record);
    } catch (...) {
        Log::Error("[Comm Handler] There is an exception in a callback of the game.");
    }
}

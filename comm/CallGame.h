// Every call into the game goes through here.
#pragma once

#include "base/Logger.h"
#include "base/ModuleFlags.h"

// Calls the game with the mark that stopping the library looks at. Whatever it throws passes.
template <class... Params, class... Args>
void CallGame(void (*pfnCallback)(Params...), Args... args)
{
    const CallbackScope inside;
    pfnCallback(args...);
}

// Tells the game something that needs no answer. A null callback does nothing, and what the game throws ends
// here: the caller has work of its own to finish.
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

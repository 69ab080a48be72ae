// The guard around the body of every export: no exception of the library reaches the game.
#pragma once

#include "platform/KernovaXtl.h"

// Runs the body of an export; onException() runs in place of an exception that the body throws and has to
// leave the failure in the caller's record. While the body runs, the process-wide objects are not destroyed,
// even if another thread ends the process. After their destruction the scope throws, and the export reports a
// failure.
template <class Body, class OnException>
void Guarded(Body body, OnException onException) noexcept
{
    try {
        const Kernova::XTL::ExitGate::Scope inside;
        body();
    } catch (...) {
        onException();
    }
}

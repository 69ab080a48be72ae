// No exception crosses the boundary.
#pragma once

#include "platform/KernovaXtl.h"

// Runs the body of an export, during which the process-wide objects stay alive; runs onException instead
// of letting anything out.
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

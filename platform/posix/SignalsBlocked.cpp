#include "platform/common/SignalsBlocked.h"

#include <pthread.h>
#include <signal.h>

#include <initializer_list>
#include <new>

namespace Kernova::Internal {

SignalsBlocked::SignalsBlocked()
{
    static_assert(sizeof(sigset_t) <= sizeof(m_before));
    sigset_t set;
    sigfillset(&set);
    for (const int nSignal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT, SIGSYS, SIGPROF})
        sigdelset(&set, nSignal);
    pthread_sigmask(SIG_BLOCK, &set, new (m_before) sigset_t);
}

SignalsBlocked::~SignalsBlocked()
{
    pthread_sigmask(SIG_SETMASK, reinterpret_cast<const sigset_t*>(m_before), nullptr);
}

}  // namespace Kernova::Internal

// The event loop enters its wake-up and its clock with epoll_ctl and does not look at the result. The linker
// option --wrap=epoll_ctl makes its calls arrive here.
#include "platform/common/EventLoop.h"

#include <sys/epoll.h>

#include <cerrno>

namespace {
thread_local int t_nRefusal = 0;  // of the last entry that the system has refused to this thread
}

extern "C" int __real_epoll_ctl(int nLoop, int nOrder, int nHandle, epoll_event* pEvent);

extern "C" int __wrap_epoll_ctl(int nLoop, int nOrder, int nHandle, epoll_event* pEvent)
{
    const int nResult = __real_epoll_ctl(nLoop, nOrder, nHandle, pEvent);
    if (nResult != 0 && nOrder == EPOLL_CTL_ADD)
        t_nRefusal = errno;
    return nResult;
}

namespace Netrova {

void MakeEventLoop(asio::io_context& context)
{
    t_nRefusal = 0;
    const asio::steady_timer first(context);
    if (t_nRefusal != 0)
        throw std::system_error(t_nRefusal, std::generic_category());
}

}  // namespace Netrova

#include "platform/common/EventLoop.h"

namespace Netrova {

// The completion port, the only part, is made with the context, which throws without it.
void MakeEventLoop(asio::io_context&) {}

}  // namespace Netrova

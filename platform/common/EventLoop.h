// The event loop of a context, made whole or not at all.
#pragma once

#include <asio.hpp>

namespace Netrova {

// Makes what the context would make with its first timer or socket. Throws std::system_error if the system
// refuses a part of it: an event loop that cannot be woken would hold its threads for ever.
void MakeEventLoop(asio::io_context& context);

}  // namespace Netrova

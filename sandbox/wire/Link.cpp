#include "sandbox/wire/Link.h"

namespace Sandbox {

void Link::Guard(const std::function<void()>& work)
{
    try {
        work();
    } catch (const ProtocolError& e) {
        Close(std::string("protocol broken: ") + e.what());
    } catch (const std::exception& e) {
        Close(std::string("internal failure: ") + e.what());
    }
}

}  // namespace Sandbox

// Why the sandbox cannot start.
#pragma once

#include <stdexcept>

namespace Sandbox {

// The text says what could not be had and why.
class StartError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

}  // namespace Sandbox

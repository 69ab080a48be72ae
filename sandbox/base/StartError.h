// The exception that ends the program with exit code 1.
#pragma once

#include <stdexcept>

namespace Sandbox {

// Thrown before the sandbox serves anybody: an address, port, database, seed or port file cannot be used. The
// text says which and why.
class StartError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

}  // namespace Sandbox

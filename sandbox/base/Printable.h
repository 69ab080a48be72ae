// Texts of a peer, made safe for a console line or an error text.
#pragma once

#include <string>

namespace Sandbox {

// The text with '?' for control characters, which could steer a terminal, cut to 64 bytes.
std::string Printable(const std::string& strText);
// Printable text between ' and '.
std::string Quoted(const std::string& strText);

}  // namespace Sandbox

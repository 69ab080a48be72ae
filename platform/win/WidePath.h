// Paths between the library, which keeps them as UTF-8, and the system, which keeps them as UTF-16: a folder
// may have a name that the code page lacks, and in some code pages a byte of a character looks like a
// separator.
#pragma once

#include <string>
#include <string_view>

namespace Host::Internal {

// A text that is no UTF-8 counts as one of the code page. Throws std::bad_alloc.
std::wstring ToWide(std::string_view strPath);
std::string FromWide(std::wstring_view strPath);

}  // namespace Host::Internal

// The files of the page at GET /, which the build has put into the program. They lie in sandbox/page.
#pragma once

#include <span>
#include <string_view>

namespace Sandbox {

struct PageFile {
    std::string_view strPath;  // "/" is the page itself
    const char* pszType;
    std::string_view strText;
};

std::span<const PageFile> GetPageFiles();

}  // namespace Sandbox

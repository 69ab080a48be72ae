// Paths as the sandbox has them in its texts: in UTF-8 on Windows, byte by byte elsewhere.
#pragma once

#include <filesystem>
#include <string>

namespace Sandbox {

inline std::filesystem::path PathOf(const std::string& strPath)
{
    return std::u8string(strPath.begin(), strPath.end());
}

inline std::string TextOf(const std::filesystem::path& path)
{
    const std::u8string strText = path.u8string();
    return {strText.begin(), strText.end()};
}

}  // namespace Sandbox

// Files as texts.
#pragma once

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace Support {

// Over what the file has held, as an editor does. Returns the path.
inline std::string WriteFile(const std::filesystem::path& path, const std::string& strText)
{
    std::ofstream(path, std::ios::binary | std::ios::trunc) << strText;
    return path.string();
}

// Empty if the file is not there.
inline std::string ReadFile(const std::filesystem::path& path)
{
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

}  // namespace Support

// A new directory that goes with the object.
#pragma once

#include <filesystem>
#include <random>
#include <string>

namespace Support {

class TempDirectory {
public:
    TempDirectory()
    {
        std::random_device random;
        do {
            m_path = std::filesystem::temp_directory_path() / ("velkar-test-" + std::to_string(random()));
        } while (!std::filesystem::create_directory(m_path));
    }
    ~TempDirectory()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TempDirectory(const TempDirectory&) = delete;
    TempDirectory& operator=(const TempDirectory&) = delete;

    const std::filesystem::path& Path() const { return m_path; }
    void Empty() const
    {
        std::error_code ignored;
        for (const auto& entry : std::filesystem::directory_iterator(m_path, ignored))
            std::filesystem::remove_all(entry.path(), ignored);
    }

private:
    std::filesystem::path m_path;
};

}  // namespace Support

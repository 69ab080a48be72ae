// The file behind a logger: bounded in size, rotated, and never given up for good.
#pragma once

#include <spdlog/sinks/base_sink.h>

#include <chrono>
#include <cstddef>
#include <mutex>
#include <string>
#include <string_view>

#include "platform/common/LogConfig.h"
#include "platform/common/LogFile.h"

namespace Logova {

// The nine levels have no counterpart among spdlog's: a message carries its own as the line number of its
// source location.
inline spdlog::source_loc CarryLevel(Level level) { return {nullptr, static_cast<int>(level), nullptr}; }

// Used on the threads of the queues alone. A failing write throws spdlog::spdlog_ex once and closes the file;
// it is opened again, directories included, with a line kRetry later, and a line then says what was lost.
class RotatingSink final : public spdlog::sinks::base_sink<std::mutex> {
public:
    // Old files: "name.1.log" is the youngest.
    RotatingSink(std::string strPath, std::size_t nMaxSize, std::size_t nMaxFiles);
    ~RotatingSink() override;

private:
    static constexpr std::chrono::seconds kRetry{2};

    void sink_it_(const spdlog::details::log_msg& msg) override;
    void flush_() override;

    void Open();
    void Close();
    bool TakeIntoTheRow(const std::string& strInterim);
    void Rotate();
    void Put(std::string_view text);
    void Append(const spdlog::details::log_msg& msg);
    void Flush();
    void HandOver();
    [[noreturn]] void Fail(const char* pszWhat);
    std::string GetSibling(const std::string& strSuffix) const;
    std::string GetOldPath(std::size_t nIndex) const;

    const std::string m_strPath;
    const std::size_t m_nMaxSize;
    const std::size_t m_nMaxFiles;
    // Under the mutex of the base.
    LogFile m_file;
    spdlog::memory_buf_t m_line;  // the one that is being written; keeps its memory
    std::string m_strBuffer;      // what has not been handed to the system yet
    bool m_bRegular = false;      // only a regular file is rotated
    // Whether this process rotates the file. Of several processes one does; the others open the file anew at
    // the first flush after that.
    bool m_bOwned = false;
    bool m_bWarned = false;
    std::size_t m_nSize = 0;
    std::size_t m_nUnflushed = 0;  // lines, at most
    std::size_t m_nLost = 0;       // lines, at most, since the file failed
    std::chrono::steady_clock::time_point m_nextTry{};
    std::chrono::steady_clock::time_point m_nextRotation{};
};

}  // namespace Logova

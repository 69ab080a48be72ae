#include "platform/common/LogSink.h"

#include <spdlog/details/file_helper.h>
#include <spdlog/details/os.h>
#include <spdlog/pattern_formatter.h>

#include <cerrno>
#include <memory>
#include <tuple>
#include <utility>

namespace Logova {

namespace os = spdlog::details::os;

namespace {

// Lines go to the system in pieces of this size, or when they are flushed.
constexpr std::size_t kFileBuffer = 64u << 10;

class LevelFlag final : public spdlog::custom_flag_formatter {
public:
    void format(const spdlog::details::log_msg& msg, const std::tm&, spdlog::memory_buf_t& out) override
    {
        const std::string_view name = GetLevelName(static_cast<Level>(msg.source.line));
        out.append(name.data(), name.data() + name.size());
    }
    std::unique_ptr<custom_flag_formatter> clone() const override { return std::make_unique<LevelFlag>(); }
};

// Local time, level, thread, text.
std::unique_ptr<spdlog::formatter> MakeFormatter()
{
    auto pFormatter = std::make_unique<spdlog::pattern_formatter>();
    pFormatter->add_flag<LevelFlag>('*').set_pattern("%Y-%m-%d %H:%M:%S.%e [%*] [%t] %v");
    return pFormatter;
}

}  // namespace

RotatingSink::RotatingSink(std::string strPath, std::size_t nMaxSize, std::size_t nMaxFiles)
    : base_sink(MakeFormatter()), m_strPath(std::move(strPath)), m_nMaxSize(nMaxSize), m_nMaxFiles(nMaxFiles)
{
}

RotatingSink::~RotatingSink() { Close(); }

std::string RotatingSink::GetOldPath(std::size_t nIndex) const
{
    if (nIndex == 0)
        return m_strPath;
    std::string strName;
    std::string strExtension;
    std::tie(strName, strExtension) = spdlog::details::file_helper::split_by_extension(m_strPath);
    return strName + "." + std::to_string(nIndex) + strExtension;
}

void RotatingSink::Fail(const char* pszWhat)
{
    const int nCode = errno;
    Close();
    m_nLost += m_nUnflushed;
    m_nUnflushed = 0;
    m_nextTry = std::chrono::steady_clock::now() + kRetry;
    throw spdlog::spdlog_ex(std::string("Cannot ") + pszWhat + " " + m_strPath, nCode);
}

void RotatingSink::Open(bool bTruncate)
{
    os::create_dir(os::dir_name(m_strPath));
    if (bTruncate) {
        // Written in append mode nevertheless, so that an operator may empty the file meanwhile.
        std::FILE* pEmptied = nullptr;
        if (os::fopen_s(&pEmptied, m_strPath, "wb"))
            Fail("empty");
        std::fclose(pEmptied);
    }
    if (os::fopen_s(&m_pFile, m_strPath, "ab")) {
        m_pFile = nullptr;
        Fail("open");
    }
    std::setvbuf(m_pFile, nullptr, _IOFBF, kFileBuffer);
    m_nSize = os::filesize(m_pFile);
}

void RotatingSink::Close()
{
    if (m_pFile != nullptr)
        std::fclose(m_pFile);
    m_pFile = nullptr;
}

// The current file becomes number 1, number 1 becomes number 2, and so on; the last one goes. A file that
// cannot be moved, because somebody has it open on Windows, is emptied: its size stays within bounds.
void RotatingSink::Rotate()
{
    Flush();
    m_nUnflushed = 1;  // the line that is too much
    Close();
    for (std::size_t n = m_nMaxFiles; n > 0; --n) {
        const std::string strFrom = GetOldPath(n - 1);
        const std::string strTo = GetOldPath(n);
        if (!os::path_exists(strFrom))
            continue;
        os::remove_if_exists(strTo);
        os::rename(strFrom, strTo);
    }
    Open(true);
}

void RotatingSink::Append(const spdlog::details::log_msg& msg)
{
    spdlog::memory_buf_t line;
    formatter_->format(msg, line);
    if (m_nSize > 0 && m_nSize + line.size() > m_nMaxSize)
        Rotate();
    if (std::fwrite(line.data(), 1, line.size(), m_pFile) != line.size())
        Fail("write to");
    m_nSize += line.size();
}

void RotatingSink::Flush()
{
    if (std::fflush(m_pFile) != 0)
        Fail("write to");
    m_nUnflushed = 0;
}

void RotatingSink::sink_it_(const spdlog::details::log_msg& msg)
{
    if (m_pFile == nullptr && std::chrono::steady_clock::now() < m_nextTry) {
        ++m_nLost;
        return;
    }
    ++m_nUnflushed;
    if (m_pFile == nullptr) {
        Open(false);
        if (m_nLost != 0) {
            const std::string strText = "Up to " + std::to_string(m_nLost) + " lines could not be written.";
            Append({CarryLevel(Level::Warning), msg.logger_name, msg.level, strText});
            Flush();
            m_nUnflushed = 1;
            m_nLost = 0;
        }
    }
    Append(msg);
}

void RotatingSink::flush_()
{
    if (m_pFile != nullptr)
        Flush();
}

}  // namespace Logova

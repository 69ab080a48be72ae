#include "platform/common/LogSink.h"

#include <spdlog/details/file_helper.h>
#include <spdlog/details/fmt_helper.h>
#include <spdlog/details/os.h>
#include <spdlog/pattern_formatter.h>

#include <cerrno>
#include <chrono>
#include <ctime>
#include <memory>
#include <string_view>
#include <tuple>
#include <utility>

#include "platform/Host.h"

namespace Logova {

namespace fmt_helper = spdlog::details::fmt_helper;
namespace os = spdlog::details::os;

namespace {

// Lines go to the system in pieces of this size, or when they are flushed.
constexpr std::size_t kFileBuffer = 64u << 10;

// What stands before a line's text: local time, level, thread. Date and time are made once for all lines of a
// second.
class HeadFlag final : public spdlog::custom_flag_formatter {
public:
    void format(const spdlog::details::log_msg& msg, const std::tm&, spdlog::memory_buf_t& out) override
    {
        using std::chrono::milliseconds;
        const std::time_t second = spdlog::log_clock::to_time_t(msg.time);
        if (m_nTime == 0 || second != m_second) {
            const std::tm time = os::localtime(second);
            m_nTime = std::strftime(m_szTime, sizeof m_szTime, "%Y-%m-%d %H:%M:%S.", &time);
            m_second = second;
        }
        Put({m_szTime, m_nTime}, out);
        const auto fraction = fmt_helper::time_fraction<milliseconds>(msg.time);
        fmt_helper::pad3(static_cast<unsigned int>(fraction.count()), out);
        Put(" [", out);
        Put(GetLevelName(static_cast<Level>(msg.source.line)), out);
        Put("] [", out);
        fmt_helper::append_int(msg.thread_id, out);
        Put("] ", out);
    }
    std::unique_ptr<custom_flag_formatter> clone() const override { return std::make_unique<HeadFlag>(); }

private:
    static void Put(std::string_view text, spdlog::memory_buf_t& out)
    {
        fmt_helper::append_string_view({text.data(), text.size()}, out);
    }

    std::time_t m_second = 0;
    char m_szTime[sizeof "+1234567890-12-31 23:59:60."]{};
    std::size_t m_nTime = 0;
};

std::unique_ptr<spdlog::formatter> MakeFormatter()
{
    auto pFormatter = std::make_unique<spdlog::pattern_formatter>();
    pFormatter->add_flag<HeadFlag>('*').set_pattern("%*%v");
    return pFormatter;
}

// Whether a write that failed, or a crash, has left a piece of a line at the end of the file.
bool EndsWithinALine(const std::string& strPath)
{
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pFile(Host::OpenForReading(strPath), &std::fclose);
    const int nLast = pFile && std::fseek(pFile.get(), -1, SEEK_END) == 0 ? std::fgetc(pFile.get()) : EOF;
    return nLast != EOF && nLast != '\n';
}

}  // namespace

RotatingSink::RotatingSink(std::string strPath, std::size_t nMaxSize, std::size_t nMaxFiles)
    : base_sink(MakeFormatter()), m_strPath(std::move(strPath)), m_nMaxSize(nMaxSize), m_nMaxFiles(nMaxFiles)
{
}

RotatingSink::~RotatingSink()
{
    if (m_file.IsOpen())
        m_file.Write(m_strBuffer);
}

std::string RotatingSink::GetSibling(const std::string& strSuffix) const
{
    std::string strName;
    std::string strExtension;
    std::tie(strName, strExtension) = spdlog::details::file_helper::split_by_extension(m_strPath);
    return strName + "." + strSuffix + strExtension;
}

std::string RotatingSink::GetOldPath(std::size_t nIndex) const { return GetSibling(std::to_string(nIndex)); }

void RotatingSink::Fail(const char* pszWhat)
{
    const int nCode = errno;
    Close();
    m_nLost += m_nUnflushed;
    m_nUnflushed = 0;
    m_nextTry = std::chrono::steady_clock::now() + kRetry;
    throw spdlog::spdlog_ex(std::string("Cannot ") + pszWhat + " " + Host::TextFromPath(m_strPath), nCode);
}

void RotatingSink::Open()
{
    MakeDirectoryOf(m_strPath);
    if (!m_file.Open(m_strPath))
        Fail("open");
    // A pipe and a device have no size, and reading from one could block.
    m_bRegular = Host::IsRegularFile(m_strPath);
    m_bOwned = !m_bRegular || m_file.TryLock();
    m_nSize = m_bRegular ? m_file.GetSize() : 0;
    if (m_nSize > 0 && EndsWithinALine(m_strPath))
        Put(os::default_eol);
}

void RotatingSink::Close()
{
    m_file.Close();
    m_strBuffer.clear();
}

// The file under the interim name becomes number 1, number 1 becomes number 2, and so on up to the first
// number that is free; the last one goes if none is. False if something could not be moved: it stays where it
// is and is tried again at the next rotation, which loses nothing.
bool RotatingSink::TakeIntoTheRow(const std::string& strInterim)
{
    std::size_t nFree = 1;
    while (nFree <= m_nMaxFiles && Host::FileExists(GetOldPath(nFree)))
        ++nFree;
    if (nFree > m_nMaxFiles && !RemoveFile(GetOldPath(--nFree)))
        return false;
    for (; nFree > 1; --nFree) {
        if (!RenameFile(GetOldPath(nFree - 1), GetOldPath(nFree)))
            return false;
    }
    return RenameFile(strInterim, GetOldPath(1));
}

// The current file is moved away before any other one. Where that fails, because somebody has the file open
// on Windows, nothing has changed: the file grows beyond its size and is tried again kRetry later. What a
// crash has left under the interim name is older than the current file and goes into the row before it.
void RotatingSink::Rotate()
{
    Flush();
    m_nUnflushed = 1;  // the line that is too much
    m_nextRotation = std::chrono::steady_clock::now() + kRetry;
    if (!m_bOwned) {
        m_bOwned = m_file.TryLock();  // the other process may have ended
        if (!m_file.IsAt(m_strPath)) {
            Close();
            Open();
            return;
        }
        if (!m_bOwned)
            return;
    }
    const std::string strInterim = GetSibling("rotating");
    if (Host::IsRegularFile(strInterim) && !TakeIntoTheRow(strInterim))
        return;
    Close();  // Windows renames no file that this process has open
    if (RenameFile(m_strPath, strInterim)) {
        TakeIntoTheRow(strInterim);
        m_nextRotation = {};
    }
    Open();
}

void RotatingSink::Put(std::string_view text)
{
    m_strBuffer += text;
    m_nSize += text.size();
    if (m_strBuffer.size() >= kFileBuffer)
        HandOver();
}

void RotatingSink::HandOver()
{
    if (!m_file.Write(m_strBuffer))
        Fail("write to");
    m_strBuffer.clear();
    if (m_strBuffer.capacity() > 2 * kFileBuffer)
        m_strBuffer.shrink_to_fit();
}

void RotatingSink::Append(const spdlog::details::log_msg& msg)
{
    if (m_line.capacity() > kFileBuffer)
        m_line = spdlog::memory_buf_t();
    m_line.clear();
    formatter_->format(msg, m_line);
    if (m_bRegular && m_nSize > 0 && m_nSize + m_line.size() > m_nMaxSize &&
        std::chrono::steady_clock::now() >= m_nextRotation)
        Rotate();
    Put({m_line.data(), m_line.size()});
}

void RotatingSink::Flush()
{
    HandOver();
    m_nUnflushed = 0;
}

void RotatingSink::sink_it_(const spdlog::details::log_msg& msg)
{
    if (!m_file.IsOpen() && std::chrono::steady_clock::now() < m_nextTry) {
        ++m_nLost;
        return;
    }
    ++m_nUnflushed;
    if (!m_file.IsOpen()) {
        Open();
        if (m_nLost != 0) {
            const std::string strText = "Up to " + std::to_string(m_nLost) + " lines could not be written.";
            Append({CarryLevel(Level::Warning), msg.logger_name, msg.level, strText});
            Flush();
            m_nUnflushed = 1;
            m_nLost = 0;
        }
    }
    if (!m_bOwned && !m_bWarned) {
        m_bWarned = true;
        const std::string strText = "Another process writes to " + Host::TextFromPath(m_strPath) +
                                    " too. Put {pid} into the name of the log file.";
        Append({CarryLevel(Level::Warning), msg.logger_name, msg.level, strText});
    }
    Append(msg);
}

void RotatingSink::flush_()
{
    if (!m_file.IsOpen())
        return;
    Flush();
    if (!m_bOwned && !m_file.IsAt(m_strPath)) {
        Close();
        Open();
    }
}

}  // namespace Logova

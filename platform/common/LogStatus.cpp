#include "platform/common/LogStatus.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include "platform/Host.h"
#include "platform/common/LogFile.h"

namespace Logova {

StatusReporter::StatusReporter(const Reporter& reporter, std::string strPath, std::chrono::seconds period,
                               std::function<void(const char*)> complain)
    : m_reporter(reporter), m_strPath(std::move(strPath)), m_period(period), m_complain(std::move(complain))
{
}

void StatusReporter::Run(bool bEnd)
{
    if (!bEnd)
        m_reporter.pfnLook();
    const auto now = std::chrono::steady_clock::now();
    // A look comes every kLook and a little more: the status is due at the look that lies nearest.
    if (m_strPath.empty() || (!bEnd && now + kLook / 2 < m_nextStatus))
        return;
    m_nextStatus = now + m_period;
    WriteStatus();
}

// The interim name does not end like the file's own: what gathers the files of a directory passes it over.
void StatusReporter::WriteStatus()
{
    const std::string strInterim = m_strPath + ".new";
    const std::string strText = m_reporter.pfnStatus(m_strPath.ends_with(".json"));
    MakeDirectoryOf(m_strPath);
    RemoveFile(strInterim);
    LogFile file;
    bool bWritten = file.Open(strInterim) && file.Write(strText);
    const int nCode = errno;
    file.Close();
    errno = nCode;
    bWritten = bWritten && ReplaceByRename(strInterim, m_strPath);
    if (!bWritten)
        m_complain(("Cannot write " + Host::TextFromPath(m_strPath) + ": " + std::strerror(errno)).c_str());
}

}  // namespace Logova

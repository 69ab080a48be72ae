#include "sandbox/control/Recorder.h"

#include <nlohmann/json.hpp>

#include "sandbox/base/Files.h"
#include "sandbox/base/StartError.h"

namespace Sandbox {

Recorder::Recorder(const std::string& strPath, const Json& head, const Console& console)
    : m_strPath(strPath), m_console(console)
{
    if (strPath.empty())
        return;
    m_file.open(PathOf(strPath), std::ios::trunc | std::ios::binary);
    m_file << DumpJson(head) << '\n' << std::flush;
    if (!m_file)
        throw StartError("The recording '" + strPath + "' cannot be written.");
}

std::int64_t Recorder::Milliseconds() const
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - m_start)
        .count();
}

void Recorder::Write(const std::string& strLine)
{
    if (!m_file.is_open())
        return;
    m_file << strLine << '\n' << std::flush;
    if (m_file)
        return;
    m_console.Say("The recording '" + m_strPath + "' cannot be written any more and ends here.");
    m_file.close();
}

void Recorder::OnMessage(const LoggedMessage& message)
{
    if (!m_file.is_open())
        return;
    Json json = {{"ms", Milliseconds()},
                 {"link", message.strConnector},
                 {message.direction == Direction::FromConnector ? "in" : "out", message.pszClass}};
    if (!message.vecFaults.empty())
        json["faults"] = message.vecFaults;
    std::string strLine = DumpJson(json);
    strLine.pop_back();  // the closing brace: the fields are JSON already
    Write(strLine + ",\"fields\":" + message.strFields + '}');
}

int Recorder::OnRequest(const HttpRequest& request)
{
    if (!m_file.is_open() || request.strMethod == "GET")
        return 0;
    Json json = {{"ms", Milliseconds()},
                 {"number", m_nLastRequest + 1},
                 {"request", request.strMethod + ' ' + request.strPath}};
    try {
        if (!request.strBody.empty())
            json["body"] = ParseBody(request);
    } catch (const HttpError&) {
        return 0;  // nothing happens
    }
    for (const auto& [strKey, strValue] : request.mapQuery)
        json["query"][strKey] = strValue;
    Write(DumpJson(json));
    return ++m_nLastRequest;
}

void Recorder::OnAnswered(int nRequest, int nStatus)
{
    if (nRequest != 0)
        Write(DumpJson({{"ms", Milliseconds()}, {"answered", nRequest}, {"status", nStatus}}));
}

void Recorder::OnClosed(const std::string& strConnector, const std::string& strWhy)
{
    if (m_file.is_open())
        Write(DumpJson({{"ms", Milliseconds()}, {"link", strConnector}, {"closed", strWhy}}));
}

}  // namespace Sandbox

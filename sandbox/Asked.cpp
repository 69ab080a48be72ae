#include "sandbox/Asked.h"

#include <chrono>
#include <cstdio>

namespace Sandbox {
namespace {

constexpr std::chrono::seconds kAnswerTime{80};

}  // namespace

Asked::Asked(const std::string& strHost, int nPort, const std::string& strHead, const std::string& strBody)
{
    m_stream.expires_after(kAnswerTime);
    m_stream.connect(strHost, std::to_string(nPort));
    m_stream << strHead << " HTTP/1.1\r\nHost: " << strHost << ':' << nPort
             << "\r\nConnection: close\r\nContent-Length: " << strBody.size() << "\r\n\r\n"
             << strBody << std::flush;
    std::string strVersion, strLine;
    m_stream >> strVersion >> m_nStatus;
    while (std::getline(m_stream, strLine) && strLine != "\r") {
    }
}

std::string Asked::Read()
{
    m_stream.expires_after(kAnswerTime);
    if (m_stream.peek() == std::char_traits<char>::eof())
        return "";
    std::string strBytes(static_cast<std::size_t>(m_stream.rdbuf()->in_avail()), '\0');
    m_stream.read(strBytes.data(), static_cast<std::streamsize>(strBytes.size()));
    return strBytes;
}

std::string Asked::ReadAll()
{
    std::string strAll;
    for (std::string strBytes = Read(); !strBytes.empty(); strBytes = Read())
        strAll += strBytes;
    return strAll;
}

std::string Encoded(const std::string& strText)
{
    std::string strCode;
    for (const char c : strText) {
        char szByte[4];
        std::snprintf(szByte, sizeof(szByte), "%%%02X",
                      static_cast<unsigned int>(static_cast<unsigned char>(c)));
        strCode += szByte;
    }
    return strCode;
}

}  // namespace Sandbox

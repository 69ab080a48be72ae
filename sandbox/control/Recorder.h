// Writes a run into a file, one JSON object a line, so that "velkar-sandbox replay" can play it again: what
// the service received and sent, and what was ordered by HTTP. docs/sandbox-replay.md describes the file.
// Belongs to the server's thread.
#pragma once

#include <chrono>
#include <fstream>
#include <string>

#include "sandbox/base/Console.h"
#include "sandbox/base/Json.h"
#include "sandbox/control/HttpExchange.h"
#include "sandbox/wire/MessageLog.h"

namespace Sandbox {

class Recorder {
public:
    // With an empty path nothing is written. The head is the first line. Throws StartError.
    Recorder(const std::string& strPath, const Json& head, const Console& console);

    void OnMessage(const LoggedMessage& message);
    // A request that may change something, before it is served. Returns its number in the file; 0 if it is
    // not recorded, because it only looks or cannot be read.
    int OnRequest(const HttpRequest& request);
    void OnAnswered(int nRequest, int nStatus);
    void OnClosed(const std::string& strConnector, const std::string& strWhy);

    static constexpr int kVersion = 1;  // of the form of the file

private:
    // Every line is in the hands of the system before the next one, so that a sandbox that is killed leaves
    // all of them. A file that cannot be written any more ends the recording, and the console says so.
    void Write(const std::string& strLine);
    std::int64_t Milliseconds() const;

    const std::string m_strPath;
    const Console& m_console;
    const std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    std::ofstream m_file;
    int m_nLastRequest = 0;
};

}  // namespace Sandbox

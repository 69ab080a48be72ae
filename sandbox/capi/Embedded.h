// A sandbox inside another program: a server on a thread of its own, with what a test wants to know of it.
#pragma once

#include <chrono>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "sandbox/Server.h"
#include "sandbox/capi/Journal.h"

namespace Sandbox {

// How an embedded sandbox is started.
struct EmbeddedOptions {
    Options options;
    std::string strLogFile;  // empty: none
};
// The options as VelkarSandbox.h describes them. Throws JsonError.
EmbeddedOptions ReadEmbeddedOptions(const std::string& strJson);

// Settings of a connector that talks to that port.
std::string SettingsText(int nPort);

class Embedded {
public:
    using Sink = std::function<void(const std::string& strLine)>;

    // Throws StartError. sink may be empty.
    Embedded(const EmbeddedOptions& options, Sink sink);
    ~Embedded();

    const Server& GetServer() const { return *m_pServer; }
    Journal& GetJournal() { return m_journal; }

    // The reply to a request as "POST /fault". Status 0: there is none.
    HttpReply Ask(const std::string& strRequest, const std::string& strBody);

    // The text that each thread's last call has left.
    void SetAnswer(std::string strText);
    const char* GetAnswer();

private:
    Sink MakeSink(const std::string& strLogFile, Sink sink);
    void Run();

    const SystemClock m_clock;
    std::ofstream m_logFile;
    const Console m_console;
    Journal m_journal;
    std::mutex m_mutex;
    std::map<std::thread::id, std::string> m_mapAnswers;
    std::unique_ptr<Server> m_pServer;
    std::thread m_thread;
};

}  // namespace Sandbox

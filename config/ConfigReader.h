// CConfigReader: the settings file and everything that comes from it. It alone knows the file's keys. Its
// thread loads the file again whenever its last write time has moved; the values are read afresh at each
// use, so that a reload takes effect without any signal.
//
// Open and Shutdown are called under the module's lifecycle lock, the accessors on any thread. m_lock is a
// leaf: no log line is written and no file is read under it.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "config/proj/TarvoXmlParser/src/TarvoXmlParser.h"
#include "platform/Host.h"
#include "platform/KernovaXtl.h"

class CConfigReader : public Kernova::Threading::Thread {
public:
    CConfigReader();
    ~CConfigReader() override;

    // Loads the file and, if that went well, starts to watch the directory of the host's executable. This
    // load alone may show a bad file in a dialog, and then waits until it is closed. True only if all
    // settings have been read; otherwise no thread runs and GetLastErrorText says what is wrong.
    bool Open(const std::string& strTL2FileName);
    // Reads the whole file: overwrites each value as it reaches it and adds new products and events. A
    // failure half-way leaves what has been read so far in force. Never shows a dialog.
    bool Load();
    // Ends the thread, waiting for a load in progress, and lets go of the document. The values stay.
    void Shutdown();
    void CloseDocument();

    std::string GetServerIP() const;
    std::int32_t GetServerPort() const;
    // In seconds; any number, also below 1, and 0 after a reload that found none.
    std::int32_t GetHeartbeatCycle() const;
    std::int32_t GetReconnectCycle() const;
    std::int32_t GetChargeCycle() const;
    bool IsUseUserNumber() const;
    std::string GetLogovaConfigFile() const;
    std::string GetLogovaService() const;
    std::string GetLogovaLogger() const;
    // Of the most recent failure; a good load does not clear it.
    std::string GetLastErrorText() const;

    void Execute() override;

private:
    using IXmlParser = Tarvo::XmlParser::IXmlParser;
    struct DocumentDeleter {
        void operator()(IXmlParser* pParser) const;
    };
    using Document = std::unique_ptr<IXmlParser, DocumentDeleter>;

    struct Settings {
        std::string strServerIP;
        std::int32_t nServerPort = 0;
        std::int32_t nHeartbeatCycle = 0;
        std::int32_t nReconnectCycle = 0;
        std::int32_t nChargeCycle = 0;
        bool bUseUserNumber = false;
        std::string strLogovaConfigFile;
        std::string strLogovaService;
        std::string strLogovaLogger;
    };

    // ConfigReader.cpp: one load.
    bool LoadFile(bool bMayShowDialog);
    bool ReadDocument(IXmlParser& document);
    bool ReadConnectorInfo(IXmlParser& document);
    bool ReadBillingIds(IXmlParser& document, int nCount);
    bool ReadBillingId(IXmlParser& document, const std::string& strIndex);
    bool ReadEventCodes(IXmlParser& document, int nCount);
    bool ReadLogovaInfo(IXmlParser& document);
    bool MoveToGroup(IXmlParser& document, const char* pszGroup);
    bool ReadText(IXmlParser& document, const char* pszKey, std::string& strValue);
    bool ReadText(IXmlParser& document, const char* pszKey, std::string Settings::*pMember);
    bool ReadNumber(IXmlParser& document, const char* pszKey, std::int32_t Settings::*pMember);
    bool ReadCount(IXmlParser& document, const char* pszKey, int& nCount);
    void SetLastError(const std::string& strError);
    bool Fail(const std::string& strError);

    // ConfigReload.cpp: the thread.
    class RunningScope;
    class StopEventScope;
    std::string GetFileName() const;
    void Run();
    bool MustStop() const;
    void Pause(unsigned int milliseconds) const;
    bool Settle(const std::string& strFileName, std::int64_t& nTime) const;
    void Watch(const std::string& strFileName, Host::StopEvent* pStop);
    void LookAtFile(const std::string& strFileName, bool bLogFailure);
    void Reload();

    mutable Kernova::Threading::CriticalSection m_lock{Kernova::XTL::kSpinCount,
                                                       Kernova::Threading::LockRank::Leaf};
    Settings m_settings GUARDED_BY(m_lock);
    std::string m_strFileName GUARDED_BY(m_lock);
    std::string m_strLastError GUARDED_BY(m_lock);
    // Of the last load; a load in progress works on one of its own, which nobody can take away.
    Document m_pParser GUARDED_BY(m_lock);
    // There while Execute runs; a request to stop that comes before that is kept in the flag.
    Host::StopEvent* m_pStopEvent GUARDED_BY(m_lock) = nullptr;
    bool m_bStopRequested GUARDED_BY(m_lock) = false;
    // Last write time of the file that the most recent load began with.
    std::atomic<std::int64_t> m_nLastWriteTime{0};
    // Set before the thread starts, so that a Shutdown right behind it waits for it.
    std::atomic<bool> m_bRunning{false};
};

// The one object of the process.
inline CConfigReader& ConfigReader() { return Kernova::XTL::Singleton<CConfigReader>::Instance(); }

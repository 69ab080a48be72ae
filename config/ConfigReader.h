// CConfigReader: the settings file and everything that comes from it. No other class knows the keys of the
// file. The reload thread loads the file again whenever its last write time has changed. All users of a
// setting read it afresh at each use, so a reload takes effect without any signal: an address at the next
// connection, a cycle at the next wait, the logger's settings at the next InitModule.
//
// Open and Shutdown are called by InitModule and UninitModule, one at a time; the accessors are called on any
// thread. No other lock is taken, no log line written and no file read under m_lock.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "config/proj/TarvoXmlParser/src/TarvoXmlParser.h"
#include "platform/Host.h"
#include "platform/KernovaXtl.h"

// What a check of the settings hears of one key, group or list entry.
struct SettingsFinding {
    enum class Kind {
        Read,         // the key is there and has a value, which other findings may still complain of
        NoModule,     // of strKey
        NoGroup,      // of strGroup
        NoValue,      // the key is missing, empty, or longer than a value may be
        Number,       // the value begins with a number
        NoNumber,     // the value is no number, or 0
        OutOfRange,   // another value is used: strText
        UnknownWord,  // neither true nor false; false is used
        BadCount,     // another number of entries is used: strText
        NoArray,      // an element of the property array strKey: as NoValue
        NoProductId,  // of the property array strKey: as NoNumber
        NoBillingId,  // likewise
    };
    Kind kind;
    std::string strGroup, strKey, strValue;
    std::string
        strText;  // what the library says: the text of InitModule, or the end of the warning in the log
};

class CConfigReader : public Kernova::Threading::Thread {
public:
    CConfigReader();
    ~CConfigReader() override;

    // Loads the file and, if all settings have been read, starts the reload thread, which watches the
    // directory of the host's executable. A bad file may be shown in a dialog, and Open then blocks until the
    // dialog is closed. False if a setting could not be read: no thread runs then, and GetLastErrorText says
    // what is wrong, and where in the file if the file is no whole document.
    bool Open(const std::string& strTL2FileName);
    // Reads the file from its first key to its last. Each value is in force as soon as it has been read; new
    // products and events are added to their maps. After a failure half-way the values read so far stay in
    // force and the others are as they were. A file that is no whole document, as one that is just being
    // written, changes nothing. Never shows a dialog.
    bool Load();
    // Reads a file as Open does, once and without a dialog, and takes its values over. False if Open would
    // fail: GetLastErrorText says what InitModule would say. With a function, the load goes on behind each
    // mistake, and the function hears of every key and every mistake in the order of the reading; the result
    // means nothing then.
    bool Check(const std::string& strTL2FileName, std::function<void(const SettingsFinding&)> pfnReport);
    // Writes a line for each value of the last load in whose place another one is used. For the first load,
    // which is before the logger's start; Load does it by itself.
    void LogWarnings();
    // Ends the reload thread, waits for a load in progress, and frees the document. The values stay.
    void Shutdown();
    // Frees the document of the last load, if there is one.
    void CloseDocument();

    std::string GetServerIP() const;
    std::int32_t GetServerPort() const;
    // In seconds, as the file has them: also negative, and 0 after a reload that found no number.
    std::int32_t GetHeartbeatCycle() const;
    std::int32_t GetReconnectCycle() const;
    std::int32_t GetChargeCycle() const;
    // True: users travel by number; false: by id.
    bool IsUseUserNumber() const;
    // What the logger is started with: its configuration file, relative to the executable's directory, and
    // two names.
    std::string GetLogovaConfigFile() const;
    std::string GetLogovaService() const;
    std::string GetLogovaLogger() const;
    // The text of the most recent failure; a load without a failure does not clear it.
    std::string GetLastErrorText() const;

    // The reload thread.
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

    // ConfigReader.cpp: one load. A step that fails keeps the text of its failure, logs it and returns false.
    enum class Outcome { Good, BadValue, NoDocument };
    enum class Purpose { First, Reload, Check };
    Outcome LoadFile(Purpose purpose);
    bool ReadDocument(IXmlParser& document);
    bool ReadConnectorInfo(IXmlParser& document);
    bool ReadBillingIds(IXmlParser& document, int nCount, const std::string& strCount);
    bool ReadBillingId(IXmlParser& document, const std::string& strIndex, std::string& strBillName);
    bool ReadEventCodes(IXmlParser& document, int nCount, const std::string& strCount);
    bool ReadLogovaInfo(IXmlParser& document);
    bool MoveToGroup(IXmlParser& document, const char* pszGroup);
    bool FindText(IXmlParser& document, const char* pszKey, std::string& strValue);
    bool ReadText(IXmlParser& document, const char* pszKey, std::string& strValue);
    bool ReadText(IXmlParser& document, const char* pszKey, std::string Settings::*pMember);
    bool ReadNumber(IXmlParser& document, const char* pszKey, std::int32_t Settings::*pMember,
                    std::int32_t (*pfnInForce)(std::int32_t));
    bool ReadCount(IXmlParser& document, const char* pszKey, int& nCount, std::string& strValue);
    void WarnOfCount(const char* pszKey, const std::string& strValue, int nUsed, int nCount, bool bMore);
    int GetLastEntry(IXmlParser& document, const char* pszElement, int nCount) const;
    using Kind = SettingsFinding::Kind;
    void Report(Kind kind, std::string_view key, std::string_view value, std::string_view text);
    void Warn(Kind kind, const char* pszKey, const std::string& strValue, const std::string& strWhat);
    void SetLastError(const std::string& strError);
    bool FailToFind(const char* pszKey);
    bool FailToConvert(const char* pszKey, const std::string& strValue);
    bool Fail(Kind kind, const std::string& strKey, const std::string& strValue, const std::string& strError);

    // ConfigReload.cpp: the reload thread.
    class RunningScope;
    class StopEventScope;
    std::string GetFileName() const;
    void Run();
    bool MustStop() const;
    void Pause(unsigned int milliseconds) const;
    bool Settle(const std::string& strFileName, std::int64_t& nTime) const;
    void Watch(const std::string& strFileName, Host::StopEvent* pStop);
    void LookAtFile(const std::string& strFileName);
    bool IsRetryDue() const;
    static bool IsWhole(const std::string& strFileName);
    void Reload();

    mutable Kernova::Threading::CriticalSection m_lock{Kernova::XTL::kSpinCount,
                                                       Kernova::Threading::LockRank::Leaf};
    Settings m_settings GUARDED_BY(m_lock);
    std::string m_strFileName GUARDED_BY(m_lock);
    std::string m_strLastError GUARDED_BY(m_lock);
    std::vector<std::string> m_vecWarnings GUARDED_BY(m_lock);  // of the last load, not logged yet
    // The document of the last load. A load in progress works on a document of its own, so that Shutdown
    // cannot free the document under it.
    Document m_pParser GUARDED_BY(m_lock);
    // Not null while the reload thread can wait on it. A Shutdown that comes earlier is seen by
    // m_bStopRequested.
    Host::StopEvent* m_pStopEvent GUARDED_BY(m_lock) = nullptr;
    bool m_bStopRequested GUARDED_BY(m_lock) = false;
    // The file's last write time when the most recent load began; another time means that the file has
    // changed.
    std::atomic<std::int64_t> m_nLastWriteTime{0};
    // Of a check alone, on its thread: who hears of keys and mistakes, and the group that is being read.
    std::function<void(const SettingsFinding&)> m_pfnReport;
    std::string m_strGroup;
    // Of the reload thread alone: whether the log says already that the file is not there; whether the last
    // load found no whole document, and when the next one begins then although the file's time has not
    // changed.
    bool m_bMissing = false;
    bool m_bRetry = false;
    std::chrono::steady_clock::time_point m_nextTry{};
    // Set before the reload thread starts, so that a Shutdown right after Open waits for the thread.
    std::atomic<bool> m_bRunning{false};
};

// The one object of the process.
inline CConfigReader& ConfigReader() { return Kernova::XTL::Singleton<CConfigReader>::Instance(); }

// The log services: queues of lines in front of spdlog's sinks, without its loggers and its registry.
#include "platform/Logova.h"

#include <spdlog/common.h>

#include <atomic>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <exception>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>

#include "platform/Host.h"
#include "platform/common/LastError.h"
#include "platform/common/LogConfig.h"
#include "platform/common/LogQueue.h"
#include "platform/common/LogSink.h"
#include "platform/common/LogText.h"
#include "platform/common/Mutex.h"

namespace Logova {

using Kernova::Internal::Mutex;
using Kernova::Internal::MutexLock;

namespace {

// Lines that may wait for the disk. When one more comes the oldest goes.
constexpr std::size_t kQueueLength = 8192;

// While more lines than that are waiting, long ones are cut, so that the queue stays small in bytes too.
constexpr std::size_t kBacklog = 256;
constexpr std::size_t kCutLength = 4096;

// The only thing that ever comes of a log that cannot be written: one line on standard error.
class Complaint {
public:
    explicit Complaint(const std::string& strService) : m_strService(strService) {}
    void Raise(const char* pszText) noexcept
    {
        if (!m_bRaised.exchange(true))
            Host::PrintError("Log service \"%s\": %s. Later errors are not reported.\n", m_strService.c_str(),
                             pszText);
    }

private:
    const std::string m_strService;
    std::atomic<bool> m_bRaised{false};
};

using Sinks = std::map<std::string, std::weak_ptr<RotatingSink>>;  // by path

}  // namespace

struct _THandle {
    RotatingSink* pSink;  // the queue's
    std::shared_ptr<Complaint> pComplaint;
    LogQueue* pQueue;
    Level level;
    Level flushLevel;
    int nSlowLimit;
    std::string strStatusFile;
    std::chrono::seconds statusPeriod;
    std::shared_ptr<Complaint> pStatusComplaint;

    bool IsOn(Level other) const { return other <= level; }

    void Write(Level other, std::string_view text) noexcept
    {
        try {
            std::string strCut;
            if (text.size() > kCutLength && pQueue->GetWaiting() > kBacklog) {
                strCut.append(text.substr(0, kCutLength)).append("... (cut)");
                text = strCut;
            }
            pQueue->Push(*pSink, other, other <= flushLevel, text);
        } catch (const std::exception& error) {
            pComplaint->Raise(error.what());
        } catch (...) {
            pComplaint->Raise("an unknown error");
        }
    }
};

namespace {

// One running service. Its operations are serialised by the registry's lock.
class Service {
public:
    Service(std::string strName, std::string strConfigPath, std::string_view config)
        : m_strName(std::move(strName)),
          m_strConfigPath(std::move(strConfigPath)),
          m_config(ParseLogConfig(config)),
          m_pComplaint(std::make_shared<Complaint>(m_strName)),
          m_pQueue(LogQueue::Start(
              kQueueLength, std::chrono::seconds(m_config.nFlushSeconds),
              [pComplaint = m_pComplaint](const char* pszText) { pComplaint->Raise(pszText); }))
    {
    }

    ~Service()
    {
        ReportOverrun();
        m_pQueue->End();
    }

    _THandle* GetLogger(const std::string& strLogger, Sinks& mapSinks)
    {
        std::unique_ptr<_THandle>& pHandle = m_mapLoggers[strLogger];
        if (pHandle)
            return pHandle.get();
        const auto path = [&](const std::string& strFile) {
            return GetLogPath(strFile, m_strConfigPath, m_strName, strLogger);
        };
        const auto pSink = FindSink(path(m_config.strFile), mapSinks);
        const bool bStatus = !m_config.strStatusFile.empty();
        pHandle.reset(new _THandle{
            pSink.get(), m_pComplaint, m_pQueue.get(), m_config.level, m_config.flushLevel,
            m_config.nSlowLimit, bStatus ? path(m_config.strStatusFile) : std::string(),
            std::chrono::seconds(m_config.nStatusSeconds), std::make_shared<Complaint>(m_strName)});
        // Whatever the level: who made the mistake has to see it.
        for (const std::string& strWarning : m_config.vecWarnings)
            pHandle->Write(Level::Warning,
                           "[Logova] " + Host::TextFromPath(m_strConfigPath) + ", " + strWarning);
        m_config.vecWarnings.clear();
        return pHandle.get();
    }

private:
    void ReportOverrun() noexcept
    {
        try {
            const std::size_t nLines = m_pQueue->GetLost();
            for (const auto& [strName, pHandle] : m_mapLoggers) {
                if (nLines != 0 && pHandle) {
                    pHandle->Write(Level::Warning, std::to_string(nLines) +
                                                       " lines were lost because the file was too slow.");
                    return;
                }
            }
        } catch (const std::exception& error) {
            m_pComplaint->Raise(error.what());
        }
    }

    // Several loggers, of other services too, may share a file.
    std::shared_ptr<RotatingSink> FindSink(const std::string& strPath, Sinks& mapSinks)
    {
        std::shared_ptr<RotatingSink> pSink = mapSinks[strPath].lock();
        if (!pSink) {
            pSink = std::make_shared<RotatingSink>(strPath, m_config.nMaxSize, m_config.nMaxFiles);
            mapSinks[strPath] = pSink;
        }
        m_pQueue->Keep(pSink);
        return pSink;
    }

    const std::string m_strName;
    const std::string m_strConfigPath;
    LogConfig m_config;
    const std::shared_ptr<Complaint> m_pComplaint;
    std::map<std::string, std::unique_ptr<_THandle>> m_mapLoggers;
    const std::shared_ptr<LogQueue> m_pQueue;
};

// Never destroyed: a service that nobody has ended when the process exits is left to it, threads and all.
struct Registry {
    Mutex mutex;
    std::map<std::string, std::unique_ptr<Service>> mapServices GUARDED_BY(mutex);
    Sinks mapSinks GUARDED_BY(mutex);
};

Registry& TheRegistry()
{
    static Registry* const s_pRegistry = new Registry;
    return *s_pRegistry;
}

bool Fail(std::errc code)
{
    Platova::FailWith(code);
    return false;
}

void Write(_THandle* pLogger, Level level, const char* pszText)
{
    if (pLogger != nullptr && pszText != nullptr && pLogger->IsOn(level))
        pLogger->Write(level, pszText);
}

void WriteFormatted(_THandle* pLogger, Level level, const char* pszFormat, std::va_list args)
{
    if (pLogger == nullptr || pszFormat == nullptr || !pLogger->IsOn(level))
        return;
    try {
        std::string strLong;
        char szShort[kShortText];
        pLogger->Write(level, FormatText(pszFormat, args, szShort, strLong));
    } catch (const std::exception& error) {
        pLogger->pComplaint->Raise(error.what());
    }
}

}  // namespace

bool Initialize(const char* service, const char* configurationFile)
{
    if (service == nullptr || configurationFile == nullptr)
        return Fail(std::errc::invalid_argument);
    try {
        Registry& registry = TheRegistry();
        const MutexLock lock(registry.mutex);
        if (registry.mapServices.count(service) != 0)
            return Fail(std::errc::device_or_resource_busy);
        std::string strConfig;
        if (!ReadLogConfig(configurationFile, strConfig))
            return false;
        registry.mapServices[service] = std::make_unique<Service>(service, configurationFile, strConfig);
        return true;
    } catch (const std::exception&) {  // no memory or no thread
        return Fail(std::errc::not_enough_memory);
    }
}

_THandle* GetLogger(const char* service, const char* logger)
{
    if (service == nullptr || logger == nullptr) {
        Fail(std::errc::invalid_argument);
        return nullptr;
    }
    try {
        Registry& registry = TheRegistry();
        const MutexLock lock(registry.mutex);
        const auto it = registry.mapServices.find(service);
        if (it != registry.mapServices.end())
            return it->second->GetLogger(logger, registry.mapSinks);
        Fail(std::errc::no_such_process);
    } catch (const std::exception&) {
        Fail(std::errc::not_enough_memory);
    }
    return nullptr;
}

bool Uninitialize(const char* service)
{
    if (service == nullptr)
        return Fail(std::errc::invalid_argument);
    Registry& registry = TheRegistry();
    const MutexLock lock(registry.mutex);
    // Under the lock to the end, so that the next start of the same service finds its files closed.
    if (registry.mapServices.erase(service) == 0)
        return Fail(std::errc::no_such_process);
    std::erase_if(registry.mapSinks, [](const auto& entry) { return entry.second.expired(); });
    return true;
}

int GetLevel(_THandle* pLogger) { return pLogger == nullptr ? -1 : static_cast<int>(pLogger->level); }

int GetSlowLimit(_THandle* pLogger) { return pLogger == nullptr ? 0 : pLogger->nSlowLimit; }

void SetReporter(_THandle* pLogger, const Reporter& reporter)
{
    pLogger->pQueue->SetReporter(std::make_shared<StatusReporter>(
        reporter, pLogger->strStatusFile, pLogger->statusPeriod,
        [pComplaint = pLogger->pStatusComplaint](const char* pszText) { pComplaint->Raise(pszText); }));
}

#define LOGOVA_LEVEL(name)                                                                \
    void name(_THandle* pLogger, const char* text) { Write(pLogger, Level::name, text); } \
    void name##Fmt(_THandle* pLogger, const char* format, ...)                            \
    {                                                                                     \
        std::va_list args;                                                                \
        va_start(args, format);                                                           \
        WriteFormatted(pLogger, Level::name, format, args);                               \
        va_end(args);                                                                     \
    }

LOGOVA_LEVEL(Emerg)
LOGOVA_LEVEL(Alert)
LOGOVA_LEVEL(Fatal)
LOGOVA_LEVEL(Error)
LOGOVA_LEVEL(Warning)
LOGOVA_LEVEL(Notice)
LOGOVA_LEVEL(Info)
LOGOVA_LEVEL(Debug)
LOGOVA_LEVEL(Trace)

#undef LOGOVA_LEVEL

}  // namespace Logova

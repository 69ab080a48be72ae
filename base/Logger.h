// CLogger: the wrapper that every log line of the system goes through. A leaf: it knows Logova and the
// singleton's template only.
#pragma once

#include <atomic>
#include <string>

#include "platform/KernovaXtl.h"
#include "platform/Logova.h"

class CLogger {
public:
    using Text = void (*)(Logova::_THandle*, const char*);
    using Format = void (*)(Logova::_THandle*, const char*, ...);

    // Starts the log service and fetches the logger. False if the service does not start; the library
    // then runs without a log.
    bool Init(const std::string& strService, const std::string& strConfigPath, const std::string& strLogger);
    // Ends the service once no thread is inside a log call any more. Nothing is written afterwards.
    void Uninit();

    // What the configuration says of slow answers, and what the service's thread does from now on: see
    // Logova. After Init, on its thread.
    int GetSlowLimit() const { return Logova::GetSlowLimit(m_pHandle.load()); }
    void SetReporter(const Logova::Reporter& reporter);

    // Every log statement comes through here. Skipped while logging is not up or when a log call has
    // ever thrown; never throws. The arguments are evaluated in any case.
    template <class Function, class... Args>
    void Write(Function CLogger::*pfnLevel, const Args&... args) noexcept
    {
        if (m_bBroken.load(std::memory_order_relaxed))
            return;
        const Kernova::XTL::UseScope use(m_gate);
        Logova::_THandle* const pHandle = m_pHandle.load();
        if (!use || pHandle == nullptr)
            return;
        try {
            (this->*pfnLevel)(pHandle, args...);
        } catch (...) {
            m_bBroken.store(true);
        }
    }

    // Nothing is written any more, in a process in which the service's thread does not run. Uses atomics
    // alone.
    static void Silence() { s_nLevel.store(-1); }

    // Whether lines of that level are written, by its number in Logova. False while logging is not up.
    static bool IsOn(int nLevel) { return nLevel <= s_nLevel.load(std::memory_order_relaxed); }

    void Mend()
    {
        m_bBroken.store(false);
    }  // for tests: a log call that has thrown silences the log for good

    const Text Emerg = &Logova::Emerg;
    const Text Alert = &Logova::Alert;
    const Text Fatal = &Logova::Fatal;
    const Text Error = &Logova::Error;
    const Text Warning = &Logova::Warning;
    const Text Notice = &Logova::Notice;
    const Text Info = &Logova::Info;
    const Text Debug = &Logova::Debug;
    const Text Trace = &Logova::Trace;
    const Format EmergFmt = &Logova::EmergFmt;
    const Format AlertFmt = &Logova::AlertFmt;
    const Format FatalFmt = &Logova::FatalFmt;
    const Format ErrorFmt = &Logova::ErrorFmt;
    const Format WarningFmt = &Logova::WarningFmt;
    const Format NoticeFmt = &Logova::NoticeFmt;
    const Format InfoFmt = &Logova::InfoFmt;
    const Format DebugFmt = &Logova::DebugFmt;
    const Format TraceFmt = &Logova::TraceFmt;

private:
    static inline std::atomic<int> s_nLevel{-1};
    std::string m_strService;
    std::string m_strConfigPath;
    std::string m_strLogger;
    std::atomic<bool> m_bBroken{false};
    std::atomic<Logova::_THandle*> m_pHandle{nullptr};
    Kernova::XTL::UseGate m_gate;
};

// The one object of the process.
inline CLogger& Logger() { return Kernova::XTL::Singleton<CLogger>::Instance(); }

// Log::Info("text"), Log::ErrorFmt("format %d", n). For formats: only int, unsigned, char, long long and
// const char* arguments, matching the format. Never throws, whatever becomes of the logger.
namespace Log {

template <class Function, class... Args>
void Write(Function CLogger::*pfnLevel, const Args&... args) noexcept
{
    try {
        Logger().Write(pfnLevel, args...);
    } catch (...) {  // no logger any more: the process is exiting
    }
}

// The level of the rows of lists, by its number in Logova.
inline constexpr int kDebug = 7;

// The line costs one load if its level is off.
inline void Fatal(const char* pszText) noexcept
{
    if (CLogger::IsOn(2))
        Write(&CLogger::Fatal, pszText);
}
inline void Error(const char* pszText) noexcept
{
    if (CLogger::IsOn(3))
        Write(&CLogger::Error, pszText);
}
inline void Warning(const char* pszText) noexcept
{
    if (CLogger::IsOn(4))
        Write(&CLogger::Warning, pszText);
}
inline void Info(const char* pszText) noexcept
{
    if (CLogger::IsOn(6))
        Write(&CLogger::Info, pszText);
}
inline void Debug(const char* pszText) noexcept
{
    if (CLogger::IsOn(7))
        Write(&CLogger::Debug, pszText);
}
template <class... Args>
void FatalFmt(const char* pszFormat, Args... args) noexcept
{
    if (CLogger::IsOn(2))
        Write(&CLogger::FatalFmt, pszFormat, args...);
}
template <class... Args>
void ErrorFmt(const char* pszFormat, Args... args) noexcept
{
    if (CLogger::IsOn(3))
        Write(&CLogger::ErrorFmt, pszFormat, args...);
}
template <class... Args>
void WarningFmt(const char* pszFormat, Args... args) noexcept
{
    if (CLogger::IsOn(4))
        Write(&CLogger::WarningFmt, pszFormat, args...);
}
template <class... Args>
void InfoFmt(const char* pszFormat, Args... args) noexcept
{
    if (CLogger::IsOn(6))
        Write(&CLogger::InfoFmt, pszFormat, args...);
}
template <class... Args>
void DebugFmt(const char* pszFormat, Args... args) noexcept
{
    if (CLogger::IsOn(7))
        Write(&CLogger::DebugFmt, pszFormat, args...);
}

}  // namespace Log

#include "base/Logger.h"

bool CLogger::Init(const std::string& strService, const std::string& strConfigPath,
                   const std::string& strLogger)
{
    m_strService = strService;
    m_strConfigPath = strConfigPath;
    m_strLogger = strLogger;
    if (!Logova::Initialize(m_strService.c_str(), m_strConfigPath.c_str()))
        return false;
    m_pHandle.store(Logova::GetLogger(m_strService.c_str(), m_strLogger.c_str()));
    m_gate.Open();
    if (m_pHandle.load() != nullptr)
        s_nLevel.store(Logova::GetLevel(m_pHandle.load()));
    return true;
}

void CLogger::SetReporter(const Logova::Reporter& reporter)
{
    if (m_pHandle.load() != nullptr)
        Logova::SetReporter(m_pHandle.load(), reporter);
}

void CLogger::Uninit()
{
    if (m_pHandle.load() == nullptr)
        return;
    s_nLevel.store(-1);
    m_gate.CloseAndWait();
    Logova::Uninitialize(m_strService.c_str());
    m_pHandle.store(nullptr);
}

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
    return true;
}

void CLogger::Uninit()
{
    if (m_pHandle.load() == nullptr)
        return;
    m_gate.CloseAndWait();
    Logova::Uninitialize(m_strService.c_str());
    m_pHandle.store(nullptr);
}

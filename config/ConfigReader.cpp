// One load of the settings file, key by key, and the accessors. ConfigReload.cpp decides when a load happens.
#include "config/ConfigReader.h"

#include <algorithm>
#include <utility>

#include "base/CycleWait.h"
#include "base/Logger.h"
#include "config/BillingIdMap.h"
#include "config/EventCodeMap.h"
#include "config/proj/TarvoXmlParser/src/TextToInteger.h"
#include "config/proj/TarvoXmlParser/src/xmlParser.h"
#include "platform/Host.h"

using Kernova::XTL::ScopedLock;
using Tarvo::XmlParser::TextToInteger;

namespace {

constexpr const char* kTopTag = "TARVO";  // the element around the whole file
// A count of 999 means that the list is empty: the count 0 cannot be written, because 0 is how a failed
// conversion to a number shows.
constexpr int kNoEntries = 999;
// Bytes of the longest value with its NUL; a longer value counts as a missing one.
constexpr int kValueSize = 255;

// The report of a file that is no XML, where no dialog can be shown: at a reload, and on systems without one.
// Standard error gets the report if no logger is running yet. Any thread.
void ReportBadFile(const char* pszTitle, const char* pszText)
{
    if (!CLogger::IsOn(3))
        Host::PrintError("%s: %s", pszTitle, pszText);
    Log::Error((std::string("[Config reader]") + pszTitle + ": " + pszText).c_str());
}

// What is wrong with a document, and where: " (Error: Unmatched end tag, line 2, column 5)".
std::string Describe(const Tarvo::XmlParser::XMLResults& results)
{
    std::string strText = std::string(" (") + Tarvo::XmlParser::XMLNode::getError(results.error);
    if (results.nLine > 0)
        strText += ", line " + std::to_string(results.nLine) + ", column " + std::to_string(results.nColumn);
    return strText + ")";
}

// What the users of a port and of a cycle make of the number.
std::int32_t PortInForce(std::int32_t nPort)
{
    return nPort >= 1 && nPort <= 0xFFFF ? nPort : nPort & 0xFFFF;
}
std::int32_t CycleInForce(std::int32_t nCycle)
{
    return static_cast<std::int32_t>(CycleMilliseconds(nCycle) / 1000);
}

}  // namespace

void CConfigReader::DocumentDeleter::operator()(IXmlParser* pParser) const
{
    Tarvo::XmlParser::DestroyXmlParser(&pParser);
}

CConfigReader::CConfigReader() { Tarvo::XmlParser::SetReportSink(&ReportBadFile); }

CConfigReader::~CConfigReader() = default;

bool CConfigReader::Load()
{
    const bool bGood = LoadFile(Purpose::Reload) == Outcome::Good;
    LogWarnings();
    return bGood;
}

bool CConfigReader::Check(const std::string& strTL2FileName,
                          std::function<void(const SettingsFinding&)> pfnReport)
{
    {
        const ScopedLock lock(m_lock);
        m_strFileName = strTL2FileName;
    }
    m_pfnReport = std::move(pfnReport);
    const bool bGood = LoadFile(Purpose::Check) == Outcome::Good;
    m_pfnReport = nullptr;
    CloseDocument();
    return bGood;
}

void CConfigReader::CloseDocument()
{
    Document old;  // freed behind the lock: a large document takes time
    const ScopedLock lock(m_lock);
    old.swap(m_pParser);
}

// The old document goes first, so a load that cannot open the file leaves none. The new document is read
// without the lock, while the accessors go on working, and is stored afterwards. Only a reload refuses a
// document that has come with a warning: at a reload an element without its end tells of a file that is still
// being written.
CConfigReader::Outcome CConfigReader::LoadFile(Purpose purpose)
{
    const bool bReload = purpose == Purpose::Reload;
    CloseDocument();
    const std::string strFileName = GetFileName();
    std::string strError;
    Document document;
    Tarvo::XmlParser::XMLResults results;
    if (!Host::FileExists(strFileName)) {
        strError = "Failed to find a TL2 file. FileName : " + Host::TextFromPath(strFileName);
    } else {
        document.reset(
            Tarvo::XmlParser::OpenXmlFile(strFileName.c_str(), kTopTag, purpose == Purpose::First, &results));
        if (!document || (bReload && results.error != Tarvo::XmlParser::eXMLErrorNone))
            strError = "Failed to open and parse a TL2 file. FileName : " + Host::TextFromPath(strFileName) +
                       (bReload ? "" : Describe(results));
    }
    if (!strError.empty()) {
        SetLastError(strError);
        Log::FatalFmt("%s", ("[Config reader]" + strError).c_str());
        return Outcome::NoDocument;
    }
    {
        const ScopedLock lock(m_lock);
        m_vecWarnings.clear();
    }
    const bool bGood = ReadDocument(*document);
    if (!bGood && results.error != Tarvo::XmlParser::eXMLErrorNone)
        SetLastError(GetLastErrorText() + Describe(results));
    const ScopedLock lock(m_lock);
    m_pParser.swap(document);
    return bGood ? Outcome::Good : Outcome::BadValue;
}

// Whether a load would find a whole document. Nothing is reported: a bad file is told to the log once, and
// not at each further try.
bool CConfigReader::IsWhole(const std::string& strFileName)
{
    Tarvo::XmlParser::XMLResults results;
    Tarvo::XmlParser::XMLNode::parseFile(strFileName.c_str(), kTopTag, &results);
    return results.error == Tarvo::XmlParser::eXMLErrorNone;
}

// The steps of a load in the order of the file's keys. A bad entry in one of the two lists makes the load
// fail, but the groups behind that list are read nevertheless; any other failure ends the load at once.
bool CConfigReader::ReadDocument(IXmlParser& document)
{
    if (!Tarvo::XmlParser::MoveToModule(&document, "VELKAR"))
        return Fail(Kind::NoModule, "VELKAR", "", "Failed to move to 'VELKAR' module.");
    if (!ReadConnectorInfo(document))
        return false;

    int nCount = 0;
    std::string strCount;
    if (!MoveToGroup(document, "BILLING_ID_INFO") || !ReadCount(document, "ID_COUNT", nCount, strCount))
        return false;
    const bool bBillingIds = ReadBillingIds(document, nCount, strCount);

    if (!MoveToGroup(document, "SPECIFIC_EVENT_CODE_INFO") ||
        !ReadCount(document, "EVENT_CODE_COUNT", nCount, strCount))
        return false;
    const bool bEventCodes = ReadEventCodes(document, nCount, strCount);

    return ReadLogovaInfo(document) && bBillingIds && bEventCodes;
}

// The group CONNECTOR_INFO. The flag is true for exactly "true" or "TRUE" and false for any other text, which
// is no failure.
bool CConfigReader::ReadConnectorInfo(IXmlParser& document)
{
    std::string strUseUserNumber;
    if (!MoveToGroup(document, "CONNECTOR_INFO") ||
        !ReadText(document, "SERVER_IP", &Settings::strServerIP) ||
        !ReadNumber(document, "SERVER_PORT", &Settings::nServerPort, &PortInForce) ||
        !ReadNumber(document, "HEARTBEAT_CYCLE", &Settings::nHeartbeatCycle, &CycleInForce) ||
        !ReadNumber(document, "RECONNECT_CYCLE", &Settings::nReconnectCycle, &CycleInForce) ||
        !ReadNumber(document, "CHARGE_CYCLE", &Settings::nChargeCycle, &CycleInForce) ||
        !ReadText(document, "USE_USER_NUMBER", strUseUserNumber))
        return false;
    if (strUseUserNumber.empty())  // a check goes on behind the missing key
        return true;
    const bool bUseUserNumber = strUseUserNumber == "true" || strUseUserNumber == "TRUE";
    if (!bUseUserNumber && strUseUserNumber != "false" && strUseUserNumber != "FALSE")
        Warn(Kind::UnknownWord, "USE_USER_NUMBER", strUseUserNumber,
             "is neither true nor false. false is used instead.");
    const ScopedLock lock(m_lock);
    m_settings.bUseUserNumber = bUseUserNumber;
    return true;
}

// The products stand in property arrays that are named "1", "2" and so on. A bad one ends the list.
bool CConfigReader::ReadBillingIds(IXmlParser& document, int nCount, const std::string& strCount)
{
    std::string strBillName;  // its memory is used again for every name
    const int nLast = GetLastEntry(document, "property_array", nCount);
    int nRead = 0;
    while (nRead < nLast && ReadBillingId(document, std::to_string(nRead + 1), strBillName))
        ++nRead;
    char szTemp[kValueSize];
    const bool bMore = Tarvo::XmlParser::GetPropertyArray(&document, szTemp, sizeof(szTemp),
                                                          std::to_string(nRead + 1).c_str(), 0);
    WarnOfCount("ID_COUNT", strCount, nRead, nCount, bMore);
    return nRead >= nCount;
}

// One product: its array holds product id, name and billing id, in this order. An id of 0 counts as
// unreadable.
bool CConfigReader::ReadBillingId(IXmlParser& document, const std::string& strIndex, std::string& strBillName)
{
    char szTemp[kValueSize];
    const auto read = [&](int nPosition) {
        return Tarvo::XmlParser::GetPropertyArray(&document, szTemp, sizeof(szTemp), strIndex.c_str(),
                                                  nPosition);
    };
    const auto failToGet = [&](int nPosition) {
        return Fail(Kind::NoArray, strIndex, std::to_string(nPosition),
                    "Failed to get 'BILLING_ID_INFO' array property.");
    };

    if (!read(0))
        return failToGet(0);
    const int nProductId = TextToInteger(szTemp);
    if (nProductId == 0)
        return Fail(Kind::NoProductId, strIndex, szTemp, "Failed to convert 'PRODUCT_ID' value to integer.");
    if (!read(1))
        return failToGet(1);
    strBillName = szTemp;
    if (!read(2))
        return failToGet(2);
    const int nBillingId = TextToInteger(szTemp);
    if (nBillingId == 0)
        return Fail(Kind::NoBillingId, strIndex, szTemp, "Failed to convert 'BILLING_ID' value to integer.");
    if (m_pfnReport)
        Report(Kind::Read, strIndex, std::to_string(nProductId), "");
    BillingIdMap().AddBilling(nProductId, nBillingId, strBillName);
    return true;
}

// The names of the event codes stand in properties that are named by the code, from "0". A missing one ends
// the list.
bool CConfigReader::ReadEventCodes(IXmlParser& document, int nCount, const std::string& strCount)
{
    std::string strEventName;
    const int nLast = GetLastEntry(document, "property", nCount);
    int nRead = 0;
    for (; nRead < nLast && ReadText(document, std::to_string(nRead).c_str(), strEventName); ++nRead)
        EventCodeMap().AddEvent(nRead, strEventName);
    char szTemp[kValueSize];
    const bool bMore =
        Tarvo::XmlParser::GetProperty(&document, szTemp, sizeof(szTemp), std::to_string(nRead).c_str());
    WarnOfCount("EVENT_CODE_COUNT", strCount, nRead, nCount, bMore);
    return nRead >= nCount;
}

// The group LOGOVA_INFO: what InitModule starts the logger with.
bool CConfigReader::ReadLogovaInfo(IXmlParser& document)
{
    return MoveToGroup(document, "LOGOVA_INFO") &&
           ReadText(document, "LOGOVA_CONFIG_FILE", &Settings::strLogovaConfigFile) &&
           ReadText(document, "LOGOVA_SERVICE", &Settings::strLogovaService) &&
           ReadText(document, "LOGOVA_LOGGER", &Settings::strLogovaLogger);
}

// ---- the single steps of a load: each fails with a text that names its key ----

bool CConfigReader::MoveToGroup(IXmlParser& document, const char* pszGroup)
{
    if (m_pfnReport)
        m_strGroup = pszGroup;
    return Tarvo::XmlParser::MoveToGroup(&document, pszGroup) ||
           Fail(Kind::NoGroup, "", "", std::string("Failed to move to '") + pszGroup + "' group.");
}

// The value of a key of the current group; false, and no failure, if it has none.
bool CConfigReader::FindText(IXmlParser& document, const char* pszKey, std::string& strValue)
{
    char szTemp[kValueSize];
    if (!Tarvo::XmlParser::GetProperty(&document, szTemp, sizeof(szTemp), pszKey))
        return false;
    strValue = szTemp;
    Report(Kind::Read, pszKey, strValue, "");
    return true;
}

bool CConfigReader::ReadText(IXmlParser& document, const char* pszKey, std::string& strValue)
{
    return FindText(document, pszKey, strValue) || FailToFind(pszKey);
}

bool CConfigReader::ReadText(IXmlParser& document, const char* pszKey, std::string Settings::*pMember)
{
    std::string strValue;
    if (!FindText(document, pszKey, strValue))
        return FailToFind(pszKey);
    const ScopedLock lock(m_lock);
    m_settings.*pMember = strValue;
    return true;
}

// The number is stored before it is tested: after a refused one the setting in force is 0. pfnInForce tells
// what the users of the setting make of the number.
bool CConfigReader::ReadNumber(IXmlParser& document, const char* pszKey, std::int32_t Settings::*pMember,
                               std::int32_t (*pfnInForce)(std::int32_t))
{
    std::string strValue;
    if (!FindText(document, pszKey, strValue))
        return FailToFind(pszKey);
    const int nValue = TextToInteger(strValue.c_str());
    {
        const ScopedLock lock(m_lock);
        m_settings.*pMember = nValue;
    }
    if (nValue == 0)
        return FailToConvert(pszKey, strValue);
    Report(Kind::Number, pszKey, strValue, "");
    if (const std::int32_t nInForce = pfnInForce(nValue); nInForce != nValue)
        Warn(Kind::OutOfRange, pszKey, strValue,
             "is out of range. " + std::to_string(nInForce) + " is used instead.");
    return true;
}

// The length of a list; 999 stands for 0.
bool CConfigReader::ReadCount(IXmlParser& document, const char* pszKey, int& nCount, std::string& strValue)
{
    nCount = 0;
    if (!FindText(document, pszKey, strValue))
        return FailToFind(pszKey);
    nCount = TextToInteger(strValue.c_str());
    if (nCount == 0)
        return FailToConvert(pszKey, strValue);
    Report(Kind::Number, pszKey, strValue, "");
    if (nCount == kNoEntries)
        nCount = 0;
    return true;
}

// A count that is not that of the entries in the file. bMore: there is an entry behind the nUsed ones.
void CConfigReader::WarnOfCount(const char* pszKey, const std::string& strValue, int nUsed, int nCount,
                                bool bMore)
{
    const auto warn = [&](const std::string& strWhat) { Warn(Kind::BadCount, pszKey, strValue, strWhat); };
    const std::string strUsed = std::to_string(nUsed) + " of them are used.";
    if (nCount < 0)
        warn("is out of range. None of the entries is used.");
    else if (nUsed < nCount)
        warn("is more than the file has of good entries in a row. The first " + strUsed);
    else if (bMore && nCount == 0)
        warn("stands for none. None of the entries in the file is used.");
    else if (bMore)
        warn("is less than the file has of entries. The first " + strUsed);
}

// The number of the last list entry that is read. A check reads on behind bad entries and therefore ends one
// entry behind those that the group can have, whatever the count claims.
int CConfigReader::GetLastEntry(IXmlParser& document, const char* pszElement, int nCount) const
{
    return m_pfnReport ? std::min(nCount, document.GetChildCount(pszElement) + 1) : nCount;
}

void CConfigReader::Report(Kind kind, std::string_view key, std::string_view value, std::string_view text)
{
    if (m_pfnReport)
        m_pfnReport({kind, m_strGroup, std::string(key), std::string(value), std::string(text)});
}

void CConfigReader::Warn(Kind kind, const char* pszKey, const std::string& strValue,
                         const std::string& strWhat)
{
    Report(kind, pszKey, strValue, strWhat);
    const ScopedLock lock(m_lock);
    m_vecWarnings.push_back("[Config reader]The value '" + strValue + "' of '" + pszKey + "' " + strWhat);
}

void CConfigReader::LogWarnings()
{
    std::vector<std::string> vecWarnings;
    {
        const ScopedLock lock(m_lock);
        if (CLogger::IsOn(4))  // otherwise they wait for the logger's start
            vecWarnings.swap(m_vecWarnings);
    }
    for (const std::string& strWarning : vecWarnings)
        Log::WarningFmt("%s", strWarning.c_str());
}

void CConfigReader::SetLastError(const std::string& strError)
{
    const ScopedLock lock(m_lock);
    m_strLastError = strError;
}

bool CConfigReader::FailToFind(const char* pszKey)
{
    return Fail(Kind::NoValue, pszKey, "", std::string("Failed to get '") + pszKey + "' property.");
}

bool CConfigReader::FailToConvert(const char* pszKey, const std::string& strValue)
{
    return Fail(Kind::NoNumber, pszKey, strValue,
                std::string("Failed to convert '") + pszKey + "' value to integer.");
}

// Keeps and logs the text of a failure. False, so that a step can return the call; true while a check wants
// to hear of the mistakes behind this one.
bool CConfigReader::Fail(Kind kind, const std::string& strKey, const std::string& strValue,
                         const std::string& strError)
{
    SetLastError(strError);
    Log::Fatal(("[Config reader]" + strError).c_str());
    Report(kind, strKey, strValue, strError);
    return static_cast<bool>(m_pfnReport);
}

// ---- accessors: each returns a copy, because a reload may change the value at any time ----

std::string CConfigReader::GetFileName() const
{
    const ScopedLock lock(m_lock);
    return m_strFileName;
}

std::string CConfigReader::GetServerIP() const
{
    const ScopedLock lock(m_lock);
    return m_settings.strServerIP;
}

std::int32_t CConfigReader::GetServerPort() const
{
    const ScopedLock lock(m_lock);
    return m_settings.nServerPort;
}

std::int32_t CConfigReader::GetHeartbeatCycle() const
{
    const ScopedLock lock(m_lock);
    return m_settings.nHeartbeatCycle;
}

std::int32_t CConfigReader::GetReconnectCycle() const
{
    const ScopedLock lock(m_lock);
    return m_settings.nReconnectCycle;
}

std::int32_t CConfigReader::GetChargeCycle() const
{
    const ScopedLock lock(m_lock);
    return m_settings.nChargeCycle;
}

bool CConfigReader::IsUseUserNumber() const
{
    const ScopedLock lock(m_lock);
    return m_settings.bUseUserNumber;
}

std::string CConfigReader::GetLogovaConfigFile() const
{
    const ScopedLock lock(m_lock);
    return Host::PathFromText(m_settings.strLogovaConfigFile);
}

std::string CConfigReader::GetLogovaService() const
{
    const ScopedLock lock(m_lock);
    return m_settings.strLogovaService;
}

std::string CConfigReader::GetLogovaLogger() const
{
    const ScopedLock lock(m_lock);
    return m_settings.strLogovaLogger;
}

std::string CConfigReader::GetLastErrorText() const
{
    const ScopedLock lock(m_lock);
    return m_strLastError;
}

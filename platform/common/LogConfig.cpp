#include "platform/common/LogConfig.h"

#include <spdlog/details/os.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <set>

#include "platform/Host.h"
#include "platform/common/LastError.h"

namespace Logova {

namespace {

constexpr std::array<const char*, 9> kLevelNames{"Emerg",  "Alert", "Fatal", "Error", "Warning",
                                                 "Notice", "Info",  "Debug", "Trace"};
constexpr std::size_t kMaxConfigBytes = 64u << 10;
constexpr std::size_t kMaxWarnings = 20;
constexpr std::uint64_t kMinSize = 1u << 10, kMaxSize = 1u << 30;
constexpr std::size_t kMaxFiles = 1000;
constexpr int kMaxFlushSeconds = 3600;
constexpr int kMaxSlowLimit = 5000;
constexpr int kMaxStatusSeconds = 3600;

std::string_view Trim(std::string_view text)
{
    constexpr std::string_view kBlank = " \t\r";
    const std::size_t nBegin = text.find_first_not_of(kBlank);
    if (nBegin == std::string_view::npos)
        return {};
    return text.substr(nBegin, text.find_last_not_of(kBlank) - nBegin + 1);
}

bool EqualIgnoringCase(std::string_view left, std::string_view right)
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](unsigned char a, unsigned char b) { return std::tolower(a) == std::tolower(b); });
}

// Text of the file inside a log line: short, and nothing that would break the line.
std::string Quote(std::string_view text)
{
    constexpr std::size_t kMaxQuoted = 60;
    std::string strResult = "\"";
    for (const unsigned char c : text.substr(0, kMaxQuoted))
        strResult += c < 0x20 || c == 0x7F ? '?' : static_cast<char>(c);
    return strResult + (text.size() > kMaxQuoted ? "...\"" : "\"");
}

template <class T>
bool ParseNumber(std::string_view text, T nMin, T nMax, T& nResult)
{
    T nValue{};
    const auto [pEnd, code] = std::from_chars(text.data(), text.data() + text.size(), nValue);
    if (code != std::errc() || pEnd != text.data() + text.size() || nValue < nMin || nValue > nMax)
        return false;
    nResult = nValue;
    return true;
}

bool ParseLevel(std::string_view text, Level& level)
{
    for (std::size_t n = 0; n < kLevelNames.size(); ++n) {
        if (EqualIgnoringCase(text, kLevelNames[n])) {
            level = static_cast<Level>(n);
            return true;
        }
    }
    return false;
}

bool ParseSize(std::string_view text, std::size_t& nResult)
{
    int nShift = 0;
    if (!text.empty()) {
        switch (std::toupper(static_cast<unsigned char>(text.back()))) {
            case 'K':
                nShift = 10;
                break;
            case 'M':
                nShift = 20;
                break;
            case 'G':
                nShift = 30;
                break;
            default:
                break;
        }
    }
    if (nShift != 0)
        text = Trim(text.substr(0, text.size() - 1));
    std::uint64_t nValue = 0;
    if (!ParseNumber<std::uint64_t>(text, 0, kMaxSize, nValue) || nValue << nShift < kMinSize ||
        nValue << nShift > kMaxSize)
        return false;
    nResult = static_cast<std::size_t>(nValue << nShift);
    return true;
}

// A level, a number of seconds, or both with a comma.
bool ParseFlush(std::string_view text, LogConfig& config)
{
    const std::size_t nComma = text.find(',');
    const std::string_view first = Trim(text.substr(0, nComma));
    Level level = config.flushLevel;
    int nSeconds = config.nFlushSeconds;
    if (nComma == std::string_view::npos) {
        if (!ParseLevel(first, level) && !ParseNumber(first, 1, kMaxFlushSeconds, nSeconds))
            return false;
    } else if (!ParseLevel(first, level) ||
               !ParseNumber(Trim(text.substr(nComma + 1)), 1, kMaxFlushSeconds, nSeconds)) {
        return false;
    }
    config.flushLevel = level;
    config.nFlushSeconds = nSeconds;
    return true;
}

bool ParseFile(std::string_view text, std::string& strFile)
{
    if (text.empty() || text.find('\0') != std::string_view::npos)
        return false;
    strFile = text;
    return true;
}

struct Key {
    std::string_view name;
    bool (*pfnParse)(std::string_view text, LogConfig& config);
    const char* pszExpected;
};

constexpr Key kKeys[] = {
    {"level", [](std::string_view text, LogConfig& config) { return ParseLevel(text, config.level); },
     "a level from Emerg to Trace"},
    {"file", [](std::string_view text, LogConfig& config) { return ParseFile(text, config.strFile); },
     "a file name"},
    {"max_size", [](std::string_view text, LogConfig& config) { return ParseSize(text, config.nMaxSize); },
     "a size from 1K to 1G"},
    {"max_files",
     [](std::string_view text, LogConfig& config) {
         return ParseNumber<std::size_t>(text, 1, kMaxFiles, config.nMaxFiles);
     },
     "a number from 1 to 1000"},
    {"flush", &ParseFlush, "a level, seconds from 1 to 3600, or both with a comma"},
    {"slow",
     [](std::string_view text, LogConfig& config) {
         return ParseNumber(text, 1, kMaxSlowLimit, config.nSlowLimit);
     },
     "milliseconds from 1 to 5000"},
    {"status_file",
     [](std::string_view text, LogConfig& config) { return ParseFile(text, config.strStatusFile); },
     "a file name"},
    {"status_every",
     [](std::string_view text, LogConfig& config) {
         return ParseNumber(text, 1, kMaxStatusSeconds, config.nStatusSeconds);
     },
     "seconds from 1 to 3600"},
};

// One line without its comment; the complaint about it, or empty.
std::string ParseLine(std::string_view line, LogConfig& config, std::set<std::string_view>& setSeen)
{
    const std::size_t nEquals = line.find('=');
    if (nEquals == std::string_view::npos)
        return Quote(line) + " is not of the form key = value";
    const std::string_view name = Trim(line.substr(0, nEquals));
    const std::string_view value = Trim(line.substr(nEquals + 1));
    for (const Key& key : kKeys) {
        if (key.name != name)
            continue;
        if (!key.pfnParse(value, config))
            return std::string(name) + " takes " + key.pszExpected + ", not " + Quote(value) +
                   "; what was in force before stays";
        if (!setSeen.insert(key.name).second)
            return std::string(name) + " is set again, and this one counts";
        return {};
    }
    return "the key " + Quote(name) + " is unknown";
}

// A comment begins with a '#' at the beginning of the line or after a blank.
std::string_view WithoutComment(std::string_view line)
{
    for (std::size_t n = 0; n < line.size(); ++n) {
        if (line[n] == '#' && (n == 0 || line[n - 1] == ' ' || line[n - 1] == '\t'))
            return line.substr(0, n);
    }
    return line;
}

// A name of a service or logger comes from the settings: it must not lead out of the directory.
std::string AsFileName(const std::string& strName)
{
    std::size_t nLength = std::min<std::size_t>(strName.size(), 100);
    while (nLength > 0 && nLength < strName.size() && (strName[nLength] & 0xC0) == 0x80)
        --nLength;  // not within a character
    std::string strResult = strName.substr(0, nLength);
    for (char& c : strResult) {
        if (static_cast<unsigned char>(c) < 0x20 ||
            std::string_view("/\\:*?\"<>|").find(c) != std::string_view::npos)
            c = '_';
    }
    return strResult;
}

std::string ReplaceAll(std::string strText, std::string_view what, const std::string& strWith)
{
    for (std::size_t n = strText.find(what); n != std::string::npos;
         n = strText.find(what, n + strWith.size()))
        strText.replace(n, what.size(), strWith);
    return strText;
}

}  // namespace

const char* GetLevelName(Level level) { return kLevelNames[static_cast<std::size_t>(level)]; }

LogConfig ParseLogConfig(std::string_view text)
{
    LogConfig config;
    std::set<std::string_view> setSeen;  // names of the table
    if (text.starts_with("\xEF\xBB\xBF"))
        text.remove_prefix(3);
    for (int nLine = 1; !text.empty(); ++nLine) {
        const std::size_t nEnd = std::min(text.find('\n'), text.size());
        const std::string_view line = Trim(WithoutComment(text.substr(0, nEnd)));
        text.remove_prefix(std::min(nEnd + 1, text.size()));
        if (line.empty())
            continue;
        const std::string strComplaint = ParseLine(line, config, setSeen);
        if (strComplaint.empty())
            continue;
        config.vecWarnings.push_back("line " + std::to_string(nLine) + ": " + strComplaint + ".");
        if (config.vecWarnings.size() == kMaxWarnings) {
            config.vecWarnings.push_back("Too many mistakes; the rest of the file is ignored.");
            break;
        }
    }
    return config;
}

std::string GetLogConfigKeys()
{
    std::string strKeys;
    for (const Key& key : kKeys)
        strKeys.append(strKeys.empty() ? "" : ", ").append(key.name);
    return strKeys;
}

bool ReadLogConfig(const std::string& strPath, std::string& strText)
{
    if (Host::FileExists(strPath) && !Host::IsRegularFile(strPath)) {  // opening a pipe would block the start
        Platova::FailWith(std::errc::invalid_argument);
        return false;
    }
    errno = 0;
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pFile(Host::OpenForReading(strPath), &std::fclose);
    if (pFile) {
        strText.resize(kMaxConfigBytes + 1);
        strText.resize(std::fread(strText.data(), 1, strText.size(), pFile.get()));
        if (strText.size() > kMaxConfigBytes)
            errno = EFBIG;
        else if (!std::ferror(pFile.get()))
            return true;
    }
    Platova::SetLastError(static_cast<unsigned int>(errno));
    return false;
}

std::string GetLogPath(const std::string& strText, const std::string& strConfigPath,
                       const std::string& strService, const std::string& strLogger)
{
    const auto name = [](const std::string& str) { return AsFileName(Host::PathFromText(str)); };
    std::string strFile = Host::PathFromText(strText);
    strFile = ReplaceAll(std::move(strFile), "{pid}", std::to_string(spdlog::details::os::pid()));
    strFile = ReplaceAll(std::move(strFile), "{logger}", name(strLogger));
    strFile = ReplaceAll(std::move(strFile), "{service}", name(strService));
    const bool bDrives = Host::GetPathSeparator() == std::string_view("\\");
    const std::string_view separators = bDrives ? "\\/" : "/";
    const bool bAbsolute = (!strFile.empty() && separators.find(strFile.front()) != std::string_view::npos) ||
                           (bDrives && strFile.size() > 1 && strFile[1] == ':');
    const std::size_t nSeparator = strConfigPath.find_last_of(separators);
    if (bAbsolute || nSeparator == std::string::npos)
        return strFile;
    return strConfigPath.substr(0, nSeparator + 1) + strFile;
}

}  // namespace Logova

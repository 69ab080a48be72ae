#include "check/LogFile.h"

#include <cstdlib>
#include <filesystem>

#include "config/ConfigReader.h"
#include "platform/Host.h"
#include "platform/common/LogConfig.h"

namespace Check {

namespace {

// The directory with the separator at its end; empty for a plain file name.
std::string DirectoryOf(const std::string& strPath)
{
    const std::string strSeparators = std::string("/") + Host::GetPathSeparator();
    return strPath.substr(0, strPath.find_last_of(strSeparators) + 1);
}

// What to do about one of the library's complaints, which are told apart by their words.
std::string CureOfComplaint(const std::string& strComplaint)
{
    const auto has = [&](const char* pszWords) { return strComplaint.find(pszWords) != std::string::npos; };
    if (has(" is unknown."))
        return "Use one of the keys " + Logova::GetLogConfigKeys() + ", in lower case.";
    if (has(" is set again"))
        return "Remove one of the two lines.";
    if (has(" is not of the form"))
        return "Write key = value, or begin a comment with #.";
    if (has("Too many mistakes"))
        return "Correct the first ones and check again.";
    return "Write such a value, or remove the line for the default.";
}

// A complaint of the library: "line 3: the key ... is unknown."
void AddComplaint(const std::string& strPath, const std::string& strComplaint, Report& report)
{
    constexpr std::string_view kLine = "line ";
    int nLine = 0;
    std::string strSentence = strComplaint;
    const std::size_t nColon = strComplaint.find(": ");
    if (strComplaint.starts_with(kLine) && nColon != std::string::npos) {
        nLine = std::atoi(strComplaint.c_str() + kLine.size());
        strSentence.erase(0, nColon + 2);
    }
    if (!strSentence.empty() && strSentence.front() >= 'a' && strSentence.starts_with("the "))
        strSentence.front() = 'T';
    report.Add({Weight::Warning, strPath, nLine, strSentence, CureOfComplaint(strSentence)});
}

// Of the file that this key of the log's configuration names.
void CheckPath(const std::string& strKey, const std::string& strConfigPath, const std::string& strFile,
               Report& report)
{
    const std::string strShown = Host::TextFromPath(strFile);
    const std::string strWhose = strKey == "file" ? "log" : "status file";
    const std::filesystem::path path(std::u8string(strFile.begin(), strFile.end()));
    std::error_code ignored;
    if (std::filesystem::is_directory(path, ignored)) {
        report.Add({Weight::Warning, strConfigPath, 0,
                    "The " + strWhose + "'s path is a directory: " + strShown + ".",
                    "Let the key " + strKey + " name a file."});
        return;
    }
    for (auto parent = path.parent_path(); !parent.empty(); parent = parent.parent_path()) {
        if (std::filesystem::is_directory(parent, ignored))
            break;
        if (std::filesystem::exists(parent, ignored)) {
            report.Add({Weight::Warning, strConfigPath, 0,
                        "A part of the " + strWhose + "'s path is a file and no directory: " + strShown + ".",
                        "Remove that file, or let the key " + strKey + " name another path."});
            return;
        }
    }
    report.Add({Weight::Note, "", 0, "The " + strWhose + " is " + strShown + ".", ""});
}

}  // namespace

void CheckLogFile(const std::string& strSettingsPath, Report& report)
{
    const CConfigReader& config = ConfigReader();
    const std::string strPath = DirectoryOf(strSettingsPath) + config.GetLogovaConfigFile();
    constexpr const char* kWithoutLog =
        "InitModule starts without a log and says \"Failed to initialize a logger.\"";
    if (!Host::FileExists(strPath)) {
        report.Add({Weight::Warning, strPath, 0,
                    "The log's configuration is not there. " + std::string(kWithoutLog),
                    "Put the file there, which may be empty, or correct LOGOVA_CONFIG_FILE."});
        return;
    }
    std::string strText;
    if (!Logova::ReadLogConfig(strPath, strText)) {
        report.Add({Weight::Warning, strPath, 0,
                    "The log's configuration cannot be read. " + std::string(kWithoutLog),
                    "It has to be a regular file of at most 64 KiB that this user may read."});
        return;
    }
    const Logova::LogConfig logConfig = Logova::ParseLogConfig(strText);
    for (const std::string& strComplaint : logConfig.vecWarnings)
        AddComplaint(strPath, strComplaint, report);
    const auto check = [&](const char* pszKey, const std::string& strFile) {
        CheckPath(pszKey, strPath,
                  Logova::GetLogPath(strFile, strPath, config.GetLogovaService(), config.GetLogovaLogger()),
                  report);
    };
    check("file", logConfig.strFile);
    if (!logConfig.strStatusFile.empty())
        check("status_file", logConfig.strStatusFile);
}

}  // namespace Check

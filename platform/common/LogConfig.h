// The configuration file of a log service; docs/log-config.md describes it for operators.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Logova {

// Most severe first, as in Logova.h.
enum class Level { Emerg, Alert, Fatal, Error, Warning, Notice, Info, Debug, Trace };

const char* GetLevelName(Level level);

struct LogConfig {
    Level level = Level::Info;  // the least severe one that is written
    std::string strFile = "log/{service}.{logger}.log";
    std::size_t nMaxSize = 16u << 20;  // bytes
    std::size_t nMaxFiles = 10;        // old ones, beside the current one
    Level flushLevel = Level::Error;   // the least severe one that is flushed at once
    int nFlushSeconds = 3;             // how often the rest is
    int nSlowLimit = 0;                // milliseconds; 0: no answer is reported as slow
    std::string strStatusFile;         // empty: none
    int nStatusSeconds = 1;            // how often it is written
    // What could not be understood, a sentence each; the value before stays in force.
    std::vector<std::string> vecWarnings;
};

// Never fails: what is wrong ends up in vecWarnings. Throws std::bad_alloc.
LogConfig ParseLogConfig(std::string_view text);

// The keys of the file, separated by commas.
std::string GetLogConfigKeys();

// The whole file; false if it cannot be read or is far too big for a configuration. The code is in
// Platova::GetLastError then.
bool ReadLogConfig(const std::string& strPath, std::string& strText);

// The path of a log or of a status file, which the configuration names strFile: the names put in for
// {service} and {logger}, the process id for {pid}, characters that cannot stand in a file name replaced, and
// the whole relative to the configuration file's directory. All of it becomes a path of platform/Host.h.
std::string GetLogPath(const std::string& strFile, const std::string& strConfigPath,
                       const std::string& strService, const std::string& strLogger);

}  // namespace Logova

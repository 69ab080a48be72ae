// velkar-load: many game servers and their users, played against a Velkar service over the wire.
#include <cstdio>
#include <exception>
#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <vector>

#include "load/Report.h"
#include "load/Run.h"
#include "load/Seed.h"
#include "platform/Program.h"
#include "sandbox/base/Files.h"

namespace {

using namespace Load;
using Sandbox::PathOf;

Json ReadJson(const std::string& strPath)
{
    std::ifstream file(PathOf(strPath));
    if (!file)
        throw std::runtime_error("The mix '" + strPath + "' cannot be read.");
    return Json::parse(file);
}

void WriteFile(const std::string& strPath, const std::string& strText)
{
    if (strPath.empty())
        return;
    std::ofstream file(PathOf(strPath), std::ios::trunc);
    file << strText;
    file.close();
    if (!file)
        throw std::runtime_error("The file '" + strPath + "' cannot be written.");
}

int Play(const Options& options)
{
    Mix mix = ReadMix(options.strMix.empty() ? Json::parse(kDefaultMix) : ReadJson(options.strMix));
    std::ofstream log;
    Run::Note pfnNote;
    if (!options.strLog.empty()) {
        log.open(PathOf(options.strLog), std::ios::trunc);
        pfnNote = [&log](const Call& call, const User& user, const char* pszOutcome) {
            log << call.GetName() << ' ' << UserID(user.nNumber) << ' ' << pszOutcome << '\n';
        };
    }
    const auto say = [](const std::string& strLine) {
        std::printf("%s\n", strLine.c_str());
        std::fflush(stdout);  // not every system has line buffers
    };
    Run run(options, mix, say, std::move(pfnNote));
    const Score& score = run.Execute();
    std::printf("%s", TableOf(options, mix, score).c_str());
    if (log.is_open() && !log.flush())
        throw std::runtime_error("The file '" + options.strLog + "' cannot be written.");
    WriteFile(options.strJson, JsonOf(options, mix, score));
    WriteFile(options.strSvg, PictureOf(options, mix, score));
    const CallScore sum = score.Sum();
    const bool bClean = sum.nRefused + sum.nLate + sum.nLost + score.nNotMade == 0 && score.nLinksLost == 0;
    return options.bStrict && !bClean ? kNotClean : kDone;
}

}  // namespace

int main(int argc, char** argv)
{
    Options options;
    const std::vector<const char*> vecArguments = Host::BeginProgram(argc, argv);
    if (const auto exitCode =
            ParseCommandLine(static_cast<int>(vecArguments.size()), vecArguments.data(), options))
        return *exitCode;
    try {
        if (options.bPrintMix)
            return std::fputs(kDefaultMix, stdout) < 0 ? kFailed : kDone;
        if (!options.strSeedFile.empty())
            return WriteSeed(options.strSeedFile, options.nUsers), kDone;
        return Play(options);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "velkar-load: %s\n", e.what());
        return kFailed;
    }
}

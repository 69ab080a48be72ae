#include "sandbox/Report.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>
#include <thread>

#include "sandbox/Asked.h"
#include "sandbox/Server.h"
#include "sandbox/base/Files.h"
#include "sandbox/base/Printable.h"

namespace Sandbox {
namespace {

std::string XmlText(const std::string& strText)
{
    std::string strXml;
    for (const char c : strText) {
        const bool bControl = static_cast<unsigned char>(c) < ' ' && c != '\n' && c != '\t';
        strXml += c == '&'   ? "&amp;"
                  : c == '<' ? "&lt;"
                  : c == '"' ? "&quot;"
                             : std::string(1, bControl ? '?' : c);
    }
    return strXml;
}

void WriteCoverage(int nHttpPort, const std::string& strPath)
{
    std::ofstream file(PathOf(strPath), std::ios::trunc);
    file << DumpJson(AskSandbox(nHttpPort, "GET /coverage", "", 200), 2) << '\n';
    file.close();
    if (!file)
        throw StartError("The file '" + strPath + "' cannot be written.");
}

}  // namespace

void Report::Play(const std::string& strStep, const std::function<void()>& step)
{
    Outcome outcome{.strStep = strStep};
    const auto start = std::chrono::steady_clock::now();
    try {
        step();
    } catch (const std::exception& e) {
        outcome.strFailure = e.what();
    }
    outcome.dSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    Add(std::move(outcome));
}

void Report::Skip(const std::string& strStep) { Add({.strStep = strStep, .bSkipped = true}); }

void Report::Add(Outcome outcome)
{
    m_nFailed += outcome.strFailure.empty() ? 0 : 1;
    m_nSkipped += outcome.bSkipped ? 1 : 0;
    const char* const pszWord = outcome.bSkipped ? "skipped" : outcome.strFailure.empty() ? "ok" : "FAILED";
    std::printf("%-8s %2zu  %s (%.1f s)\n", pszWord, m_vecOutcomes.size() + 1,
                Printable(outcome.strStep).c_str(), outcome.dSeconds);
    if (!outcome.strFailure.empty())
        std::printf("             %s\n", outcome.strFailure.c_str());
    std::fflush(stdout);
    m_vecOutcomes.push_back(std::move(outcome));
}

void Report::WriteJUnit(const std::string& strPath) const
{
    std::ofstream file(PathOf(strPath), std::ios::trunc);
    file << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuite name=\"" << XmlText(m_strName)
         << "\" tests=\"" << m_vecOutcomes.size() << "\" failures=\"" << m_nFailed << "\" skipped=\""
         << m_nSkipped << "\">\n";
    for (const Outcome& outcome : m_vecOutcomes) {
        file << "  <testcase classname=\"" << XmlText(m_strName) << "\" name=\"" << XmlText(outcome.strStep)
             << "\" time=\"" << outcome.dSeconds << "\">";
        if (outcome.bSkipped)
            file << "<skipped/>";
        if (!outcome.strFailure.empty())
            file << "<failure message=\"" << XmlText(outcome.strFailure) << "\"/>";
        file << "</testcase>\n";
    }
    file << "</testsuite>\n";
    file.close();
    if (!file)
        throw StartError("The file '" + strPath + "' cannot be written.");
}

Json AskSandbox(int nHttpPort, const std::string& strRequest, const std::string& strBody, int nStatus)
{
    Asked asked("127.0.0.1", nHttpPort, strRequest, strBody);
    const std::string strAnswer = asked.ReadAll();
    if (asked.GetStatus() != nStatus)
        throw StepFailed("answered " + std::to_string(asked.GetStatus()) + ": " + strAnswer);
    return Json::parse(strAnswer, nullptr, false);
}

int PlayAgainstGame(Options options, const PlayOptions& play, const std::string& strName,
                    const PlayAll& playAll)
{
    options.nPort = static_cast<unsigned short>(play.nPort);
    options.nHttpPort = static_cast<unsigned short>(play.nHttpPort);
    const SystemClock clock;
    const Console console(Verbosity::Quiet, [](const std::string&) {});
    Server server(options, clock, console);
    std::printf("%s: game servers connect to 127.0.0.1 port %d\n", Printable(strName).c_str(),
                server.GetPort());
    std::fflush(stdout);
    std::thread thread([&] { server.Run(); });
    Report report(strName);
    std::string strFailure;
    try {
        playAll(report, server.GetHttpPort());
        if (!play.strCoverage.empty())
            WriteCoverage(server.GetHttpPort(), play.strCoverage);
    } catch (const std::exception& e) {
        strFailure = e.what();
    }
    server.Stop();
    thread.join();
    if (!strFailure.empty())
        throw StartError(strFailure);
    if (!play.strJUnit.empty())
        report.WriteJUnit(play.strJUnit);
    std::printf("%s\n", report.HasPassed() ? "passed" : "FAILED");
    return report.HasPassed() ? kEnded : kStepHasFailed;
}

void PlayOptions::Describe(CLI::App& app, const char* pszFile)
{
    app.add_option("file", strFile, pszFile)->required();
    app.add_option("--port", nPort, "TCP port for the game server")
        ->check(CLI::Range(0, 65535))
        ->capture_default_str();
    app.add_option("--http-port", nHttpPort,
                   "TCP port of the HTTP interface and the page; 0 takes a free one")
        ->check(CLI::Range(0, 65535))
        ->capture_default_str();
    app.add_option("--junit", strJUnit, "File for the report of a build server");
    app.add_option("--coverage", strCoverage,
                   "File for what the game server has met, as GET /coverage shows it");
}

int RunPlayCommand(CLI::App& app, int argc, const char* const* argv, const PlayOptions& play,
                   const std::function<int()>& run)
{
    try {
        app.parse(argc, argv);
        return run();
    } catch (const CLI::ParseError& e) {
        return app.exit(e) == 0 ? kEnded : kBadCommandLine;
    } catch (const JsonError& e) {
        std::fprintf(stderr, "velkar-sandbox: %s: %s\n", play.strFile.c_str(), e.what());
    } catch (const std::exception& e) {
        std::fprintf(stderr, "velkar-sandbox: %s\n", e.what());
    }
    return kBadCommandLine;
}

}  // namespace Sandbox

#include "sandbox/Scenario.h"

#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <vector>

#include "sandbox/Asked.h"
#include "sandbox/Server.h"
#include "sandbox/base/Json.h"

namespace Sandbox {
namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kPollPause = std::chrono::milliseconds(50);
constexpr int kStepHasFailed = 1;
constexpr std::int64_t kMostSeconds = 3600;

// A step did not do what it should; the text says what was seen instead.
class StepFailed : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct Step {
    std::string strName;
    std::string strRequest{};  // "POST /fault"; empty: the step waits for a message
    Json body{};
    int nStatus = 200;
    Json holds = Json::object();   // by JSON pointer: what the answer holds there
    std::string strClass{};        // of the message that is waited for
    Json fields = Json::object();  // what it holds
    std::chrono::seconds patience{0};
};

struct Scenario {
    std::string strName;
    Options options;
    std::vector<Step> vecSteps;
};

struct Outcome {
    double dSeconds = 0;
    std::string strFailure{};  // empty: the step has passed
    bool bSkipped = false;
};

Json ObjectOf(JsonObject& object, const char* pszKey)
{
    const Json* const pJson = object.Find(pszKey);
    if (pJson != nullptr && !pJson->is_object())
        object.Fail(pszKey, "an object is expected");
    return pJson != nullptr ? *pJson : Json::object();
}

Step ReadStep(const Json& json, const std::string& strPlace)
{
    JsonObject object(json, strPlace);
    Step step;
    for (const char* const pszMethod : {"get", "post", "patch", "delete"}) {
        if (!object.Has(pszMethod))
            continue;
        if (!step.strRequest.empty())
            object.Fail(pszMethod, "a step does one thing");
        std::string strMethod = pszMethod;
        for (char& c : strMethod)
            c = static_cast<char>(c - 'a' + 'A');
        step.strRequest = strMethod + ' ' + object.Text(pszMethod, 500, nullptr);
    }
    step.strClass = object.Text("wait", 100, "");
    if (step.strRequest.empty() == step.strClass.empty())
        object.Fail("", "one of get, post, patch, delete and wait is expected");
    step.strName =
        object.Text("name", 200, (step.strClass.empty() ? step.strRequest : step.strClass).c_str());
    if (const Json* const pBody = object.Find("body"))
        step.body = *pBody;
    step.holds = ObjectOf(object, "holds");
    step.fields = ObjectOf(object, "fields");
    step.nStatus = static_cast<int>(object.Number("status", 100, 599, 200));
    step.patience =
        std::chrono::seconds(object.Number("seconds", 0, kMostSeconds, step.strClass.empty() ? 0 : 10));
    object.Done();
    return step;
}

Scenario ReadScenario(const std::string& strPath)
{
    std::ifstream file(strPath);
    if (!file)
        throw JsonError("The file cannot be read.");
    const Json json = Json::parse(file, nullptr, false);
    if (json.is_discarded())
        throw JsonError("The file is no JSON.");
    JsonObject object(json, "");
    Scenario scenario;
    scenario.strName = object.Text("name", 200, std::filesystem::path(strPath).stem().c_str());
    scenario.options.strSeed = object.Text("seed", 1000, "demo");
    if (scenario.options.strSeed != "demo" && scenario.options.strSeed != "none")
        scenario.options.strSeed = std::filesystem::path(strPath).parent_path() / scenario.options.strSeed;
    scenario.options.bSaveOnPurchase = object.Flag("saveOnPurchase");
    object.List("steps", [&](const Json& step, const std::string& strPlace) {
        scenario.vecSteps.push_back(ReadStep(step, strPlace));
    });
    object.Done();
    if (scenario.vecSteps.empty())
        object.Fail("steps", "is missing");
    return scenario;
}

// Plays the steps against the sandbox at that HTTP port.
class Player {
public:
    explicit Player(int nHttpPort) : m_nHttpPort(nHttpPort) {}

    void Play(const Step& step)
    {
        const auto deadline = Clock::now() + step.patience;
        for (;;) {
            try {
                return step.strClass.empty() ? Ask(step) : Find(step);
            } catch (const StepFailed&) {
                if (Clock::now() >= deadline)
                    throw;
            }
            std::this_thread::sleep_for(kPollPause);
        }
    }

private:
    Json Get(const std::string& strRequest, const std::string& strBody, int nStatus)
    {
        Asked asked("127.0.0.1", m_nHttpPort, strRequest, strBody);
        const std::string strAnswer = asked.ReadAll();
        if (asked.GetStatus() != nStatus)
            throw StepFailed("answered " + std::to_string(asked.GetStatus()) + ": " + strAnswer);
        return Json::parse(strAnswer, nullptr, false);
    }
    void Ask(const Step& step)
    {
        const Json answer =
            Get(step.strRequest, step.body.is_null() ? "" : DumpJson(step.body), step.nStatus);
        for (const auto& [strPointer, expected] : step.holds.items()) {
            const Json::json_pointer pointer(strPointer);
            if (!answer.contains(pointer))
                throw StepFailed("the answer has nothing at " + strPointer + ": " + DumpJson(answer));
            if (answer.at(pointer) != expected)
                throw StepFailed(strPointer + " is " + DumpJson(answer.at(pointer)) + " and not " +
                                 DumpJson(expected));
        }
    }
    // Takes the first such message behind the one that was taken last.
    void Find(const Step& step)
    {
        const Json answer = Get(
            "GET /messages?limit=500&class=" + Encoded(step.strClass) + "&since=" + std::to_string(m_nTaken),
            "", 200);
        std::string strOthers;
        for (const Json& message : answer.value("messages", Json::array())) {
            const Json& fields = message["fields"];
            const bool bIsIt = std::ranges::all_of(step.fields.items(), [&](const auto& item) {
                return fields.contains(item.key()) && fields[item.key()] == item.value();
            });
            if (bIsIt) {
                m_nTaken = message.value("number", std::int64_t{0});
                return;
            }
            strOthers = DumpJson(fields);
        }
        throw StepFailed(strOthers.empty() ? "no such message came"
                                           : "the last one of that class was " + strOthers);
    }

    const int m_nHttpPort;
    std::int64_t m_nTaken = 0;
};

std::vector<Outcome> PlayAll(const Scenario& scenario, int nHttpPort)
{
    Player player(nHttpPort);
    std::vector<Outcome> vecOutcomes;
    bool bFailed = false;
    for (std::size_t n = 0; n < scenario.vecSteps.size(); ++n) {
        Outcome outcome{.bSkipped = bFailed};
        const auto start = Clock::now();
        try {
            if (!bFailed)
                player.Play(scenario.vecSteps[n]);
        } catch (const std::exception& e) {
            outcome.strFailure = e.what();
            bFailed = true;
        }
        outcome.dSeconds = std::chrono::duration<double>(Clock::now() - start).count();
        const char* const pszWord = outcome.bSkipped ? "skipped" : bFailed ? "FAILED" : "ok";
        std::printf("%-8s %2zu  %s (%.1f s)\n", pszWord, n + 1, scenario.vecSteps[n].strName.c_str(),
                    outcome.dSeconds);
        if (!outcome.strFailure.empty())
            std::printf("             %s\n", outcome.strFailure.c_str());
        std::fflush(stdout);
        vecOutcomes.push_back(std::move(outcome));
    }
    return vecOutcomes;
}

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

// For build servers.
void WriteJUnit(const std::string& strPath, const Scenario& scenario, const std::vector<Outcome>& vecOutcomes)
{
    std::ofstream file(strPath, std::ios::trunc);
    const auto nFailed =
        std::ranges::count_if(vecOutcomes, [](const Outcome& o) { return !o.strFailure.empty(); });
    const auto nSkipped = std::ranges::count_if(vecOutcomes, &Outcome::bSkipped);
    file << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuite name=\"" << XmlText(scenario.strName)
         << "\" tests=\"" << vecOutcomes.size() << "\" failures=\"" << nFailed << "\" skipped=\"" << nSkipped
         << "\">\n";
    for (std::size_t n = 0; n < vecOutcomes.size(); ++n) {
        const Outcome& outcome = vecOutcomes[n];
        file << "  <testcase classname=\"" << XmlText(scenario.strName) << "\" name=\""
             << XmlText(scenario.vecSteps[n].strName) << "\" time=\"" << outcome.dSeconds << "\">";
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

int RunScenario(const Scenario& scenario, const std::string& strJUnit)
{
    const SystemClock clock;
    const Console console(Verbosity::Quiet, [](const std::string&) {});
    Server server(scenario.options, clock, console);
    std::printf("%s: game servers connect to 127.0.0.1 port %d\n", scenario.strName.c_str(),
                server.GetPort());
    std::fflush(stdout);
    std::thread thread([&] { server.Run(); });
    const std::vector<Outcome> vecOutcomes = PlayAll(scenario, server.GetHttpPort());
    server.Stop();
    thread.join();
    if (!strJUnit.empty())
        WriteJUnit(strJUnit, scenario, vecOutcomes);
    const bool bPassed = std::ranges::all_of(
        vecOutcomes, [](const Outcome& o) { return !o.bSkipped && o.strFailure.empty(); });
    std::printf("%s\n", bPassed ? "passed" : "FAILED");
    return bPassed ? kEnded : kStepHasFailed;
}

}  // namespace

int RunScenarioCommand(int argc, const char* const* argv)
{
    CLI::App app{"Plays a scenario against the game server that connects, and reports.",
                 "velkar-sandbox run"};
    std::string strPath, strJUnit;
    int nPort = Options().nPort, nHttpPort = 0;
    app.add_option("scenario", strPath, "The scenario, a JSON file")->required();
    app.add_option("--port", nPort, "TCP port for the game server")
        ->check(CLI::Range(0, 65535))
        ->capture_default_str();
    app.add_option("--http-port", nHttpPort,
                   "TCP port of the HTTP interface and the page; 0 takes a free one")
        ->check(CLI::Range(0, 65535))
        ->capture_default_str();
    app.add_option("--junit", strJUnit, "File for the report of a build server");
    try {
        app.parse(argc, argv);
        Scenario scenario = ReadScenario(strPath);
        scenario.options.nPort = static_cast<unsigned short>(nPort);
        scenario.options.nHttpPort = static_cast<unsigned short>(nHttpPort);
        return RunScenario(scenario, strJUnit);
    } catch (const CLI::ParseError& e) {
        return app.exit(e) == 0 ? kEnded : kBadCommandLine;
    } catch (const JsonError& e) {
        std::fprintf(stderr, "velkar-sandbox: %s: %s\n", strPath.c_str(), e.what());
    } catch (const std::exception& e) {
        std::fprintf(stderr, "velkar-sandbox: %s\n", e.what());
    }
    return kBadCommandLine;
}

}  // namespace Sandbox

#include "sandbox/Scenario.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <vector>

#include "sandbox/Asked.h"
#include "sandbox/Report.h"
#include "sandbox/base/Files.h"
#include "sandbox/base/Json.h"

namespace Sandbox {
namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kPollPause = std::chrono::milliseconds(50);
constexpr std::int64_t kMostSeconds = 3600;

struct Step {
    std::string strName;
    std::string strRequest{};  // "POST /fault"
    std::string strTell{};     // what whoever drives the game has to do
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
    step.strTell = object.Text("tell", 500, "");
    if (step.strRequest.empty() + step.strClass.empty() + step.strTell.empty() != 2)
        object.Fail("", "one of get, post, patch, delete, wait and tell is expected");
    if (step.strTell.find_first_of("\r\n") != std::string::npos)
        object.Fail("tell", "one line is expected");
    step.strName = object.Text("name", 200, (step.strRequest + step.strClass + step.strTell).c_str());
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
    std::ifstream file(PathOf(strPath));
    if (!file)
        throw JsonError("The file cannot be read.");
    const Json json = Json::parse(file, nullptr, false);
    if (json.is_discarded())
        throw JsonError("The file is no JSON.");
    JsonObject object(json, "");
    Scenario scenario;
    scenario.strName = object.Text("name", 200, TextOf(PathOf(strPath).stem()).c_str());
    scenario.options.strSeed = object.Text("seed", 1000, "demo");
    if (scenario.options.strSeed != "demo" && scenario.options.strSeed != "none")
        scenario.options.strSeed = TextOf(PathOf(strPath).parent_path() / PathOf(scenario.options.strSeed));
    scenario.options.bSaveOnPurchase = object.Flag("saveOnPurchase");
    object.List("steps", [&](const Json& step, const std::string& strPlace) {
        scenario.vecSteps.push_back(ReadStep(step, strPlace));
    });
    object.Done();
    if (scenario.vecSteps.empty())
        object.Fail("steps", "is missing");
    return scenario;
}

// Plays the steps against the sandbox at that HTTP port. What the game is told goes to the file, if there is
// one.
class Player {
public:
    Player(int nHttpPort, const std::string& strTell) : m_nHttpPort(nHttpPort), m_strTell(strTell) {}

    void Play(const Step& step)
    {
        const auto deadline = Clock::now() + step.patience;
        for (;;) {
            try {
                return !step.strTell.empty() ? Tell(step) : step.strClass.empty() ? Ask(step) : Find(step);
            } catch (const StepFailed&) {
                if (Clock::now() >= deadline)
                    throw;
            }
            std::this_thread::sleep_for(kPollPause);
        }
    }

private:
    void Ask(const Step& step)
    {
        const Json answer = AskSandbox(m_nHttpPort, step.strRequest,
                                       step.body.is_null() ? "" : DumpJson(step.body), step.nStatus);
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
        const Json answer = AskSandbox(
            m_nHttpPort,
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

    // A named pipe is opened only here, because that waits until somebody reads it.
    void Tell(const Step& step)
    {
        if (m_strTell.empty())
            return;
        if (!m_file.is_open())
            m_file.open(PathOf(m_strTell), std::ios::app);
        m_file << step.strTell << std::endl;
        if (!m_file)
            throw StepFailed("the file '" + m_strTell + "' cannot be written");
    }

    const int m_nHttpPort;
    const std::string m_strTell;
    std::ofstream m_file;
    std::int64_t m_nTaken = 0;
};

// The steps behind one that has failed are skipped.
void PlaySteps(const Scenario& scenario, const std::string& strTell, Report& report, int nHttpPort)
{
    Player player(nHttpPort, strTell);
    for (const Step& step : scenario.vecSteps) {
        if (report.HasPassed())
            report.Play(step.strName, [&] { player.Play(step); });
        else
            report.Skip(step.strName);
    }
}

}  // namespace

int RunScenarioCommand(int argc, const char* const* argv)
{
    CLI::App app{"Plays a scenario against the game server that connects, and reports.",
                 "velkar-sandbox run"};
    PlayOptions play;
    play.Describe(app, "The scenario, a JSON file");
    std::string strTell;
    app.add_option("--tell", strTell, "File or named pipe that gets what the game is told, a line a step");
    return RunPlayCommand(app, argc, argv, play, [&] {
        const Scenario scenario = ReadScenario(play.strFile);
        return PlayAgainstGame(scenario.options, play, scenario.strName, [&](Report& report, int nHttpPort) {
            PlaySteps(scenario, strTell, report, nHttpPort);
        });
    });
}

}  // namespace Sandbox

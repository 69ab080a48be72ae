#include "sandbox/Commands.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "sandbox/Asked.h"
#include "sandbox/Options.h"
#include "sandbox/Replay.h"
#include "sandbox/Scenario.h"
#include "sandbox/base/Json.h"
#include "sandbox/base/Printable.h"

namespace Sandbox {
namespace {

constexpr int kCannotAsk = 1;
// Of "coverage", which has something else to say with 1.
constexpr int kMissing = 1;
constexpr int kCannotAskForCoverage = 2;

int Fail(const std::string& strText)
{
    std::fprintf(stderr, "velkar-sandbox: %s\n", strText.c_str());
    return kCannotAsk;
}

int FailToAsk(const std::string& strText)
{
    Fail(strText);
    return kCannotAskForCoverage;
}

std::string AddressOf(const std::string& strHost, int nPort) { return strHost + ':' + std::to_string(nPort); }

// A control character of the wire must not reach the terminal; JSON escapes them, so a whole message is shown
// as its own text.
void Show(const Json& message)
{
    std::string strFaults;
    for (const Json& fault : message.value("faults", Json::array()))
        strFaults += "[" + fault.get<std::string>() + "] ";
    std::printf("%s %s %s %s%s %s\n", message.value("time", "").substr(11, 12).c_str(),
                Printable(message.value("connector", "")).c_str(),
                message.value("direction", "") == "in" ? "<-" : "->", strFaults.c_str(),
                message.value("class", "").c_str(), DumpJson(message["fields"]).c_str());
    std::fflush(stdout);
}

// Cuts server-sent events out of the bytes of the stream.
class EventReader {
public:
    void Add(const char* pBytes, std::size_t nSize)
    {
        m_strRest.append(pBytes, nSize);
        for (std::size_t nEnd; (nEnd = m_strRest.find("\n\n")) != std::string::npos;) {
            Take(m_strRest.substr(0, nEnd));
            m_strRest.erase(0, nEnd + 2);
        }
    }

private:
    static void Take(const std::string& strEvent)
    {
        constexpr char kData[] = "data: ";
        const std::size_t nData = strEvent.find(kData);
        if (nData == std::string::npos)
            return;
        const Json json = Json::parse(strEvent.substr(nData + sizeof(kData) - 1), nullptr, false);
        if (json.is_object() && json.contains("lost"))
            std::printf("... %s messages were too many and are left out\n", DumpJson(json["lost"]).c_str());
        else if (json.is_object() && json.contains("fields"))
            Show(json);
    }
    std::string m_strRest;
};

std::string QueryOf(const std::map<std::string, std::string>& mapFilter)
{
    std::string strQuery;
    for (const auto& [strKey, strValue] : mapFilter) {
        if (!strValue.empty())
            strQuery += (strQuery.empty() ? '?' : '&') + strKey + '=' + Encoded(strValue);
    }
    return strQuery;
}

int Follow(const std::string& strHost, int nPort, const std::map<std::string, std::string>& mapFilter)
{
    Asked asked(strHost, nPort, "GET /events" + QueryOf(mapFilter), "");
    if (asked.GetStatus() == 0)
        return Fail("There is no sandbox at " + AddressOf(strHost, nPort) + '.');
    if (asked.GetStatus() != 200)
        return Fail(asked.ReadAll());
    EventReader reader;
    for (std::string strBytes = asked.Read(); !strBytes.empty(); strBytes = asked.Read())
        reader.Add(strBytes.data(), strBytes.size());
    return Fail("The stream has ended.");
}

// "count=3" is a number, "name=abc" and "name=\"3\"" are texts: what is JSON is taken as such.
Json ArgumentsOf(const std::vector<std::string>& vecPairs)
{
    Json arguments = Json::object();
    for (const std::string& strPair : vecPairs) {
        const std::size_t nEqual = strPair.find('=');
        if (nEqual == 0 || nEqual == std::string::npos)
            throw CLI::ValidationError(strPair, "key=value is expected");
        const std::string strValue = strPair.substr(nEqual + 1);
        const Json value = Json::parse(strValue, nullptr, false);
        arguments[strPair.substr(0, nEqual)] = value.is_discarded() ? Json(strValue) : value;
    }
    return arguments;
}

int Trigger(const std::string& strHost, int nPort, const std::string& strName, const Json& arguments)
{
    Asked asked(strHost, nPort, "POST /trigger/" + strName, DumpJson(arguments));
    if (asked.GetStatus() == 0)
        return Fail("There is no sandbox at " + AddressOf(strHost, nPort) + '.');
    std::fputs(asked.ReadAll().c_str(), asked.GetStatus() == 200 ? stdout : stderr);
    return asked.GetStatus() == 200 ? kEnded : kCannotAsk;
}

// What game servers have met, group by group, and what to do for the rest.
int ShowCoverage(const std::string& strHost, int nPort, const std::map<std::string, std::string>& mapFilter)
{
    Asked asked(strHost, nPort, "GET /coverage" + QueryOf(mapFilter), "");
    if (asked.GetStatus() == 0)
        return FailToAsk("There is no sandbox at " + AddressOf(strHost, nPort) + '.');
    const std::string strAnswer = asked.ReadAll();
    const Json json = Json::parse(strAnswer, nullptr, false);
    if (asked.GetStatus() != 200 || !json.is_object())
        return FailToAsk(strAnswer);
    std::vector<std::pair<std::string, std::vector<Json>>> vecGroups;
    for (const Json& item : json["coverage"]) {
        if (vecGroups.empty() || vecGroups.back().first != item["group"])
            vecGroups.push_back({item["group"], {}});
        vecGroups.back().second.push_back(item);
    }
    for (const auto& [strGroup, vecItems] : vecGroups) {
        const auto nMet = std::ranges::count_if(vecItems, [](const Json& item) { return item["met"] != 0; });
        std::printf("%-11s %d of %zu\n", strGroup.c_str(), static_cast<int>(nMet), vecItems.size());
        for (const Json& item : vecItems) {
            if (item["met"] == 0)
                std::printf("   missing  %s\n            %s\n", item["what"].get<std::string>().c_str(),
                            item["next"].get<std::string>().c_str());
        }
    }
    std::printf("%d of %d are missing\n", json["missing"].get<int>(), json["items"].get<int>());
    return json["missing"] == 0 ? kEnded : kMissing;
}

}  // namespace

std::optional<int> RunCommand(int argc, const char* const* argv)
{
    const std::string strCommand = argc > 1 ? argv[1] : "";
    if (strCommand == "run")
        return RunScenarioCommand(argc - 1, argv + 1);
    if (strCommand == "replay")
        return RunReplayCommand(argc - 1, argv + 1);
    const std::map<std::string, const char*> kAsking = {
        {"follow", "Shows the messages of a running sandbox as they pass."},
        {"trigger", "Has a running sandbox send something to a game."},
        {"coverage", "Shows what game servers have met of what they should; 1 while something is missing."}};
    const auto itAsking = kAsking.find(strCommand);
    if (itAsking == kAsking.end())
        return std::nullopt;
    CLI::App app{itAsking->second, "velkar-sandbox " + strCommand};
    std::string strHost = "127.0.0.1", strName;
    int nPort = Options().nHttpPort;
    std::vector<std::string> vecPairs;
    std::map<std::string, std::string> mapFilter;
    app.add_option("--http-host", strHost, "Address of the sandbox's HTTP interface")->capture_default_str();
    app.add_option("--http-port", nPort, "Its port")->check(CLI::Range(1, 65535))->capture_default_str();
    if (strCommand == "follow") {
        for (const char* const pszName : {"user", "class", "connector"})
            app.add_option(std::string("--") + pszName, mapFilter[pszName], "Only messages of this one");
    } else if (strCommand == "coverage") {
        app.add_option("--connector", mapFilter["connector"], "Only what this one has met");
        app.add_option("--group", mapFilter["group"], "Only this group: calls, refusals, unanswered, ...");
    } else {
        app.add_option("name", strName, "The trigger, as GET /routes lists it")->required();
        app.add_option("arguments", vecPairs, "key=value, each");
    }
    try {
        app.parse(argc - 1, argv + 1);
        if (strCommand == "trigger")
            return Trigger(strHost, nPort, strName, ArgumentsOf(vecPairs));
        if (strCommand == "coverage")
            return ShowCoverage(strHost, nPort, mapFilter);
        return Follow(strHost, nPort, mapFilter);
    } catch (const CLI::ParseError& e) {
        return app.exit(e) == 0 ? kEnded : kBadCommandLine;
    }
}

}  // namespace Sandbox

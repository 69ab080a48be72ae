#include "sandbox/Commands.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "sandbox/Asked.h"
#include "sandbox/Options.h"
#include "sandbox/Scenario.h"
#include "sandbox/base/Json.h"
#include "sandbox/base/Printable.h"

namespace Sandbox {
namespace {

constexpr int kCannotAsk = 1;

int Fail(const std::string& strText)
{
    std::fprintf(stderr, "velkar-sandbox: %s\n", strText.c_str());
    return kCannotAsk;
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

int Follow(const std::string& strHost, int nPort, const std::map<std::string, std::string>& mapFilter)
{
    std::string strQuery;
    for (const auto& [strKey, strValue] : mapFilter) {
        if (!strValue.empty())
            strQuery += (strQuery.empty() ? '?' : '&') + strKey + '=' + Encoded(strValue);
    }
    Asked asked(strHost, nPort, "GET /events" + strQuery, "");
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

}  // namespace

std::optional<int> RunCommand(int argc, const char* const* argv)
{
    const std::string strCommand = argc > 1 ? argv[1] : "";
    if (strCommand == "run")
        return RunScenarioCommand(argc - 1, argv + 1);
    if (strCommand != "follow" && strCommand != "trigger")
        return std::nullopt;
    CLI::App app{strCommand == "follow" ? "Shows the messages of a running sandbox as they pass."
                                        : "Has a running sandbox send something to a game.",
                 "velkar-sandbox " + strCommand};
    std::string strHost = "127.0.0.1", strName;
    int nPort = Options().nHttpPort;
    std::vector<std::string> vecPairs;
    std::map<std::string, std::string> mapFilter;
    app.add_option("--http-host", strHost, "Address of the sandbox's HTTP interface")->capture_default_str();
    app.add_option("--http-port", nPort, "Its port")->check(CLI::Range(1, 65535))->capture_default_str();
    if (strCommand == "follow") {
        for (const char* const pszName : {"user", "class", "connector"})
            app.add_option(std::string("--") + pszName, mapFilter[pszName], "Only messages of this one");
    } else {
        app.add_option("name", strName, "The trigger, as GET /routes lists it")->required();
        app.add_option("arguments", vecPairs, "key=value, each");
    }
    try {
        app.parse(argc - 1, argv + 1);
        if (strCommand == "trigger")
            return Trigger(strHost, nPort, strName, ArgumentsOf(vecPairs));
        return Follow(strHost, nPort, mapFilter);
    } catch (const CLI::ParseError& e) {
        return app.exit(e) == 0 ? kEnded : kBadCommandLine;
    }
}

}  // namespace Sandbox

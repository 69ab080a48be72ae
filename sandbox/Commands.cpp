#include "sandbox/Commands.h"

#include <httplib.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "sandbox/Options.h"
#include "sandbox/base/Json.h"
#include "sandbox/base/Printable.h"

namespace Sandbox {
namespace {

constexpr int kCannotAsk = 1;
constexpr time_t kAnswerSeconds = 80;  // more than a trigger waits for its game

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

int Follow(httplib::Client& client, const std::string& strAddress, const httplib::Params& filter)
{
    client.set_read_timeout(kAnswerSeconds);
    EventReader reader;
    int nStatus = 0;
    std::string strError;
    const auto result = client.Get(
        httplib::append_query_params("/events", filter), httplib::Headers(),
        [&](const httplib::Response& response) {
            nStatus = response.status;
            return true;
        },
        [&](const char* pBytes, std::size_t nSize) {
            nStatus == 200 ? reader.Add(pBytes, nSize) : void(strError.append(pBytes, nSize));
            return true;
        });
    if (nStatus == 0)
        return Fail("There is no sandbox at " + strAddress + '.');
    return nStatus == 200 ? Fail("The stream has ended.") : Fail(strError);
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

int Trigger(httplib::Client& client, const std::string& strAddress, const std::string& strName,
            const Json& arguments)
{
    client.set_read_timeout(kAnswerSeconds);
    const auto result = client.Post("/trigger/" + strName, DumpJson(arguments), "application/json");
    if (!result)
        return Fail("There is no sandbox at " + strAddress + '.');
    std::fputs(result->body.c_str(), result->status == 200 ? stdout : stderr);
    return result->status == 200 ? kEnded : kCannotAsk;
}

}  // namespace

std::optional<int> RunCommand(int argc, const char* const* argv)
{
    const std::string strCommand = argc > 1 ? argv[1] : "";
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
        httplib::Client client(strHost, nPort);
        const std::string strAddress = AddressOf(strHost, nPort);
        if (strCommand == "trigger")
            return Trigger(client, strAddress, strName, ArgumentsOf(vecPairs));
        httplib::Params filter;
        for (const auto& [strKey, strValue] : mapFilter) {
            if (!strValue.empty())
                filter.emplace(strKey, strValue);
        }
        return Follow(client, strAddress, filter);
    } catch (const CLI::ParseError& e) {
        return app.exit(e) == 0 ? kEnded : kBadCommandLine;
    }
}

}  // namespace Sandbox

#include "sandbox/capi/Embedded.h"

#include <future>
#include <nlohmann/json.hpp>

#include "platform/common/SignalsBlocked.h"
#include "sandbox/base/Files.h"
#include "sandbox/control/EventQueue.h"
#include "sandbox/control/HttpReader.h"

namespace Sandbox {
namespace {

constexpr std::chrono::seconds kAnswerTime{75};  // more than the longest "timeoutMs" of a trigger
constexpr int kMaxDelay = 600'000;               // milliseconds
constexpr std::size_t kMaxPath = 4096;           // bytes

}  // namespace

EmbeddedOptions ReadEmbeddedOptions(const std::string& strJson)
{
    const Json json = Json::parse(strJson, nullptr, false);
    if (json.is_discarded())
        throw JsonError("The options are no JSON.");
    JsonObject object(json, "");
    EmbeddedOptions result;
    Options& options = result.options;
    if (const Json* const pSeed = object.Find("seed"); pSeed != nullptr && pSeed->is_object())
        options.strSeed = DumpJson(*pSeed);
    else
        options.strSeed = object.Text("seed", kMaxPath, "demo");
    options.nPort = static_cast<unsigned short>(object.Number("port", 0, 65535, 0));
    const Json* const pHttp = object.Find("httpPort");
    options.bHttp = pHttp == nullptr || !pHttp->is_boolean() || pHttp->get<bool>();
    options.nHttpPort = pHttp != nullptr && pHttp->is_boolean()
                            ? static_cast<unsigned short>(0)
                            : static_cast<unsigned short>(object.Number("httpPort", 0, 65535, 0));
    options.strDb = object.Text("db", kMaxPath, "");
    options.answerDelay = std::chrono::milliseconds(object.Number("answerDelay", 0, kMaxDelay, 0));
    options.bSaveOnPurchase = object.Flag("saveOnPurchase");
    options.verbosity = object.Flag("verbose") ? Verbosity::Verbose : Verbosity::Normal;
    result.strLogFile = object.Text("logFile", kMaxPath, "");
    object.Done();
    return result;
}

// The products and events are those of the demo's seed.
std::string SettingsText(int nPort)
{
    return R"(<?xml version="1.0" encoding="utf-8"?>
<TARVO>
    <module name="VELKAR">
        <group name="CONNECTOR_INFO">
            <property name="SERVER_IP" value="127.0.0.1"/>
            <property name="SERVER_PORT" value=")" +
           std::to_string(nPort) + R"("/>
            <property name="HEARTBEAT_CYCLE" value="10"/>
            <property name="RECONNECT_CYCLE" value="1"/>
            <property name="CHARGE_CYCLE" value="60"/>
            <property name="USE_USER_NUMBER" value="false"/>
        </group>
        <group name="BILLING_ID_INFO">
            <property name="ID_COUNT" value="3"/>
            <property_array name="1" size="3" value0="1001" value1="Monthly ticket" value2="1"/>
            <property_array name="2" size="3" value0="1002" value1="Hourly ticket" value2="2"/>
            <property_array name="3" size="3" value0="1003" value1="Monthly hours" value2="3"/>
        </group>
        <group name="SPECIFIC_EVENT_CODE_INFO">
            <property name="EVENT_CODE_COUNT" value="3"/>
            <property name="0" value="Billing time is over"/>
            <property name="1" value="Billing time ends soon"/>
            <property name="2" value="Checked out by force"/>
        </group>
        <group name="LOGOVA_INFO">
            <property name="LOGOVA_CONFIG_FILE" value="VelkarLog.conf"/>
            <property name="LOGOVA_SERVICE" value="VelkarConnector"/>
            <property name="LOGOVA_LOGGER" value="connector"/>
        </group>
    </module>
</TARVO>
)";
}

Embedded::Embedded(const EmbeddedOptions& options, Sink sink)
    : m_console(sink || !options.strLogFile.empty() ? options.options.verbosity : Verbosity::Quiet,
                MakeSink(options.strLogFile, std::move(sink)))
{
    const Kernova::Internal::SignalsBlocked blocked;
    m_pServer = std::make_unique<Server>(options.options, m_clock, m_console);
    m_pServer->SetListener([this](const LoggedMessage& message) { m_journal.Add(message); });
    m_thread = std::thread([this] { Run(); });
}

Embedded::~Embedded()
{
    m_pServer->Stop();
    m_thread.join();
}

Embedded::Sink Embedded::MakeSink(const std::string& strLogFile, Sink sink)
{
    if (!strLogFile.empty()) {
        m_logFile.open(PathOf(strLogFile), std::ios::trunc);
        if (!m_logFile)
            throw StartError("The log file '" + strLogFile + "' cannot be written.");
    }
    return [this, sink = std::move(sink)](const std::string& strLine) {
        if (m_logFile.is_open())
            m_logFile << strLine << std::endl;
        if (sink)
            sink(strLine);
    };
}

// Whatever comes out of one piece of work, the next one is done.
void Embedded::Run()
{
    for (;;) {
        try {
            return m_pServer->Run();
        } catch (const std::exception& e) {
            m_console.Say(std::string("Unexpected failure: ") + e.what());
        }
    }
}

HttpReply Embedded::Ask(const std::string& strRequest, const std::string& strBody)
{
    HttpRequest request;
    const std::size_t nBlank = std::min(strRequest.find(' '), strRequest.size());
    request.strMethod = strRequest.substr(0, nBlank);
    SplitTarget(std::string_view(strRequest).substr(std::min(nBlank + 1, strRequest.size())), request);
    request.strBody = strBody;
    const auto pReply = std::make_shared<std::promise<HttpReply>>();
    auto reply = pReply->get_future();
    m_pServer->Handle(std::move(request), [pReply](HttpReply r) { pReply->set_value(std::move(r)); });
    if (reply.wait_for(kAnswerTime) != std::future_status::ready)
        return ErrorReply(0, "The sandbox has not answered.");
    HttpReply result = reply.get();
    if (result.pEvents == nullptr)
        return result;
    result.pEvents->Close();
    return ErrorReply(400, "A stream can be had by HTTP alone; VelkarSandboxExpect waits for messages.");
}

void Embedded::SetAnswer(std::string strText)
{
    const std::lock_guard lock(m_mutex);
    m_mapAnswers[std::this_thread::get_id()] = std::move(strText);
}

const char* Embedded::GetAnswer()
{
    const std::lock_guard lock(m_mutex);
    return m_mapAnswers[std::this_thread::get_id()].c_str();
}

}  // namespace Sandbox

#include "load/Mix.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <utility>

#include "sandbox/wire/AnyMessage.h"
#include "sandbox/wire/Frames.h"
#include "sandbox/wire/MessageJson.h"

namespace Load {
namespace {

using Sandbox::JsonError;
using Sandbox::JsonObject;

constexpr std::pair<const char*, std::string Names::*> kNames[] = {
    {"{user}", &Names::strUser}, {"{no}", &Names::strNo},         {"{ip}", &Names::strIP},
    {"{seq}", &Names::strSeqNo}, {"{server}", &Names::strServer}, {"{serial}", &Names::strSerial},
};

// The pattern with names in the place of what stands in braces.
std::string Filled(const std::string& strPattern, const Names& names)
{
    std::string strText = strPattern;
    for (const auto& [pszName, pName] : kNames) {
        for (std::size_t n = strText.find(pszName); n != std::string::npos; n = strText.find(pszName))
            strText.replace(n, std::char_traits<char>::length(pszName), names.*pName);
    }
    return strText;
}

// One of those words.
template <class Value>
Value Choice(JsonObject& object, const char* pszKey, const char* pszDefault,
             std::initializer_list<std::pair<const char*, Value>> choices)
{
    const std::string strText = object.Text(pszKey, 20, pszDefault);
    std::string strAll;
    for (const auto& [pszChoice, value] : choices) {
        if (strText == pszChoice)
            return value;
        strAll += (strAll.empty() ? "" : ", ") + std::string(pszChoice);
    }
    object.Fail(pszKey, "one of these is expected: " + strAll);
}

}  // namespace

Call::Call(const Json& json, const std::string& strPlace)
{
    JsonObject object(json, strPlace);
    m_strName = object.Text("name", 40, nullptr);
    m_dWeight = static_cast<double>(object.Number("weight", 0, 1'000'000, 1));
    m_who = Choice<Who>(object, "who", "anybody",
                        {{"anybody", Who::Anybody}, {"in", Who::In}, {"out", Who::Out}});
    m_makes = Choice<Makes>(object, "makes", "nothing",
                            {{"nothing", Makes::Nothing}, {"in", Makes::In}, {"out", Makes::Out}});
    const Wirova::ClassInfo* const pInfo = Sandbox::FindClassByName(object.Text("message", 100, nullptr));
    if (pInfo == nullptr || !Sandbox::ComesFromConnector(*pInfo))
        object.Fail("message", "this is no message of a game server");
    m_pAnswer = Sandbox::AnswerOf(*pInfo);
    m_pRequest = pInfo->pfnMake();
    if (m_pAnswer == nullptr || !Sandbox::GetReqID(*m_pRequest))
        object.Fail("message", "this is no request that is answered by its Req ID");
    if (const Json* const pFields = object.Find("fields")) {
        JsonObject fields(*pFields, strPlace + " 'fields'");
        Sandbox::FieldsFromJson(*m_pRequest, fields, Sandbox::Naming::Argument);
        fields.Done();
    }
    object.Done();
    FindNames();
}

void Call::FindNames()
{
    Wirova::VisitMessage(*m_pRequest, [this](const char*, auto& field) {
        if constexpr (std::is_same_v<std::remove_reference_t<decltype(field)>, std::string>) {
            if (field.find('{') != std::string::npos)
                m_vecTexts.push_back({field, &field});
        }
    });
}

std::string Call::FrameFor(const Names& names, Wirova::int32 nReqID)
{
    for (const Text& text : m_vecTexts)
        *text.pField = Filled(text.strPattern, names);
    Sandbox::SetReqID(*m_pRequest, nReqID);
    return Sandbox::FrameOf(*m_pRequest);
}

Call* Mix::FindMaker(Makes makes)
{
    const auto it = std::ranges::find(vecCalls, makes, &Call::GetMakes);
    return it == vecCalls.end() ? nullptr : &*it;
}

Mix ReadMix(const Json& json)
{
    Mix mix;
    JsonObject object(json, "mix:");
    mix.strGame = object.Text("gameId", 20, nullptr);
    object.List("calls", [&](const Json& call, const std::string& strPlace) {
        mix.vecCalls.emplace_back(call, strPlace);
    });
    object.Done();
    double dWeight = 0;
    for (const Call& call : mix.vecCalls)
        dWeight += call.GetWeight();
    if (dWeight == 0)
        object.Fail("calls", "no call has a weight");
    const bool bOfUsersInside =
        std::ranges::any_of(mix.vecCalls, [](const Call& call) { return call.GetWho() == Who::In; });
    if (bOfUsersInside && mix.FindMaker(Makes::In) == nullptr)
        object.Fail("calls", "a call is for users who are in, and no call makes them so");
    return mix;
}

const char* const kDefaultMix = R"json({
  "gameId": "LOADGAME",
  "calls": [
    {"name": "checkin", "message": "XC2S_CheckInReq", "weight": 15, "who": "out", "makes": "in",
     "fields": {"userId": "{user}", "userIp": "{ip}"}},
    {"name": "checkout", "message": "XC2S_CheckOutReq", "weight": 15, "who": "in", "makes": "out",
     "fields": {"userId": "{user}", "seqNo": "{seq}"}},
    {"name": "billing", "message": "XC2S_QueryBillingInfoReq", "weight": 10, "who": "in",
     "fields": {"userId": "{user}", "userIp": "{ip}"}},
    {"name": "menu", "message": "XC2S_QueryMenuListReq", "weight": 10,
     "fields": {"gameId": "LOADGAME"}},
    {"name": "product", "message": "XC2S_QueryProductDetailReq", "weight": 15,
     "fields": {"gameId": "LOADGAME", "productId": "POTION"}},
    {"name": "coin", "message": "XC2S_QueryRuvcoinReq", "weight": 15, "who": "in",
     "fields": {"userId": "{user}"}},
    {"name": "purchase", "message": "XC2S_PurchaseProductReq", "weight": 5, "who": "in",
     "fields": {"gameId": "LOADGAME", "productId": "POTION", "userId": "{user}", "serverId": "{server}",
                "characterId": "hero", "recvUserId": "{user}", "recvServerId": "{server}",
                "recvCharacterId": "hero", "count": 1, "level": 1, "userIp": "{ip}"}},
    {"name": "storage", "message": "XC2S_SearchStorageReq", "weight": 15, "who": "in",
     "fields": {"gameId": "LOADGAME", "serverId": "{server}", "userId": "{user}", "characterId": "hero"}}
  ]
}
)json";

}  // namespace Load

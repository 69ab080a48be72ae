#include "sandbox/control/HttpExchange.h"

#include <nlohmann/json.hpp>

#include "sandbox/base/Printable.h"

namespace Sandbox {
namespace {

constexpr int kMaxBodyDepth = 8;  // levels of nesting

}  // namespace

Json QueryToJson(const HttpRequest& request, const Arguments& arguments)
{
    Json json = Json::object();
    for (const auto& [strKey, strValue] : request.mapQuery) {
        if (json.contains(strKey))
            throw HttpError(400, Quoted(strKey) + " is given twice.");
        json[strKey] = strValue;
    }
    for (const Argument& argument : arguments) {
        const auto it = json.find(argument.strName);
        const bool bText = argument.type == Argument::Type::Text || argument.type == Argument::Type::Date;
        if (it == json.end() || bText)
            continue;
        const Json value = Json::parse(it->get_ref<const std::string&>(), nullptr, false);
        if (value.is_primitive() && !value.is_discarded())
            *it = value;
    }
    return json;
}

Json ParseBody(const HttpRequest& request)
{
    try {
        return Json::parse(request.strBody.empty() ? "{}" : request.strBody,
                           [](int nDepth, Json::parse_event_t, Json&) {
                               if (nDepth > kMaxBodyDepth)
                                   throw HttpError(400, "The body is nested too deeply.");
                               return true;
                           });
    } catch (const Json::exception& e) {
        throw HttpError(400, std::string("The body is not JSON: ") + e.what());
    }
}

HttpReply JsonReply(int nStatus, const Json& json) { return {nStatus, DumpJson(json, 2) + '\n'}; }

HttpReply ErrorReply(int nStatus, const std::string& strText)
{
    return JsonReply(nStatus, {{"error", strText}});
}

}  // namespace Sandbox

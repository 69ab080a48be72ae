#include "sandbox/control/HttpExchange.h"

#include <charconv>
#include <nlohmann/json.hpp>

namespace Sandbox {
namespace {

constexpr int kMaxBodyDepth = 8;  // levels of nesting

}  // namespace

std::string Query(const HttpRequest& request, const std::string& strKey)
{
    const auto it = request.mapQuery.find(strKey);
    return it != request.mapQuery.end() ? it->second : "";
}

std::int64_t QueryNumber(const HttpRequest& request, const std::string& strKey, std::int64_t nMin,
                         std::int64_t nMax, std::int64_t nDefault)
{
    if (!request.mapQuery.contains(strKey))
        return nDefault;
    const std::string strValue = Query(request, strKey);
    std::int64_t nValue = 0;
    const char* const pEnd = strValue.data() + strValue.size();
    const auto [pStop, error] = std::from_chars(strValue.data(), pEnd, nValue);
    if (error != std::errc() || pStop != pEnd || nValue < nMin || nValue > nMax) {
        throw HttpError(400, strKey + ": a whole number from " + std::to_string(nMin) + " to " +
                                 std::to_string(nMax) + " is expected");
    }
    return nValue;
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

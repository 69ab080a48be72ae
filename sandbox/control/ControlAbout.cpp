// The routes that tell of the sandbox itself.
#include <algorithm>
#include <nlohmann/json.hpp>

#include "sandbox/base/DateText.h"
#include "sandbox/control/Control.h"

namespace Sandbox {

void Control::Routes(const Json&, const Respond& respond)
{
    Json list = Json::array();
    for (const Route& route : GetRoutes()) {
        list.push_back({{"method", route.strMethod},
                        {"path", route.strPath},
                        {"help", route.strHelp},
                        {"arguments", DescribeArguments(route.arguments)}});
    }
    respond(JsonReply(200, {{"routes", list}}));
}

// ---- the clock ----

namespace {

constexpr char kLastDate[] = "20991231235959";  // to which the clock can be moved
// An advance passes in so many steps, each with its sweep: a rule that waits for another one is met too.
constexpr std::int64_t kSteps = 64;

}  // namespace

void Control::ShowClock(const Json&, const Respond& respond)
{
    respond(JsonReply(200, {{"now", FormatDate(m_.clock.Now())}, {"aheadSeconds", m_.clock.GetAhead()}}));
}

void Control::AdvanceClock(const Json& given, const Respond& respond)
{
    if (given.contains("seconds") == given.contains("to"))
        throw JsonError("either 'seconds' or 'to' is expected");
    std::int64_t nLeft = given.value("seconds", std::int64_t{0});
    if (given.contains("to"))
        nLeft = *ParseDate(given["to"]) - m_.clock.Now();
    if (nLeft < 0)
        throw HttpError(409,
                        "It is " + FormatDate(m_.clock.Now()) + " already, and the clock does not go back.");
    if (FormatDate(m_.clock.Now() + nLeft) > kLastDate)
        throw HttpError(409, std::string("The clock goes to ") + kLastDate + " at most.");
    const std::int64_t nStep = (nLeft + kSteps - 1) / kSteps;
    for (; nLeft > 0; nLeft -= nStep) {
        m_.clock.Advance(std::min(nStep, nLeft));
        m_.service.Sweep();
    }
    ShowClock(given, respond);
}

}  // namespace Sandbox

// The routes that tell of the sandbox itself.
#include <nlohmann/json.hpp>

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

}  // namespace Sandbox

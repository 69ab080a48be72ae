#include "sandbox/control/Control.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "sandbox/base/Printable.h"
#include "sandbox/control/Page.h"

namespace Sandbox {

void Control::Handle(const HttpRequest& request, const Respond& answer)
{
    Respond respond = answer;
    if (const int nRecorded = m_.recorder.OnRequest(request); nRecorded != 0) {
        respond = [this, nRecorded, answer](HttpReply reply) {
            m_.recorder.OnAnswered(nRecorded, reply.nStatus);
            answer(std::move(reply));
        };
    }
    try {
        TryAgain([&] { Dispatch(request, respond); });
    } catch (const HttpError& e) {
        respond(ErrorReply(e.GetStatus(), e.what()));
    } catch (const JsonError& e) {
        respond(ErrorReply(400, e.what()));
    } catch (const StoreError& e) {
        m_.console.Say(std::string("The database has failed: ") + e.what());
        respond(ErrorReply(500, std::string("The database has failed: ") + e.what()));
    } catch (const std::exception& e) {
        respond(ErrorReply(500, std::string("Internal failure: ") + e.what()));
    }
}

void Control::Dispatch(const HttpRequest& request, const Respond& respond)
{
    ++m_nRequests;
    for (const PageFile& file : GetPageFiles()) {
        if (request.strMethod == "GET" && request.strPath == file.strPath)
            return respond({200, std::string(file.strText), file.pszType, nullptr});
    }
    bool bKnown = false;
    for (const Route& route : GetRoutes()) {
        if (request.strPath != route.strPath)
            continue;
        bKnown = true;
        if (request.strMethod != route.strMethod)
            continue;
        const bool bQuery = route.IsAskedByQuery();
        if (!bQuery && !request.mapQuery.empty())
            throw HttpError(400, "The arguments belong into the body.");
        const Json given = CheckArguments(bQuery ? QueryToJson(request, route.arguments) : ParseBody(request),
                                          route.arguments);
        if (request.strMethod != "GET")
            m_.console.Note("HTTP: " + request.strMethod + ' ' + Printable(request.strPath));
        if (given.value(kEverywhere, false))
            return RunEverywhere(route, given, respond);
        return route.run(*this, given, respond);
    }
    throw bKnown
        ? HttpError(405, Printable(request.strMethod) + " is not possible here.")
        : HttpError(404, "There is no " + Printable(request.strPath) + "; GET /routes lists what there is.");
}

void Control::RunEverywhere(const Route& route, Json given, const Respond& respond)
{
    if (given.contains("id"))
        throw HttpError(400, "An id belongs to one sandbox; everywhere all of them go.");
    HttpReply reply;
    route.run(*this, given, [&](HttpReply done) { reply = std::move(done); });
    given.erase(kEverywhere);
    try {
        m_.courier.TellOthers({.nKind = Letter::Order,
                               .strText = route.strMethod + ' ' + route.strPath,
                               .strBody = given.dump()});
    } catch (const StoreError& e) {
        throw HttpError(
            500, std::string("Done here, perhaps not elsewhere; the database has failed: ") + e.what());
    }
    respond(std::move(reply));
}

User Control::RequireUser(const std::string& strUser)
{
    auto user = m_.store.FindUser({strUser, false});
    if (!user)
        throw HttpError(404, "There is no user " + Quoted(strUser) + ".");
    return std::move(*user);
}

std::string Control::RequireGame(const Json& given)
{
    Catalogue& catalogue = m_.store.GetCatalogue();
    const auto vecGames = catalogue.GetGames();
    const std::string strGameID = given.value("gameId", vecGames.empty() ? std::string() : vecGames.front());
    if (!catalogue.HasGame(strGameID))
        throw HttpError(404, "There is no shop of the game " + Quoted(strGameID) + ".");
    return strGameID;
}

void Control::Reset(const Json&, const Respond& respond)
{
    Transaction transaction = m_.store.Begin(Access::Change);
    m_.store.HoldAll();
    m_.store.RemoveAllSessions();
    Restore(m_.store, m_.seed, m_.clock.Now());
    m_.courier.TellOthers({.nKind = Letter::Reset});
    transaction.Commit();
    ForgetOrders();
    respond(JsonReply(200, {{"users", m_.seed.listUsers.size()}}));
}

// What is left of a reset besides the database.
void Control::ForgetOrders()
{
    m_.faults.RemoveAll();
    m_.outages.RemoveAll();
    m_.log.Clear();
}

// What another sandbox of the studio has been told to do to all of them.
void Control::OnLetter(const Letter& letter)
{
    if (letter.nKind == Letter::Reset) {
        m_.console.Note("Reset by another sandbox.");
        ForgetOrders();
    } else if (letter.nKind == Letter::Clock) {
        m_.clock.Advance(std::max<std::int64_t>(letter.nValue - m_.clock.GetAhead(), 0));
    } else if (letter.nKind == Letter::Order) {
        Obey(letter);
    }
}

void Control::Obey(const Letter& letter)
{
    const std::string strWhat = "Order of another sandbox: " + Printable(letter.strText);
    try {
        for (const Route& route : GetRoutes()) {
            if (route.strMethod + ' ' + route.strPath == letter.strText)
                route.run(*this, Json::parse(letter.strBody), [](const HttpReply&) {});
        }
        m_.console.Note(strWhat);
    } catch (const std::exception& e) {
        m_.console.Say(strWhat + " is not possible here: " + e.what());
    }
}

void Control::ListFaults(const Json&, const Respond& respond)
{
    respond(JsonReply(200, {{"faults", m_.faults.List()}}));
}

void Control::AddFault(const Json& given, const Respond& respond)
{
    std::vector<std::string> vecUsers;
    if (const std::string strUser = given.value("user", ""); !strUser.empty()) {
        vecUsers.push_back(strUser);
        // A connector may name its users by number.
        if (const auto user = m_.store.FindUser({strUser, false}))
            vecUsers.push_back(user->strUserNo);
    }
    const Json fault = m_.faults.Add(given, m_nLastFault + 1, std::move(vecUsers));
    ++m_nLastFault;
    respond(JsonReply(200, fault));
}

void Control::RemoveFaults(const Json& given, const Respond& respond)
{
    if (!given.contains("id"))
        return respond(JsonReply(200, {{"removed", m_.faults.RemoveAll()}}));
    if (!m_.faults.Remove(given["id"]))
        throw HttpError(404, "There is no fault " + std::to_string(given["id"].get<int>()) + ".");
    respond(JsonReply(200, {{"removed", 1}}));
}

void Control::ListOutages(const Json&, const Respond& respond)
{
    respond(JsonReply(200, {{"outages", m_.outages.List()}}));
}

void Control::AddOutage(const Json& given, const Respond& respond)
{
    const Json outage = m_.outages.Add(given, m_nLastFault + 1);
    ++m_nLastFault;
    respond(JsonReply(200, outage));
}

void Control::RemoveOutages(const Json& given, const Respond& respond)
{
    if (!given.contains("id"))
        return respond(JsonReply(200, {{"removed", m_.outages.RemoveAll()}}));
    if (!m_.outages.Remove(given["id"]))
        throw HttpError(404, "There is no outage " + std::to_string(given["id"].get<int>()) + ".");
    respond(JsonReply(200, {{"removed", 1}}));
}

}  // namespace Sandbox

// A small game server that uses the Velkar Connector the way a game would.
//
//   game_server              plays the scenario below
//   game_server --console    takes the same commands from standard input, a line each
//
// Commands: "in USER IP" checks a user in, "out USER" checks a user out, "wait SECONDS" lets the game run.
// A "!" in front says that the command is meant to fail. The exit code is 0 only if every command did what
// it should.
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <mutex>
#include <queue>
#include <sstream>
#include <string>
#include <thread>

#include "VelkarConnector.h"

namespace {

// What the library tells us arrives on its own threads, and while we are in there it reads nothing else
// from the service. So a callback only posts, and the game's own thread does the work.
class EventQueue {
public:
    void Post(std::string strEvent)
    {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_events.push(std::move(strEvent));
        }
        m_cond.notify_one();
    }
    // Shows what comes in until the time is over.
    void Pump(std::chrono::milliseconds time)
    {
        const auto end = std::chrono::steady_clock::now() + time;
        std::unique_lock<std::mutex> lock(m_mutex);
        while (m_cond.wait_until(lock, end, [this] { return !m_events.empty(); })) {
            std::printf("  event: %s\n", m_events.front().c_str());
            m_events.pop();
        }
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_cond;
    std::queue<std::string> m_events;
};

EventQueue& Events()
{
    static EventQueue s_events;
    return s_events;
}

void OnBillingEvent(const _BILLING_NOTI_INFO* pInfo)
{
    Events().Post(std::string("billing event ") + std::to_string(pInfo->nEventCode) + " for " + pInfo->szUserKey);
}

void OnStorageNotice(const _STORAGE_NOTI_INFO* pInfo)
{
    Events().Post(std::to_string(pInfo->nItemCount) + " item(s) have arrived for " + pInfo->szUserKey);
}

// No answer is not a "no": the service may have done what we asked.
bool IsTimeout(const char* pszError) { return std::strstr(pszError, "because of timeout.") != nullptr; }

template <std::size_t N>
void Put(char (&szField)[N], const std::string& str)
{
    std::snprintf(szField, N, "%s", str.c_str());
}

_USER_REQ MakeUser(const std::string& strUser, const std::string& strIP)
{
    _USER_REQ req{};
    Put(req.szUserID, strUser);
    Put(req.szUserIP, strIP);
    return req;
}

bool CheckUserIn(const std::string& strUser, const std::string& strIP)
{
    const _USER_REQ req = MakeUser(strUser, strIP);
    _CHECKIN_RES res{};
    Checkin(&req, &res);
    if (res.nResult == 0) {
        std::printf("%s is in: product %d, billing id %d, %lld minutes left, term until %s\n", strUser.c_str(),
                    res.nProductID, res.nBillingID, res.nRemainMinutes, res.szEndDate[0] ? res.szEndDate : "-");
        return true;
    }
    if (IsTimeout(res.szError)) {
        // Unknown. If the service checks the user in after all, the library takes that back by itself, so
        // the user may simply try again.
        std::printf("%s: no answer, please try again\n", strUser.c_str());
        return false;
    }
    std::printf("%s may not play: %s (code %d)\n", strUser.c_str(), res.szError, res.nResult);
    return false;
}

bool CheckUserOut(const std::string& strUser)
{
    const _USER_REQ req = MakeUser(strUser, "");
    _RESULT_RES res{};
    Checkout(&req, &res);
    if (res.bSuccess == 1) {
        std::printf("%s is out\n", strUser.c_str());
        return true;
    }
    if (IsTimeout(res.szError)) {
        // Unknown, and the user is no longer in the library's list: the next list sync after a reconnect
        // settles it with the service.
        std::printf("%s: no answer to the checkout; gone from this server all the same\n", strUser.c_str());
        return false;
    }
    // "Failed to send" needs nothing from us: the library delivers the checkout after the next connection.
    std::printf("%s is not out at the service: %s\n", strUser.c_str(), res.szError);
    return false;
}

// One command; false if it did not do what it should.
bool Run(const std::string& strLine)
{
    std::istringstream words(strLine);
    std::string strCommand, strUser, strIP;
    words >> strCommand;
    if (strCommand.empty() || strCommand[0] == '#')
        return true;
    const bool bMeantToFail = strCommand[0] == '!';
    if (bMeantToFail)
        strCommand.erase(0, 1);

    bool bDone = false;
    if (strCommand == "in" && words >> strUser >> strIP) {
        bDone = CheckUserIn(strUser, strIP);
    } else if (strCommand == "out" && words >> strUser) {
        bDone = CheckUserOut(strUser);
    } else if (int nSeconds = 0; strCommand == "wait" && words >> nSeconds) {
        Events().Pump(std::chrono::seconds(nSeconds));
        bDone = true;
    } else {
        std::printf("not understood: %s\n", strLine.c_str());
        return false;
    }
    return bDone != bMeantToFail;
}

const char* const kScenario[] = {
    "in alice 10.0.0.1",
    "in bob 10.0.0.2",
    "in carol 10.0.0.3",
    "!in nobody 10.0.0.4",
    "wait 3",
    "out alice",
    "out bob",
    "out carol",
    "!out carol",
};

bool Play(bool bConsole)
{
    bool bGood = true;
    if (!bConsole) {
        for (const char* pszLine : kScenario) {
            std::printf("> %s\n", pszLine);
            bGood = Run(pszLine) && bGood;
        }
        return bGood;
    }
    for (std::string strLine; std::getline(std::cin, strLine);)
        bGood = Run(strLine) && bGood;
    return bGood;
}

}  // namespace

int main(int argc, char** argv)
{
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    const bool bConsole = argc > 1 && std::strcmp(argv[1], "--console") == 0;

    _CONNECTOR_ID id{};
    Put(id.GID, "DEMOGAME");
    Put(id.SID, "SERVER01");
    Put(id.WID, "WORLD01");
    _CONNECTOR_CALLBACKS callbacks{};  // a null entry is allowed
    callbacks.pfnBillingEvent = &OnBillingEvent;
    callbacks.pfnNotifyStorageInfo = &OnStorageNotice;

    char szError[1025];
    if (!InitModule(&id, &callbacks, szError, static_cast<int>(sizeof(szError)))) {
        std::printf("The connector does not start: %s\n", szError);
        return 1;
    }
    std::printf("The connector is registered at the service.%s%s\n", szError[0] ? " Note: " : "", szError);

    const bool bGood = Play(bConsole);

    UninitModule();
    std::printf(bGood ? "The connector has stopped; every step did what it should.\n"
                      : "The connector has stopped; at least one step went wrong.\n");
    return bGood ? 0 : 1;
}

#include "sandbox/Replay.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <list>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "sandbox/Likeness.h"
#include "sandbox/Recording.h"
#include "sandbox/Report.h"
#include "sandbox/base/Files.h"
#include "sandbox/wire/AnyMessage.h"
#include "sandbox/wire/MessageLog.h"

namespace Sandbox {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kLookPause{50};
constexpr milliseconds kSettled{1000};  // for which a message that differs has to be the only one that fits
constexpr int kMostFailed = 20;         // after so many failures the rest is skipped

struct ReplayOptions {
    double dSpeed = 0;  // 0: as soon as the messages before have come
    int nPatience = 10;
    std::vector<std::string> vecIgnored;
};

// What a library sends by its own clock is not compared: how often it comes depends on how long the run
// takes.
const std::set<std::string> kByTheClock = {"XC2S_Heartbeat", "XC2S_ChargeReq"};

// Of a recording nobody knows what its fields hold.
std::string FieldText(const Json& fields, const char* pszField)
{
    const auto it = fields.find(pszField);
    return it != fields.end() && it->is_string() ? it->get<std::string>() : "";
}

// A message of the replay that no recorded one has been matched with yet.
struct Live {
    std::string strLink, strClass;
    Json fields;
    Clock::time_point since;
};

class Replayer {
public:
    Replayer(const Recording& recording, const ReplayOptions& options, int nHttpPort)
        : m_recording(recording),
          m_options(options),
          m_nHttpPort(nHttpPort),
          m_likeness({options.vecIgnored.begin(), options.vecIgnored.end()})
    {
    }

    void PlayAll(Report& report)
    {
        std::int64_t msBefore = 0;
        for (const Recorded& line : m_recording.vecLines) {
            const milliseconds gap(std::max<std::int64_t>(line.ms - msBefore, 0));
            msBefore = line.ms;
            if (!line.strClass.empty() && (!line.bIn || IsIgnored(line.strClass))) {
                LearnFrom(line);
                continue;
            }
            const std::string strName = NameOf(line);
            if (report.GetFailed() >= kMostFailed)
                report.Skip(strName);
            else if (line.strClass.empty())
                report.Play(strName, [&] { Order(line); });
            else
                report.Play(strName, [&] { Expect(line, gap); });
        }
        report.Play("nothing came that was not recorded", [&] { ExpectNoMore(); });
    }

private:
    bool IsIgnored(const std::string& strClass) const
    {
        return kByTheClock.contains(strClass) || std::ranges::count(m_options.vecIgnored, strClass) > 0;
    }
    static std::string NameOf(const Recorded& line)
    {
        if (line.strClass.empty())
            return line.strRequest;
        const bool bRegisters = line.strClass == "XC2S_VelkarConnectReq";
        std::string strName = bRegisters ? FieldText(line.fields, "strGID") + '/' +
                                               FieldText(line.fields, "strSID") + '/' +
                                               FieldText(line.fields, "strWID")
                                         : line.strLink;
        strName += " sends " + line.strClass;
        for (const char* const pszUser : {"strUserID", "strUserNo"}) {
            if (const std::string strUser = FieldText(line.fields, pszUser); !strUser.empty())
                strName += ' ' + strUser;
        }
        return strName;
    }
    // A peer's address before its registration is another one each time.
    static bool IsOfLink(const Recorded& line, const Live& live)
    {
        const bool bRegistered = std::ranges::count(line.strLink, '/') >= 2;
        return live.strClass == line.strClass && (!bRegistered || live.strLink == line.strLink);
    }
    static bool IsOfUser(const Recorded& line, const Live& live)
    {
        return std::ranges::all_of(
            std::initializer_list<const char*>{"strUserID", "strUserNo"}, [&](const char* pszUser) {
                return FieldText(line.fields, pszUser) == FieldText(live.fields, pszUser);
            });
    }

    milliseconds Scaled(std::int64_t ms) const
    {
        return milliseconds(m_options.dSpeed > 0 ? std::llround(static_cast<double>(ms) / m_options.dSpeed)
                                                 : 0);
    }

    void Order(const Recorded& line)
    {
        if (m_options.dSpeed > 0 && m_start)
            std::this_thread::sleep_until(*m_start + Scaled(line.ms));
        AskSandbox(m_nHttpPort, line.strRequest, line.strBody, line.nStatus);
    }

    // Takes over what has passed since the last look.
    void Look()
    {
        for (;;) {
            const Json answer = AskSandbox(m_nHttpPort,
                                           "GET /messages?limit=" + std::to_string(MessageLog::kMaxMessages) +
                                               "&since=" + std::to_string(m_nSeen),
                                           "", 200);
            const Json& messages = answer["messages"];
            for (const Json& message : messages) {
                const std::int64_t nNumber = message["number"];
                if (nNumber != m_nSeen + 1 && !std::exchange(m_bLost, true))
                    std::printf(
                        "note: messages came faster than they could be read; some are missing here\n");
                m_nSeen = nNumber;
                const std::string strClass = message["class"];
                auto& list = message["direction"] == "in" ? m_listIn : m_listOut;
                if (!IsIgnored(strClass))
                    list.push_back({message["connector"], strClass, message["fields"], Clock::now()});
                if (m_listOut.size() > MessageLog::kMaxMessages)
                    m_listOut.pop_front();
            }
            if (messages.size() < MessageLog::kMaxMessages)
                return;
        }
    }

    // What the service sends follows from what it gets, and is not compared; it tells which numbers are
    // which.
    void LearnFrom(const Recorded& line)
    {
        if (line.bIn)
            return;
        const auto it = std::ranges::find_if(m_listOut, [&](const Live& live) {
            return IsOfLink(line, live) && IsOfUser(line, live) &&
                   m_likeness.AnswersTheSame(line.strClass, line.fields, live.fields);
        });
        if (it == m_listOut.end())
            return;
        m_likeness.Learn(line.strClass, line.fields, it->fields);
        m_listOut.erase(it);
    }

    // Waits for the message as long as it took in the recording, and for the patience more. One that is equal
    // in all that is compared is taken at once; one of the same user that differs, once no better one
    // follows.
    void Expect(const Recorded& line, milliseconds gap)
    {
        const auto deadline = Clock::now() + gap + std::chrono::seconds(m_options.nPatience);
        for (;;) {
            Look();
            const bool bEnd = Clock::now() >= deadline;
            auto itBest = m_listIn.end();
            std::vector<std::string> vecBest;
            for (auto it = m_listIn.begin(); it != m_listIn.end(); ++it) {
                if (!IsOfLink(line, *it))
                    continue;
                const auto vecDiffs = m_likeness.Compare(line.strClass, line.fields, it->fields);
                const bool bMayBe = IsOfUser(line, *it) ? Clock::now() - it->since >= kSettled : bEnd;
                if (!vecDiffs.empty() && !bMayBe && !bEnd)
                    continue;
                if (itBest == m_listIn.end() || vecDiffs.size() < vecBest.size()) {
                    itBest = it;
                    vecBest = vecDiffs;
                }
            }
            if (itBest != m_listIn.end())
                return Take(line, itBest, vecBest);
            if (bEnd)
                throw StepFailed("never came");
            std::this_thread::sleep_for(kLookPause);
        }
    }

    void Take(const Recorded& line, std::list<Live>::iterator it, const std::vector<std::string>& vecDiffs)
    {
        m_likeness.Learn(line.strClass, line.fields, it->fields);
        m_listIn.erase(it);
        if (!m_start)
            m_start = Clock::now() - Scaled(line.ms);
        if (vecDiffs.empty())
            return;
        std::string strText;
        for (const std::string& strDiff : vecDiffs)
            strText += (strText.empty() ? "" : "; ") + strDiff;
        throw StepFailed(strText);
    }

    void ExpectNoMore()
    {
        Look();
        std::map<std::string, int> mapMore;
        for (const Live& live : m_listIn)
            ++mapMore[live.strLink + ' ' + live.strClass];
        std::string strText;
        for (const auto& [strWhat, nCount] : mapMore)
            strText += (strText.empty() ? "" : ", ") + std::to_string(nCount) + " of " + strWhat;
        if (!strText.empty())
            throw StepFailed(strText);
    }

    const Recording& m_recording;
    const ReplayOptions& m_options;
    const int m_nHttpPort;
    // When the recorded sandbox would have started, counted back from the first message.
    std::optional<Clock::time_point> m_start;
    Likeness m_likeness;
    std::list<Live> m_listIn, m_listOut;  // from the connector and to it, oldest first
    std::int64_t m_nSeen = 0;
    bool m_bLost = false;
};

void CheckIgnored(const std::vector<std::string>& vecIgnored)
{
    for (const std::string& strName : vecIgnored) {
        if (strName.starts_with('X') && FindClassByName(strName) == nullptr)
            throw CLI::ValidationError(strName, "is no message class");
    }
}

}  // namespace

int RunReplayCommand(int argc, const char* const* argv)
{
    CLI::App app{"Plays a recorded run against the game server that connects, and compares.",
                 "velkar-sandbox replay"};
    PlayOptions play;
    ReplayOptions options;
    play.Describe(app, "The recording, as --record has written it");
    app.add_option(
           "--speed", options.dSpeed,
           "Orders at their recorded times, so many times as fast; unless given, as soon as the messages "
           "before them have come")
        ->check(CLI::Range(0.01, 1000.0));
    app.add_option("--patience", options.nPatience,
                   "Seconds for a message, beyond what it took in the recording")
        ->check(CLI::Range(0, 3600))
        ->capture_default_str();
    app.add_option("--ignore", options.vecIgnored, "A field or a message class that is not compared");
    return RunPlayCommand(app, argc, argv, play, [&] {
        CheckIgnored(options.vecIgnored);
        const Recording recording = ReadRecording(play.strFile);
        if (recording.bTruncated)
            std::printf("note: the recording ends within a line, which is left out\n");
        const std::string strName = TextOf(PathOf(play.strFile).filename());
        return PlayAgainstGame(recording.options, play, strName, [&](Report& report, int nHttpPort) {
            Replayer(recording, options, nHttpPort).PlayAll(report);
        });
    });
}

}  // namespace Sandbox

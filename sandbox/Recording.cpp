#include "sandbox/Recording.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>

#include "sandbox/Asked.h"
#include "sandbox/base/Files.h"
#include "sandbox/control/Recorder.h"

namespace Sandbox {
namespace {

constexpr std::size_t kMaxLine = 16u << 20;  // bytes
constexpr std::size_t kMaxFile = 512u << 20;
constexpr int kMaxDepth = 24;
constexpr std::int64_t kMaxTime = std::int64_t{366} * 24 * 3600 * 1000;  // milliseconds
constexpr std::size_t kMaxText = 1024;

Json ParseLine(const std::string& strLine)
{
    bool bDeep = false;
    Json json = Json::parse(
        strLine,
        [&](int nDepth, Json::parse_event_t, Json&) {
            bDeep |= nDepth > kMaxDepth;
            return !bDeep;
        },
        false);
    if (bDeep || json.is_discarded() || !json.is_object())
        throw JsonError("is no JSON object");
    return json;
}

void ReadHead(const Json& json, Options& options)
{
    JsonObject head(json, "");
    if (!head.Has("recording"))
        throw JsonError("is not the beginning of a recording");
    head.Number("recording", Recorder::kVersion, Recorder::kVersion);
    head.Text("version", kMaxText, "");
    options.strSeed = head.Text("seed", kMaxText, nullptr);
    options.bSaveOnPurchase = head.Flag("saveOnPurchase");
    options.answerDelay = std::chrono::milliseconds(head.Number("answerDelay", 0, 600'000, 0));
    if (const Json* const pSeed = head.Find("seedText"); pSeed != nullptr && pSeed->is_object())
        options.strSeed = DumpJson(*pSeed);
    else if (options.strSeed != "demo" && options.strSeed != "none")
        head.Fail("seedText", "is missing");
    head.Done();
}

// Statuses come in lines of their own, behind the requests that they belong to.
class LineReader {
public:
    explicit LineReader(std::vector<Recorded>& vecLines) : m_vecLines(vecLines) {}

    void Read(const Json& json)
    {
        JsonObject line(json, "");
        Recorded recorded;
        recorded.ms = line.Number("ms", 0, kMaxTime);
        if (line.Has("request"))
            return ReadRequest(line, std::move(recorded));
        if (line.Has("answered")) {
            const auto it = m_mapRequests.find(line.Number("answered", 1, INT32_MAX));
            if (it == m_mapRequests.end())
                line.Fail("answered", "there is no such request");
            m_vecLines[it->second].nStatus = static_cast<int>(line.Number("status", 100, 599));
            return;
        }
        recorded.strLink = line.Text("link", kMaxText, nullptr);
        if (line.Has("closed"))
            return;
        recorded.bIn = line.Has("in");
        recorded.strClass = line.Text(recorded.bIn ? "in" : "out", kMaxText, nullptr);
        const Json* const pFields = line.Find("fields");
        if (pFields == nullptr || !pFields->is_object())
            line.Fail("fields", "an object is expected");
        recorded.fields = *pFields;
        m_vecLines.push_back(std::move(recorded));
    }

private:
    void ReadRequest(JsonObject& line, Recorded recorded)
    {
        recorded.strRequest = line.Text("request", kMaxText, nullptr);
        const bool bKnown = std::ranges::any_of(
            std::initializer_list<const char*>{"POST /", "PATCH /", "DELETE /", "PUT /"},
            [&](const char* pszBegin) { return recorded.strRequest.starts_with(pszBegin); });
        if (!bKnown ||
            recorded.strRequest.find_first_of("\r\n ", recorded.strRequest.find('/')) != std::string::npos)
            line.Fail("request", "a method and a path are expected");
        if (const Json* const pBody = line.Find("body"))
            recorded.strBody = DumpJson(*pBody);
        if (const Json* const pQuery = line.Find("query"); pQuery != nullptr && pQuery->is_object()) {
            char c = '?';
            for (const auto& [strKey, value] : pQuery->items()) {
                recorded.strRequest +=
                    c + Encoded(strKey) + '=' + Encoded(value.is_string() ? value.get<std::string>() : "");
                c = '&';
            }
        }
        m_mapRequests[line.Number("number", 1, INT32_MAX)] = m_vecLines.size();
        m_vecLines.push_back(std::move(recorded));
    }

    std::vector<Recorded>& m_vecLines;
    std::map<std::int64_t, std::size_t> m_mapRequests;  // by number, where they are
};

}  // namespace

Recording ReadRecording(const std::string& strPath)
{
    std::ifstream file(PathOf(strPath), std::ios::binary);
    if (!file)
        throw JsonError("The file cannot be read.");
    Recording recording;
    LineReader reader(recording.vecLines);
    std::string strLine;
    std::size_t nLine = 0, nBytes = 0;
    while (std::getline(file, strLine)) {
        ++nLine;
        nBytes += strLine.size() + 1;
        recording.bTruncated = file.eof();  // no line end: whoever wrote it was killed
        if (recording.bTruncated && nLine > 1)
            break;
        try {
            if (strLine.size() > kMaxLine || nBytes > kMaxFile)
                throw JsonError("is too long, or the file is");
            const Json json = ParseLine(strLine);
            nLine == 1 ? ReadHead(json, recording.options) : reader.Read(json);
        } catch (const std::exception& e) {
            throw JsonError("line " + std::to_string(nLine) + ": " + e.what());
        }
    }
    if (nLine == 0)
        throw JsonError("The file is empty.");
    return recording;
}

}  // namespace Sandbox

// The status file's text. Both forms walk the same record.
#include <algorithm>
#include <cstdio>
#include <utility>

#include "base/TextField.h"
#include "comm/MessageCounts.h"
#include "comm/Status.h"

namespace {

constexpr const char* kStateNames[] = {"stopped", "connecting", "registering", "up"};

// A figure of the connector as a whole.
struct Figure {
    const char* pszName;  // without the prefix that all names share
    const char* pszType;
    const char* pszHelp;
    long long _CONNECTOR_STATUS::*pValue;
};
constexpr Figure kFigures[] = {
    {"connect_attempts_total", "counter", "Connections tried.", &_CONNECTOR_STATUS::nConnectAttempts},
    {"connects_total", "counter", "Connections that the service has accepted.",
     &_CONNECTOR_STATUS::nConnects},
    {"link_losses_total", "counter", "Accepted connections that were lost.", &_CONNECTOR_STATUS::nLinkLosses},
    {"users", "gauge", "Users known here.", &_CONNECTOR_STATUS::nUsers},
    {"waiters", "gauge", "Calls that wait for an answer.", &_CONNECTOR_STATUS::nWaiters},
    {"queued_bytes", "gauge", "Bytes that wait to be sent.", &_CONNECTOR_STATUS::nQueuedBytes},
    {"failed_checkouts", "gauge", "Checkouts that wait to be delivered.",
     &_CONNECTOR_STATUS::nFailedCheckouts},
};

// A figure of each message.
struct MessageFigure {
    const char* pszName;
    const char* pszJson;
    const char* pszHelp;
    long long _MESSAGE_STATUS::*pValue;
};
constexpr MessageFigure kMessageFigures[] = {
    {"messages_sent_total", "sent", "Messages accepted by a connection.", &_MESSAGE_STATUS::nSent},
    {"messages_refused_total", "refused", "Messages that could not be sent.", &_MESSAGE_STATUS::nRefused},
    {"messages_answered_total", "answered", "Requests whose answer came in time.",
     &_MESSAGE_STATUS::nAnswered},
    {"messages_timed_out_total", "timed_out", "Requests whose answer did not come in time.",
     &_MESSAGE_STATUS::nTimedOut},
};

template <class... Args>
void Append(std::string& out, const char* pszFormat, Args... args)
{
    char szText[256];
    const int nLength = std::snprintf(szText, sizeof(szText), pszFormat, args...);
    out.append(szText, std::min(static_cast<std::size_t>(nLength), sizeof(szText) - 1));
}

// The upper end of a bucket, in seconds, as a text; "+Inf" for the last one.
std::string BucketEnd(std::size_t nBucket)
{
    if (nBucket + 1 == kLatencyBuckets)
        return "+Inf";
    const long long nEnd = kFirstBucket << nBucket;  // nanoseconds
    std::string out;
    Append(out, "%lld.%04lld", nEnd / 1'000'000'000, nEnd / 100'000 % 10'000);
    return out;
}

// Milliseconds as seconds with three decimals, independent of the host's locale.
std::string Seconds(long long nMilliseconds)
{
    std::string out;
    Append(out, "%lld.%03lld", nMilliseconds / 1000, nMilliseconds % 1000);
    return out;
}

// A text of the game between quotes. Only plain characters stay: what reads the file wants UTF-8.
template <std::size_t N>
std::string Plain(const char (&szField)[N])
{
    std::string out(FieldText(szField));
    for (char& c : out) {
        if (c < ' ' || c > '~' || c == '"' || c == '\\')
            c = '_';
    }
    return out;
}

// ---- Prometheus ----

class Prometheus {
public:
    explicit Prometheus(const StatusOwner& owner)
        : m_strOwner("gid=\"" + Plain(owner.id.GID) + "\",sid=\"" + Plain(owner.id.SID) + "\",wid=\"" +
                     Plain(owner.id.WID) + '"')
    {
    }
    std::string Write(const _CONNECTOR_STATUS& status, const StatusOwner& owner)
    {
        Head("link_up", "gauge", "Whether the service has accepted the connection.");
        Sample("link_up", "", status.nLinkState == 3 ? "1" : "0");
        Head("link_state", "gauge", "0 stopped, 1 connecting, 2 registering, 3 up.");
        Sample("link_state", "", std::to_string(status.nLinkState));
        Head("link_since_timestamp_seconds", "gauge", "When this state of the link began.");
        Sample("link_since_timestamp_seconds", "", Seconds(status.nLinkSince));
        Head("status_timestamp_seconds", "gauge", "When this file was written.");
        Sample("status_timestamp_seconds", "", Seconds(owner.nTime));
        for (const Figure& figure : kFigures) {
            Head(figure.pszName, figure.pszType, figure.pszHelp);
            Sample(figure.pszName, "", std::to_string(status.*figure.pValue));
        }
        for (const MessageFigure& figure : kMessageFigures) {
            Head(figure.pszName, "counter", figure.pszHelp);
            for (int n = 0; n < status.nMessages; ++n)
                Sample(figure.pszName, MessageLabel(status.arrMessages[n]),
                       std::to_string(status.arrMessages[n].*figure.pValue));
        }
        Head("answer_seconds", "histogram", "Time from a call to its answer.");
        for (int n = 0; n < status.nMessages; ++n) {
            if (status.arrMessages[n].nAnswered != 0)
                Histogram(status.arrMessages[n]);
        }
        return std::move(m_out);
    }

private:
    static std::string MessageLabel(const _MESSAGE_STATUS& message)
    {
        return ",message=\"" + std::string(message.szName) + '"';
    }
    void Head(const char* pszName, const char* pszType, const char* pszHelp)
    {
        Append(m_out, "# HELP velkar_%s %s\n# TYPE velkar_%s %s\n", pszName, pszHelp, pszName, pszType);
    }
    void Sample(const char* pszName, const std::string& strLabels, const std::string& strValue)
    {
        m_out += std::string("velkar_") + pszName + '{' + m_strOwner + strLabels + "} " + strValue + '\n';
    }
    void Histogram(const _MESSAGE_STATUS& message)
    {
        long long nCount = 0;
        for (std::size_t n = 0; n < kLatencyBuckets; ++n) {
            nCount += message.arrLatency[n];
            Sample("answer_seconds_bucket", MessageLabel(message) + ",le=\"" + BucketEnd(n) + '"',
                   std::to_string(nCount));
        }
        std::string strSum;
        Append(strSum, "%lld.%06lld", message.nLatencyMicroseconds / 1'000'000,
               message.nLatencyMicroseconds % 1'000'000);
        Sample("answer_seconds_sum", MessageLabel(message), strSum);
        Sample("answer_seconds_count", MessageLabel(message), std::to_string(nCount));
    }

    const std::string m_strOwner;
    std::string m_out;
};

// ---- JSON ----

void AppendMessage(std::string& out, const _MESSAGE_STATUS& message)
{
    Append(out, "    {\"message\": \"%s\"", message.szName);
    for (const MessageFigure& figure : kMessageFigures)
        Append(out, ", \"%s\": %lld", figure.pszJson, message.*figure.pValue);
    Append(out, ", \"answer_seconds_sum\": %lld.%06lld", message.nLatencyMicroseconds / 1'000'000,
           message.nLatencyMicroseconds % 1'000'000);
    out += ", \"answer_seconds_buckets\": [";
    for (std::size_t n = 0; n < kLatencyBuckets; ++n)
        Append(out, n == 0 ? "%lld" : ", %lld", message.arrLatency[n]);
    out += "]}";
}

std::string JsonText(const _CONNECTOR_STATUS& status, const StatusOwner& owner)
{
    const _CONNECTOR_ID& id = owner.id;
    std::string out = "{\n  \"gid\": \"" + Plain(id.GID) + "\", \"sid\": \"" + Plain(id.SID) +
                      "\", \"wid\": \"" + Plain(id.WID) + "\",\n";
    out += "  \"status_timestamp_seconds\": " + Seconds(owner.nTime) + ",\n";
    const auto nState = static_cast<std::size_t>(status.nLinkState);
    Append(out, "  \"link_state\": \"%s\", \"link_up\": %s,\n", kStateNames[nState],
           status.nLinkState == 3 ? "true" : "false");
    out += "  \"link_since_timestamp_seconds\": " + Seconds(status.nLinkSince) + ",\n";
    for (const Figure& figure : kFigures)
        Append(out, "  \"%s\": %lld,\n", figure.pszName, status.*figure.pValue);
    out += "  \"answer_seconds_bucket_ends\": [";
    for (std::size_t n = 0; n + 1 < kLatencyBuckets; ++n)
        out += BucketEnd(n) + ", ";
    out += "null],\n  \"messages\": [\n";
    for (int n = 0; n < status.nMessages; ++n) {
        AppendMessage(out, status.arrMessages[n]);
        out += n + 1 < status.nMessages ? ",\n" : "\n";
    }
    return out + "  ]\n}\n";
}

}  // namespace

std::string StatusText(const _CONNECTOR_STATUS& status, const StatusOwner& owner, bool bJson)
{
    return bJson ? JsonText(status, owner) : Prometheus(owner).Write(status, owner);
}

// The only source that knows PostgreSQL's client library.
#include "sandbox/store/Postgres.h"

#include <dlfcn.h>
#include <libpq-fe.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <thread>
#include <vector>

#include "sandbox/store/PostgresText.h"

namespace Sandbox {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kReconnectPause{1000};
constexpr char kChannel[] = "velkar_sandbox";
// The first key of all advisory locks: sandboxes of other schemas are other studios.
constexpr char kLockClass[] = "(current_schema()::regnamespace::oid::bigint & 2147483647)::int";

// clang-format off
#define FOR_EACH_PQ(X)                                                                                \
    X(PQclear) X(PQcmdStatus) X(PQcmdTuples) X(PQconnectdbParams) X(PQconsumeInput)                   \
    X(PQenterPipelineMode) X(PQerrorMessage) X(PQexec) X(PQexecPrepared) X(PQexitPipelineMode)        \
    X(PQfinish) X(PQfreemem) X(PQgetResult) X(PQgetlength) X(PQgetvalue) X(PQnotifies) X(PQntuples)   \
    X(PQparameterStatus) X(PQpipelineSync) X(PQprepare) X(PQresultErrorField)                         \
    X(PQresultErrorMessage) X(PQresultStatus) X(PQsendQueryParams) X(PQsendQueryPrepared)             \
    X(PQsetNoticeProcessor) X(PQsocket) X(PQstatus)
// clang-format on

struct Library {
#define DECLARE_PQ(name) decltype(&::name) name;
    FOR_EACH_PQ(DECLARE_PQ)
    Library()
    {
        void* const handle = dlopen("libpq.so.5", RTLD_NOW | RTLD_LOCAL);
        if (handle == nullptr)
            throw StoreError(
                "PostgreSQL's client library libpq.so.5 is missing; Debian has it in the package "
                "libpq5");
#define LOAD_PQ(name)                                              \
    name = reinterpret_cast<decltype(name)>(dlsym(handle, #name)); \
    if (name == nullptr)                                           \
        throw StoreError("libpq.so.5 has no " #name ": it is too old, version 14 at least is needed");
        FOR_EACH_PQ(LOAD_PQ)
    }
};

const Library& Pq()
{
    static const Library library;
    return library;
}

struct ConnectionCloser {
    void operator()(PGconn* conn) const { Pq().PQfinish(conn); }
};
using ConnectionPtr = std::unique_ptr<PGconn, ConnectionCloser>;
struct ResultCloser {
    void operator()(PGresult* result) const { Pq().PQclear(result); }
};
using ResultPtr = std::unique_ptr<PGresult, ResultCloser>;

std::string Trimmed(const char* pszText)
{
    std::string strText = pszText;
    while (!strText.empty() && (strText.back() == '\n' || strText.back() == ' '))
        strText.pop_back();
    std::replace(strText.begin(), strText.end(), '\n', ' ');
    return strText;
}

[[noreturn]] void FailWith(PGconn* conn, PGresult* result)
{
    const char* const pszState = Pq().PQresultErrorField(result, PG_DIAG_SQLSTATE);
    const std::string strState = pszState != nullptr ? pszState : "";
    const std::string strText =
        Trimmed(result != nullptr ? Pq().PQresultErrorMessage(result) : Pq().PQerrorMessage(conn));
    // Serialisation, deadlock, and a row that another sandbox has added at the same time.
    if (strState == "40001" || strState == "40P01" || strState == "23505")
        throw StoreConflict(strText);
    throw StoreError(strText);
}

ResultPtr Checked(PGconn* conn, PGresult* pResult)
{
    ResultPtr result(pResult);
    const ExecStatusType status = Pq().PQresultStatus(pResult);
    if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK)
        FailWith(conn, pResult);
    return result;
}

ResultPtr Do(PGconn* conn, const std::string& strSql)
{
    return Checked(conn, Pq().PQexec(conn, strSql.c_str()));
}

// What the URL says goes before the first settings and not before the last ones. A sandbox that stands still
// in mid-transaction holds up the others no longer than the time limit there.
ConnectionPtr Connect(const std::string& strUrl)
{
    const char* const keys[] = {"connect_timeout",
                                "keepalives_idle",
                                "tcp_user_timeout",
                                "fallback_application_name",
                                "dbname",
                                "client_encoding",
                                nullptr};
    const char* const values[] = {"3", "10", "10000", "velkar-sandbox", strUrl.c_str(), "UTF8", nullptr};
    ConnectionPtr conn(Pq().PQconnectdbParams(keys, values, 1));
    if (conn == nullptr)
        throw StoreError("out of memory");
    if (Pq().PQstatus(conn.get()) != CONNECTION_OK)
        throw StoreError(Trimmed(Pq().PQerrorMessage(conn.get())));
    Pq().PQsetNoticeProcessor(
        conn.get(), [](void*, const char*) {}, nullptr);
    const std::string strEncoding = Pq().PQparameterStatus(conn.get(), "server_encoding");
    if (strEncoding != "UTF8" && strEncoding != "SQL_ASCII")
        throw StoreError("its encoding is " + strEncoding + ", which has to be UTF8");
    Do(conn.get(),
       "SET lock_timeout = '4s'; SET idle_in_transaction_session_timeout = '10s';"
       "SET default_transaction_isolation = 'read committed'");
    return conn;
}

// ---- the database and its statements ----

class PostgresDatabase final : public Database {
public:
    explicit PostgresDatabase(std::string strUrl) : m_strUrl(std::move(strUrl)), m_conn(Connect(m_strUrl)) {}

    std::unique_ptr<IPrepared> Prepare(const std::string& strSql) override;
    void Execute(const std::string& strSql) override
    {
        PGconn* const conn = Ready();
        BeginIfWanted(conn);
        Do(conn, ToPostgres(strSql));
    }
    bool IsShared() const override { return true; }
    std::unique_ptr<IPresence> Appear(std::int64_t nID, std::function<void()> wake) override;

    // The connection, opened again if it was lost and the pause is over. GetLife counts the connections.
    PGconn* Ready();
    void Forget(const std::string& strName) noexcept
    {
        if (IsConnected())
            Pq().PQclear(Pq().PQexec(m_conn.get(), ("DEALLOCATE " + strName).c_str()));
    }
    int GetLife() const { return m_nLife; }
    int GiveNumber() { return ++m_nLastNumber; }
    ResultPtr Run(PGconn* conn, const std::string& strName, int nParameters, const char* const* ppszValues,
                  const int* pLengths, const int* pFormats);

private:
    enum class State { None, Wanted, Open };

    void Begin(Access access) override { m_state = access == Access::Change ? State::Wanted : State::None; }
    void Commit() override;
    void RollBack() noexcept override;
    bool IsConnected() const { return m_conn != nullptr && Pq().PQstatus(m_conn.get()) == CONNECTION_OK; }
    void BeginIfWanted(PGconn* conn)
    {
        if (m_state == State::Wanted)
            Do(conn, "BEGIN");
        if (m_state == State::Wanted)
            m_state = State::Open;
    }

    const std::string m_strUrl;
    ConnectionPtr m_conn;
    int m_nLife = 1;
    int m_nLastNumber = 0;
    State m_state = State::None;  // Wanted: the first statement of the transaction begins it
    Clock::time_point m_nextTry{};
    std::string m_strWhy;
};

PGconn* PostgresDatabase::Ready()
{
    if (IsConnected())
        return m_conn.get();
    if (m_state == State::Open)
        throw StoreError("the connection to PostgreSQL was lost");
    if (Clock::now() < m_nextTry)
        throw StoreError(m_strWhy);
    m_conn.reset();
    try {
        m_conn = Connect(m_strUrl);
    } catch (const StoreError& e) {
        m_strWhy = e.what();
        m_nextTry = Clock::now() + kReconnectPause;
        throw;
    }
    ++m_nLife;
    return m_conn.get();
}

// A transaction that has run no statement has nothing to commit.
void PostgresDatabase::Commit()
{
    if (m_state == State::Open) {
        PGconn* const conn = Ready();
        const ResultPtr result(Pq().PQexec(conn, "COMMIT"));
        if (Pq().PQstatus(conn) != CONNECTION_OK)
            throw StoreUnknown("the connection to PostgreSQL was lost while a change was committed");
        if (Pq().PQresultStatus(result.get()) != PGRES_COMMAND_OK)
            FailWith(conn, result.get());
        if (std::string(Pq().PQcmdStatus(result.get())) != "COMMIT")
            throw StoreError("PostgreSQL has rolled the transaction back");
    }
    m_state = State::None;
}

void PostgresDatabase::RollBack() noexcept
{
    if (m_state == State::Open && IsConnected())
        Pq().PQclear(Pq().PQexec(m_conn.get(), "ROLLBACK"));
    m_state = State::None;
}

// The first statement of a transaction and its beginning go together, which saves a way there and back.
ResultPtr PostgresDatabase::Run(PGconn* conn, const std::string& strName, int nParameters,
                                const char* const* ppszValues, const int* pLengths, const int* pFormats)
{
    const Library& pq = Pq();
    if (m_state != State::Wanted) {
        return Checked(
            conn, pq.PQexecPrepared(conn, strName.c_str(), nParameters, ppszValues, pLengths, pFormats, 0));
    }
    m_state = State::Open;
    ResultPtr result;
    bool bWhole = false;
    if (pq.PQenterPipelineMode(conn) == 1 &&
        pq.PQsendQueryParams(conn, "BEGIN", 0, nullptr, nullptr, nullptr, nullptr, 0) == 1 &&
        pq.PQsendQueryPrepared(conn, strName.c_str(), nParameters, ppszValues, pLengths, pFormats, 0) == 1 &&
        pq.PQpipelineSync(conn) == 1) {
        // The beginning, a null, the statement, a null, and the mark of the end.
        for (const bool bStatement : {false, false, true, false, false}) {
            ResultPtr next(pq.PQgetResult(conn));
            bWhole = pq.PQresultStatus(next.get()) == PGRES_PIPELINE_SYNC;
            if (bStatement)
                result = std::move(next);
        }
    }
    if (!bWhole) {
        const std::string strWhy = Trimmed(pq.PQerrorMessage(conn));
        m_conn.reset();
        throw StoreError(strWhy);
    }
    pq.PQexitPipelineMode(conn);
    return Checked(conn, result.release());
}

class PostgresPrepared final : public IPrepared {
public:
    PostgresPrepared(PostgresDatabase& db, const std::string& strSql)
        : m_db(db), m_strSql(ToPostgres(strSql)), m_strName('s' + std::to_string(db.GiveNumber()))
    {
    }

    ~PostgresPrepared() override
    {
        if (m_nLife == m_db.GetLife())
            m_db.Forget(m_strName);
    }
    PostgresPrepared(const PostgresPrepared&) = delete;
    PostgresPrepared& operator=(const PostgresPrepared&) = delete;

    void Bind(int nIndex, std::int64_t nValue) override { Put(nIndex, std::to_string(nValue), kAsText); }
    void Bind(int nIndex, std::string_view strValue) override { Put(nIndex, ToUtf8(strValue), kAsBytes); }
    bool Step() override
    {
        if (m_result == nullptr)
            Run();
        return ++m_nRow < Pq().PQntuples(m_result.get());
    }
    void Rewind() noexcept override
    {
        m_result.reset();
        m_nRow = -1;
        m_nBound = 0;
    }
    int Changes() const override { return std::atoi(Pq().PQcmdTuples(m_result.get())); }
    std::int64_t Int(int nColumn) const override
    {
        return std::strtoll(Pq().PQgetvalue(m_result.get(), m_nRow, nColumn), nullptr, 10);
    }
    std::string Text(int nColumn) const override
    {
        return FromUtf8({Pq().PQgetvalue(m_result.get(), m_nRow, nColumn),
                         static_cast<std::size_t>(Pq().PQgetlength(m_result.get(), m_nRow, nColumn))});
    }

private:
    static constexpr int kAsText = 0, kAsBytes = 1;

    void Put(int nIndex, std::string strValue, int nFormat)
    {
        const auto n = static_cast<std::size_t>(nIndex);
        m_nBound = std::max(m_nBound, nIndex);
        m_vecValues.resize(std::max(m_vecValues.size(), n));
        m_vecFormats.resize(m_vecValues.size());
        m_vecValues[n - 1] = std::move(strValue);
        m_vecFormats[n - 1] = nFormat;
    }
    void Run()
    {
        PGconn* const conn = m_db.Ready();
        if (m_nLife != m_db.GetLife()) {
            Checked(conn, Pq().PQprepare(conn, m_strName.c_str(), m_strSql.c_str(), 0, nullptr));
            m_nLife = m_db.GetLife();
        }
        std::vector<const char*> vecPointers;
        std::vector<int> vecLengths;
        for (int i = 0; i < m_nBound; ++i) {
            vecPointers.push_back(m_vecValues[static_cast<std::size_t>(i)].c_str());
            vecLengths.push_back(static_cast<int>(m_vecValues[static_cast<std::size_t>(i)].size()));
        }
        m_result =
            m_db.Run(conn, m_strName, m_nBound, vecPointers.data(), vecLengths.data(), m_vecFormats.data());
    }

    PostgresDatabase& m_db;
    const std::string m_strSql, m_strName;
    int m_nLife = 0;  // of the connection that knows the statement
    std::vector<std::string> m_vecValues;
    std::vector<int> m_vecFormats;
    int m_nBound = 0;
    ResultPtr m_result;
    int m_nRow = -1;
};

std::unique_ptr<IPrepared> PostgresDatabase::Prepare(const std::string& strSql)
{
    return std::make_unique<PostgresPrepared>(*this, strSql);
}

// ---- presence ----

// A connection of its own that holds the lock of the sandbox's number and listens. A thread waits at it and
// opens it again when it is lost.
class Presence final : public Database::IPresence {
public:
    Presence(std::string strUrl, std::int64_t nID, std::function<void()> wake)
        : m_strUrl(std::move(strUrl)), m_strID(std::to_string(nID)), m_wake(std::move(wake))
    {
        Enter();
        if (pipe(m_stop.data()) != 0)
            throw StoreError("no pipe can be opened");
        m_thread = std::thread([this] { Watch(); });
    }
    ~Presence() override
    {
        close(m_stop[1]);
        m_thread.join();
        close(m_stop[0]);
    }
    Presence(const Presence&) = delete;
    Presence& operator=(const Presence&) = delete;

private:
    void Enter()
    {
        ConnectionPtr conn = Connect(m_strUrl);
        const ResultPtr held = Do(conn.get(), std::string("SELECT pg_try_advisory_lock(") + kLockClass +
                                                  ", " + m_strID + "), current_schema()");
        if (std::string(Pq().PQgetvalue(held.get(), 0, 0)) != "t")
            throw StoreError("the connection before has not ended yet");
        m_strPayload = std::string(Pq().PQgetvalue(held.get(), 0, 1)) + '.' + m_strID;
        Do(conn.get(), std::string("LISTEN ") + kChannel);
        m_conn = std::move(conn);
    }
    // False once the thread is to end.
    bool Wait(int nSocket, int msTimeout)
    {
        pollfd fds[] = {{m_stop[0], POLLIN, 0}, {nSocket, POLLIN, 0}};
        poll(fds, nSocket >= 0 ? 2 : 1, msTimeout);
        return fds[0].revents == 0;
    }
    void Watch()
    {
        while (Wait(m_conn != nullptr ? Pq().PQsocket(m_conn.get()) : -1,
                    m_conn != nullptr ? -1 : static_cast<int>(kReconnectPause.count()))) {
            try {
                if (m_conn == nullptr) {
                    Enter();
                    m_wake();  // letters may have come meanwhile
                } else if (Pq().PQconsumeInput(m_conn.get()) == 0) {
                    m_conn.reset();
                }
            } catch (const StoreError&) {
            }
            bool bMeant = false;
            while (PGnotify* const notify = m_conn != nullptr ? Pq().PQnotifies(m_conn.get()) : nullptr) {
                bMeant |= m_strPayload == notify->extra;
                Pq().PQfreemem(notify);
            }
            if (bMeant)
                m_wake();
        }
    }

    const std::string m_strUrl, m_strID;
    const std::function<void()> m_wake;
    std::string m_strPayload;
    ConnectionPtr m_conn;
    std::array<int, 2> m_stop{};
    std::thread m_thread;
};

std::unique_ptr<Database::IPresence> PostgresDatabase::Appear(std::int64_t nID, std::function<void()> wake)
{
    return std::make_unique<Presence>(m_strUrl, nID, std::move(wake));
}

}  // namespace

std::unique_ptr<Database> OpenPostgres(const std::string& strUrl)
{
    return std::make_unique<PostgresDatabase>(strUrl);
}

}  // namespace Sandbox

#include "sandbox/store/Store.h"

#include <algorithm>

#include "sandbox/store/Postgres.h"
#include "sandbox/store/Sqlite.h"

namespace Sandbox {
namespace {

constexpr int kApplicationID = 0x56534258;  // marks a database file as a sandbox's
constexpr int kSchemaVersion = 3;           // 1 had no shop, 2 counted what is sold order by order

constexpr char kSchema[] = R"(
CREATE TABLE user (
    id INTEGER PRIMARY KEY,
    user_id TEXT NOT NULL UNIQUE,
    user_no TEXT NOT NULL UNIQUE,
    bill_type INTEGER NOT NULL,
    product_id INTEGER NOT NULL,
    remain_minutes INTEGER NOT NULL,
    crm_code TEXT NOT NULL,
    end_date TEXT NOT NULL,
    term_seconds INTEGER NOT NULL,
    free INTEGER NOT NULL,
    pc_cafe INTEGER NOT NULL,
    result INTEGER NOT NULL,
    result_text TEXT NOT NULL);
CREATE TABLE other_billing (
    user INTEGER NOT NULL REFERENCES user,
    bill_type INTEGER NOT NULL,
    product_id INTEGER NOT NULL,
    remain_minutes INTEGER NOT NULL,
    crm_code TEXT NOT NULL,
    end_date TEXT NOT NULL);
CREATE INDEX other_billing_user ON other_billing (user);
CREATE TABLE connector (
    id INTEGER PRIMARY KEY,
    gid TEXT NOT NULL,
    sid TEXT NOT NULL,
    wid TEXT NOT NULL,
    UNIQUE (gid, sid, wid));
CREATE TABLE session (
    seq_no INTEGER PRIMARY KEY,
    user INTEGER NOT NULL UNIQUE REFERENCES user,
    connector INTEGER NOT NULL REFERENCES connector,
    by_number INTEGER NOT NULL,
    user_ip TEXT NOT NULL,
    end_date TEXT NOT NULL,
    confirmed INTEGER NOT NULL,
    moving_since INTEGER NOT NULL);
CREATE INDEX session_connector ON session (connector);
CREATE INDEX session_moving ON session (moving_since) WHERE moving_since > 0;
CREATE TABLE counter (last_seq_no INTEGER NOT NULL);
)";

// The first Seq No of a new database. A sandbox without a file has a new database in each run, while
// connectors still hold Seq Nos of the run before; so the first number follows the calendar, four numbers for
// each second since 2026. Connectors keep 31 bits of a Seq No, which are used up in 2043.
std::int64_t FirstSeqNo(std::time_t now)
{
    constexpr std::time_t kYear2026 = 1767225600;
    return std::clamp<std::int64_t>(now - kYear2026, 250, INT32_MAX / 4 - 1) * 4;
}

std::int64_t GetNumber(Database& db, const char* pszSql)
{
    std::int64_t nValue = 0;
    Statement(db, pszSql).ForEach([&](const Statement& row) { nValue = row.Int(0); });
    return nValue;
}

// Makes the tables that are missing. Throws StoreError for the database of another program or of a newer
// sandbox, and has changed nothing in it then.
void PrepareFile(Database& db, std::time_t now)
{
    const bool bNew = GetNumber(db, "SELECT count(*) FROM sqlite_master") == 0;
    if (!bNew && GetNumber(db, "PRAGMA application_id") != kApplicationID)
        throw StoreError("this database belongs to another program");
    const std::int64_t nVersion = GetNumber(db, "PRAGMA user_version");
    if (!bNew && (nVersion < 1 || nVersion > kSchemaVersion)) {
        throw StoreError("its tables are of version " + std::to_string(nVersion) +
                         ", this program knows versions 1 to " + std::to_string(kSchemaVersion));
    }
    // The lock keeps a second process out of the file. The write-ahead log keeps committed changes even if
    // the process is killed.
    db.Execute(
        "PRAGMA locking_mode = EXCLUSIVE; PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL;"
        "PRAGMA foreign_keys = ON; BEGIN EXCLUSIVE; COMMIT");
    if (!bNew && nVersion == kSchemaVersion)
        return;
    Transaction transaction(db, Access::Change);
    if (bNew) {
        db.Execute(kSchema);
        Statement(db, "INSERT INTO counter VALUES (?)").Run(FirstSeqNo(now));
    }
    db.Execute((bNew || nVersion == 1 ? Catalogue::Schema() + Ledger::Schema() : "") + Ledger::SoldSchema());
    db.Execute("PRAGMA application_id = " + std::to_string(kApplicationID) +
               "; PRAGMA user_version = " + std::to_string(kSchemaVersion));
    transaction.Commit();
}

// The same for a database that several sandboxes share.
void PrepareShared(Database& db, std::time_t now)
{
    Transaction transaction(db, Access::Change);
    Studio::LockStart(db);
    const char* const pszTables =
        "SELECT count(*) FROM pg_class WHERE relnamespace = current_schema()::regnamespace AND relkind = 'r'";
    if (GetNumber(db, pszTables) == 0) {
        db.Execute(kSchema + Catalogue::Schema() + Ledger::Schema() + Studio::Schema());
        Statement(db, "INSERT INTO studio VALUES (?, 0)").Run(kSchemaVersion);
        Statement(db, "SELECT setval('seq_no', ?)").Run(FirstSeqNo(now));
    } else if (GetNumber(db, (std::string(pszTables) + " AND relname IN ('studio', 'shop_sold')").c_str()) !=
               2) {
        throw StoreError("this database belongs to another program");
    } else if (const std::int64_t nVersion = GetNumber(db, "SELECT version FROM studio");
               nVersion != kSchemaVersion) {
        throw StoreError("its tables are of version " + std::to_string(nVersion) +
                         ", this program knows version " + std::to_string(kSchemaVersion));
    }
    transaction.Commit();
}

std::unique_ptr<Database> Open(const std::string& strDb, std::time_t now)
{
    std::unique_ptr<Database> pDb;
    if (IsPostgres(strDb))
        pDb = OpenPostgres(strDb);
    else
        pDb = std::make_unique<SqliteDatabase>(strDb);
    pDb->IsShared() ? PrepareShared(*pDb, now) : PrepareFile(*pDb, now);
    return pDb;
}

Billing BillingOf(const Statement& row, int nColumn)
{
    return {static_cast<int>(row.Int(nColumn)), static_cast<int>(row.Int(nColumn + 1)), row.Int(nColumn + 2),
            row.Text(nColumn + 3), row.Text(nColumn + 4)};
}

#define SELECT_USER                                                                            \
    "SELECT id, user_id, user_no, bill_type, product_id, remain_minutes, crm_code, end_date, " \
    "term_seconds, free, pc_cafe, result, result_text FROM user WHERE "
// The user stands first, because rows are kept in this order.
#define SELECT_SESSION                                                                         \
    "SELECT seq_no, user, connector, user_id, user_no, by_number, user_ip, session.end_date, " \
    "moving_since FROM user JOIN session ON user.id = session.user WHERE "

}  // namespace

struct Store::Statements {
    explicit Statements(Database& database) : db(database) {}
    Database& db;

    Statement addUser{db,
                      "INSERT INTO user (user_id, user_no, bill_type, product_id, remain_minutes, crm_code,"
                      " end_date, term_seconds, free, pc_cafe, result, result_text)"
                      " VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?) ON CONFLICT (user_id) DO NOTHING"
                      " RETURNING id"};
    Statement users{db, SELECT_USER "true ORDER BY id LIMIT ?"};
    Statement restoreUser{db,
                          "UPDATE user SET user_no = ?, bill_type = ?, product_id = ?, remain_minutes = ?,"
                          " crm_code = ?, end_date = ?, term_seconds = ?, free = ?, pc_cafe = ?, result = ?,"
                          " result_text = ? WHERE user_id = ? RETURNING id"};
    Statement removeOthers{db, "DELETE FROM other_billing WHERE user = ?"};
    Statement removeUser{db, "DELETE FROM user WHERE id = ?"};
    Statement addOther{db, "INSERT INTO other_billing VALUES (?, ?, ?, ?, ?, ?)"};
    Statement userByID{db, SELECT_USER "user_id = ?"}, holdByID{db, SELECT_USER "user_id = ? HOLD"};
    Statement userByNo{db, SELECT_USER "user_no = ?"}, holdByNo{db, SELECT_USER "user_no = ? HOLD"};
    Statement userByRow{db, SELECT_USER "id = ?"}, holdByRow{db, SELECT_USER "id = ? HOLD"};
    Statement others{db,
                     "SELECT bill_type, product_id, remain_minutes, crm_code, end_date FROM other_billing"
                     " WHERE user = ? ORDER BY rowid"};
    Statement takeMinute{db,
                         "UPDATE user SET remain_minutes = CASE WHEN remain_minutes > 0 THEN"
                         " remain_minutes - 1 ELSE 0 END WHERE id = ? RETURNING remain_minutes"};

    Statement counts{db,
                     "SELECT (SELECT count(*) FROM user), (SELECT count(*) FROM session),"
                     " (SELECT count(*) FROM shop_order)"};

    Statement connectors{db, std::string("SELECT id, gid, sid, wid, ") + (db.IsShared() ? "sandbox" : "0") +
                                 " FROM connector"};
    Statement addConnector{db,
                           "INSERT INTO connector (gid, sid, wid) VALUES (?, ?, ?)"
                           " ON CONFLICT (gid, sid, wid) DO UPDATE SET gid = excluded.gid RETURNING id"};
    Statement removeConnector{db, "DELETE FROM connector WHERE id = ?"};

    // Sandboxes that share a database do not wait for each other's checkins.
    Statement takeSeqNo{db, db.IsShared()
                                ? "SELECT nextval('seq_no')"
                                : "UPDATE counter SET last_seq_no = last_seq_no + 1 RETURNING last_seq_no"};
    Statement addSession{db, "INSERT INTO session VALUES (?, ?, ?, ?, ?, ?, 1, 0)"};
    Statement moveSession{db,
                          "UPDATE session SET connector = ?, by_number = ?, user_ip = ?, confirmed = 1,"
                          " moving_since = 0 WHERE seq_no = ?"};
    Statement setMoving{db, "UPDATE session SET moving_since = ? WHERE seq_no = ?"};
    Statement removeSessionOf{db, "DELETE FROM session WHERE user = ?"};
    Statement setEndDate{db, "UPDATE session SET end_date = ? WHERE seq_no = ?"};
    Statement removeSession{db, "DELETE FROM session WHERE seq_no = ?"};
    Statement removeSessions{db, "DELETE FROM session WHERE connector = ?"};
    Statement bySeqNo{db, SELECT_SESSION "seq_no = ?"}, holdBySeqNo{db, SELECT_SESSION "seq_no = ? HOLD"};
    Statement byUser{db, SELECT_SESSION "user = ?"}, holdByUser{db, SELECT_SESSION "user = ? HOLD"};
    Statement sessions{db, SELECT_SESSION "connector = ? ORDER BY seq_no"};
    Statement unconfirmed{db, SELECT_SESSION
                          "connector = ? AND confirmed = 0 AND moving_since = 0"
                          " ORDER BY seq_no HOLD"};
    Statement movesBefore{db, SELECT_SESSION "moving_since > 0 AND moving_since < ? ORDER BY seq_no SKIP"};
    Statement removeAllSessions{db, "DELETE FROM session"};
    Statement overdue{db, SELECT_SESSION
                      "moving_since = 0 AND ((bill_type IN (2, 3) AND remain_minutes < 1) OR"
                      " (bill_type IN (1, 3) AND session.end_date < ?)) ORDER BY seq_no"};
    Statement confirm{db, "UPDATE session SET confirmed = 1 WHERE seq_no = ?"};
    Statement setUnconfirmed{db, "UPDATE session SET confirmed = 0 WHERE connector = ?"};
};

Store::Store(const std::string& strDb, std::time_t now, const std::function<void()>& wake)
    : m_pDb(Open(strDb, now)),
      m_pStudio(m_pDb->IsShared() ? std::make_unique<Studio>(*m_pDb, wake) : nullptr),
      m_sql(std::make_unique<Statements>(*m_pDb)),
      m_catalogue(*m_pDb),
      m_ledger(*m_pDb)
{
}

Store::~Store() = default;

void Store::HoldAll()
{
    if (m_pStudio != nullptr)
        m_pDb->Execute("LOCK TABLE user IN EXCLUSIVE MODE");
}

bool Store::Enter(std::time_t now)
{
    if (m_pStudio == nullptr)
        return true;
    Studio::LockStart(*m_pDb);
    return m_pStudio->Enter(now);
}

bool Store::AddUser(const User& user)
{
    const Billing& billing = user.billing;
    std::int64_t nUser = 0;
    m_sql->addUser.ForEach([&](const Statement& row) { nUser = row.Int(0); }, user.strUserID, user.strUserNo,
                           billing.nBillType, billing.nProductID, billing.nRemainMinutes, billing.strCRMCode,
                           billing.strEndDate, user.nTermSeconds, static_cast<unsigned char>(user.cFree),
                           user.bPCCafe, user.nResult, user.strResultText);
    if (nUser == 0)
        return false;
    AddOthers(nUser, user);
    return true;
}

void Store::AddOthers(std::int64_t nUser, const User& user)
{
    for (const Billing& other : user.vecOther) {
        m_sql->addOther.Run(nUser, other.nBillType, other.nProductID, other.nRemainMinutes, other.strCRMCode,
                            other.strEndDate);
    }
}

void Store::RestoreUser(const User& user)
{
    if (AddUser(user))
        return;
    const Billing& billing = user.billing;
    std::int64_t nUser = 0;
    m_sql->restoreUser.ForEach([&](const Statement& row) { nUser = row.Int(0); }, user.strUserNo,
                               billing.nBillType, billing.nProductID, billing.nRemainMinutes,
                               billing.strCRMCode, billing.strEndDate, user.nTermSeconds,
                               static_cast<unsigned char>(user.cFree), user.bPCCafe, user.nResult,
                               user.strResultText, user.strUserID);
    m_sql->removeOthers.Run(nUser);
    AddOthers(nUser, user);
}

void Store::RemoveUser(std::int64_t nUser)
{
    m_ledger.RemoveAllOf(nUser);
    m_sql->removeSessionOf.Run(nUser);
    m_sql->removeOthers.Run(nUser);
    m_sql->removeUser.Run(nUser);
}

User Store::UserOf(const Statement& row)
{
    User user;
    user.nID = row.Int(0);
    user.strUserID = row.Text(1);
    user.strUserNo = row.Text(2);
    user.billing = BillingOf(row, 3);
    user.nTermSeconds = static_cast<int>(row.Int(8));
    user.cFree = static_cast<char>(row.Int(9));
    user.bPCCafe = row.Int(10) != 0;
    user.nResult = static_cast<int>(row.Int(11));
    user.strResultText = row.Text(12);
    return user;
}

std::optional<User> Store::OneUser(Statement& select, Statement& hold, const auto& argument)
{
    std::optional<User> found;
    (m_pDb->IsChanging() ? hold : select)
        .ForEach([&](const Statement& row) { found = UserOf(row); }, argument);
    return found;
}

std::optional<User> Store::FindUser(const UserKey& key)
{
    return key.bNumber ? OneUser(m_sql->userByNo, m_sql->holdByNo, key.strText)
                       : OneUser(m_sql->userByID, m_sql->holdByID, key.strText);
}

std::optional<User> Store::GetUser(std::int64_t nUser)
{
    return OneUser(m_sql->userByRow, m_sql->holdByRow, nUser);
}

std::vector<User> Store::GetUsers(std::int64_t nLimit)
{
    std::vector<User> vecUsers;
    m_sql->users.ForEach([&](const Statement& row) { vecUsers.push_back(UserOf(row)); }, nLimit);
    return vecUsers;
}

std::vector<Billing> Store::GetOtherBillings(std::int64_t nUser)
{
    std::vector<Billing> vecOther;
    m_sql->others.ForEach([&](const Statement& row) { vecOther.push_back(BillingOf(row, 0)); }, nUser);
    return vecOther;
}

std::int64_t Store::TakeMinute(std::int64_t nUser)
{
    std::int64_t nRemain = 0;
    m_sql->takeMinute.ForEach([&](const Statement& row) { nRemain = row.Int(0); }, nUser);
    return nRemain;
}

Store::Counts Store::Count()
{
    Counts counts;
    m_sql->counts.ForEach([&](const Statement& row) {
        counts = {static_cast<std::uint64_t>(row.Int(0)), static_cast<std::uint64_t>(row.Int(1)),
                  static_cast<std::uint64_t>(row.Int(2))};
    });
    return counts;
}

std::vector<Store::ConnectorRow> Store::GetConnectors()
{
    std::vector<ConnectorRow> vecRows;
    m_sql->connectors.ForEach([&](const Statement& row) {
        vecRows.push_back({row.Int(0), row.Text(1), row.Text(2), row.Text(3), row.Int(4)});
    });
    return vecRows;
}

std::int64_t Store::FindOrAddConnector(const std::string& strGID, const std::string& strSID,
                                       const std::string& strWID)
{
    std::int64_t nID = 0;
    m_sql->addConnector.ForEach([&](const Statement& row) { nID = row.Int(0); }, strGID, strSID, strWID);
    return nID;
}

void Store::RemoveConnector(std::int64_t nConnector)
{
    m_sql->removeSessions.Run(nConnector);
    m_sql->removeConnector.Run(nConnector);
}

template <class Arg>
std::vector<Session> Store::All(Statement& select, const Arg& argument)
{
    std::vector<Session> vecFound;
    select.ForEach([&](const Statement& row) { vecFound.push_back(SessionOf(row)); }, argument);
    return vecFound;
}

std::int64_t Store::TakeSeqNo()
{
    std::int64_t nSeqNo = 0;
    do {  // a user list may have brought a session with this Seq No
        m_sql->takeSeqNo.ForEach([&](const Statement& row) { nSeqNo = row.Int(0); });
    } while (FindSession(nSeqNo));
    return nSeqNo;
}

void Store::AddSession(const Session& session)
{
    m_sql->addSession.Run(session.nSeqNo, session.nUser, session.nConnector, session.bByNumber,
                          session.strUserIP, session.strEndDate);
}

void Store::MoveSession(const Session& session)
{
    m_sql->moveSession.Run(session.nConnector, session.bByNumber, session.strUserIP, session.nSeqNo);
}

void Store::SetMoving(std::int64_t nSeqNo, std::time_t since) { m_sql->setMoving.Run(since, nSeqNo); }

void Store::SetEndDate(std::int64_t nSeqNo, const std::string& strEndDate)
{
    m_sql->setEndDate.Run(strEndDate, nSeqNo);
}

bool Store::RemoveSession(std::int64_t nSeqNo) { return m_sql->removeSession.Run(nSeqNo) > 0; }

std::optional<Session> Store::FindSession(std::int64_t nSeqNo)
{
    return OneSession(m_sql->bySeqNo, m_sql->holdBySeqNo, nSeqNo);
}

std::optional<Session> Store::FindSessionOf(std::int64_t nUser)
{
    return OneSession(m_sql->byUser, m_sql->holdByUser, nUser);
}

std::vector<Session> Store::GetSessions(std::int64_t nConnector) { return All(m_sql->sessions, nConnector); }

void Store::Confirm(std::int64_t nSeqNo) { m_sql->confirm.Run(nSeqNo); }

void Store::SetUnconfirmed(std::int64_t nConnector) { m_sql->setUnconfirmed.Run(nConnector); }

std::vector<Session> Store::RemoveUnconfirmed(std::int64_t nConnector)
{
    return RemoveAll(m_sql->unconfirmed, nConnector);
}

std::vector<Session> Store::RemoveMovesBefore(std::time_t time)
{
    return RemoveAll(m_sql->movesBefore, time);
}

void Store::RemoveAllSessions() { m_sql->removeAllSessions.Run(); }

std::vector<Session> Store::GetOverdue(const std::string& strNow) { return All(m_sql->overdue, strNow); }

Session Store::SessionOf(const Statement& row)
{
    return {row.Int(0),      row.Int(1),  row.Int(2),  row.Text(3), row.Text(4),
            row.Int(5) != 0, row.Text(6), row.Text(7), row.Int(8)};
}

std::optional<Session> Store::OneSession(Statement& select, Statement& hold, std::int64_t nArgument)
{
    std::optional<Session> found;
    (m_pDb->IsChanging() ? hold : select)
        .ForEach([&](const Statement& row) { found = SessionOf(row); }, nArgument);
    return found;
}

std::vector<Session> Store::RemoveAll(Statement& select, std::int64_t nArgument)
{
    std::vector<Session> vecRemoved = All(select, nArgument);
    for (const Session& session : vecRemoved)
        RemoveSession(session.nSeqNo);
    return vecRemoved;
}

}  // namespace Sandbox

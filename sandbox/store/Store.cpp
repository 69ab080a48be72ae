#include "sandbox/store/Store.h"

#include <algorithm>

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
Database& Prepare(Database& db, std::time_t now)
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
        return db;
    Transaction transaction(db);
    if (bNew) {
        db.Execute(kSchema);
        Statement(db, "INSERT INTO counter VALUES (?)").Run(FirstSeqNo(now));
    }
    db.Execute(bNew || nVersion == 1 ? Catalogue::Schema() + Ledger::Schema() : Ledger::SoldSchema());
    db.Execute("PRAGMA application_id = " + std::to_string(kApplicationID) +
               "; PRAGMA user_version = " + std::to_string(kSchemaVersion));
    transaction.Commit();
    return db;
}

Billing BillingOf(const Statement& row, int nColumn)
{
    return {static_cast<int>(row.Int(nColumn)), static_cast<int>(row.Int(nColumn + 1)), row.Int(nColumn + 2),
            row.Text(nColumn + 3), row.Text(nColumn + 4)};
}

#define SELECT_USER                                                                            \
    "SELECT id, user_id, user_no, bill_type, product_id, remain_minutes, crm_code, end_date, " \
    "term_seconds, free, pc_cafe, result, result_text FROM user WHERE "
#define SELECT_SESSION                                                                         \
    "SELECT seq_no, user, connector, user_id, user_no, by_number, user_ip, session.end_date, " \
    "moving_since FROM session JOIN user ON user.id = session.user WHERE "

}  // namespace

struct Store::Statements {
    explicit Statements(const Database& database) : db(database) {}
    const Database& db;

    Statement addUser{db,
                      "INSERT INTO user VALUES (NULL, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)"
                      " ON CONFLICT (user_id) DO NOTHING"};
    Statement users{db, SELECT_USER "true ORDER BY id LIMIT ?"};
    Statement restoreUser{db,
                          "UPDATE user SET user_no = ?, bill_type = ?, product_id = ?, remain_minutes = ?,"
                          " crm_code = ?, end_date = ?, term_seconds = ?, free = ?, pc_cafe = ?, result = ?,"
                          " result_text = ? WHERE user_id = ? RETURNING id"};
    Statement removeOthers{db, "DELETE FROM other_billing WHERE user = ?"};
    Statement removeUser{db, "DELETE FROM user WHERE id = ?"};
    Statement addOther{db, "INSERT INTO other_billing VALUES (?, ?, ?, ?, ?, ?)"};
    Statement userByID{db, SELECT_USER "user_id = ?"};
    Statement userByNo{db, SELECT_USER "user_no = ?"};
    Statement userByRow{db, SELECT_USER "id = ?"};
    Statement others{db,
                     "SELECT bill_type, product_id, remain_minutes, crm_code, end_date FROM other_billing"
                     " WHERE user = ? ORDER BY rowid"};
    Statement takeMinute{db,
                         "UPDATE user SET remain_minutes = max(remain_minutes - 1, 0) WHERE id = ?"
                         " RETURNING remain_minutes"};

    Statement counts{db,
                     "SELECT (SELECT count(*) FROM user), (SELECT count(*) FROM session),"
                     " (SELECT count(*) FROM shop_order)"};

    Statement connectors{db, "SELECT id, gid, sid, wid FROM connector"};
    Statement addConnector{db,
                           "INSERT INTO connector VALUES (NULL, ?, ?, ?)"
                           " ON CONFLICT (gid, sid, wid) DO UPDATE SET gid = gid RETURNING id"};
    Statement removeConnector{db, "DELETE FROM connector WHERE id = ?"};

    Statement takeSeqNo{db, "UPDATE counter SET last_seq_no = last_seq_no + 1 RETURNING last_seq_no"};
    Statement addSession{db, "INSERT INTO session VALUES (?, ?, ?, ?, ?, ?, 1, 0)"};
    Statement moveSession{db,
                          "UPDATE session SET connector = ?, by_number = ?, user_ip = ?, confirmed = 1,"
                          " moving_since = 0 WHERE seq_no = ?"};
    Statement setMoving{db, "UPDATE session SET moving_since = ? WHERE seq_no = ?"};
    Statement removeSessionOf{db, "DELETE FROM session WHERE user = ?"};
    Statement setEndDate{db, "UPDATE session SET end_date = ? WHERE seq_no = ?"};
    Statement removeSession{db, "DELETE FROM session WHERE seq_no = ?"};
    Statement removeSessions{db, "DELETE FROM session WHERE connector = ?"};
    Statement sessionBySeqNo{db, SELECT_SESSION "seq_no = ?"};
    Statement sessionByUser{db, SELECT_SESSION "user = ?"};
    Statement sessions{db, SELECT_SESSION "connector = ? ORDER BY seq_no"};
    Statement unconfirmed{db, SELECT_SESSION
                          "connector = ? AND confirmed = 0 AND moving_since = 0"
                          " ORDER BY seq_no"};
    Statement movesBefore{db, SELECT_SESSION "moving_since > 0 AND moving_since < ? ORDER BY seq_no"};
    Statement removeAllSessions{db, "DELETE FROM session"};
    Statement overdue{db, SELECT_SESSION
                      "moving_since = 0 AND ((bill_type IN (2, 3) AND remain_minutes < 1) OR"
                      " (bill_type IN (1, 3) AND session.end_date < ?)) ORDER BY seq_no"};
    Statement confirm{db, "UPDATE session SET confirmed = 1 WHERE seq_no = ?"};
    Statement setUnconfirmed{db, "UPDATE session SET confirmed = 0 WHERE connector = ?"};
};

Store::Store(const std::string& strPath, std::time_t now)
    : m_db(strPath),
      m_sql(std::make_unique<Statements>(Prepare(m_db, now))),
      m_catalogue(m_db),
      m_ledger(m_db)
{
}

Store::~Store() = default;

bool Store::AddUser(const User& user)
{
    const Billing& billing = user.billing;
    m_sql->addUser.Run(user.strUserID, user.strUserNo, billing.nBillType, billing.nProductID,
                       billing.nRemainMinutes, billing.strCRMCode, billing.strEndDate, user.nTermSeconds,
                       static_cast<unsigned char>(user.cFree), user.bPCCafe, user.nResult,
                       user.strResultText);
    if (m_db.Changes() == 0)
        return false;
    AddOthers(m_db.LastInsertID(), user);
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

std::optional<User> Store::FindUser(const UserKey& key)
{
    std::optional<User> found;
    (key.bNumber ? m_sql->userByNo : m_sql->userByID)
        .ForEach([&](const Statement& row) { found = UserOf(row); }, key.strText);
    return found;
}

std::optional<User> Store::GetUser(std::int64_t nUser)
{
    std::optional<User> found;
    m_sql->userByRow.ForEach([&](const Statement& row) { found = UserOf(row); }, nUser);
    return found;
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
        vecRows.push_back({row.Int(0), row.Text(1), row.Text(2), row.Text(3)});
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

void Store::RemoveSession(std::int64_t nSeqNo) { m_sql->removeSession.Run(nSeqNo); }

std::optional<Session> Store::FindSession(std::int64_t nSeqNo) { return One(m_sql->sessionBySeqNo, nSeqNo); }

std::optional<Session> Store::FindSessionOf(std::int64_t nUser) { return One(m_sql->sessionByUser, nUser); }

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

std::optional<Session> Store::One(Statement& select, std::int64_t nArgument)
{
    std::optional<Session> found;
    select.ForEach([&](const Statement& row) { found = SessionOf(row); }, nArgument);
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

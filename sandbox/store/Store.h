// Everything that the sandbox remembers, in one SQLite database: users, connectors and sessions here, shops
// in its Catalogue, what users own in its Ledger. Belongs to the server's thread. Every function throws
// StoreError. Changes belong into a Transaction of Begin(); without Commit they are undone.
#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include "sandbox/store/Catalogue.h"
#include "sandbox/store/Ledger.h"
#include "sandbox/store/Sqlite.h"

namespace Sandbox {

// Bill types, with the meaning that the connector's settings give the billing ids.
inline constexpr int kFixedTerm = 1;  // until the end date
inline constexpr int kMetered = 2;    // minute by minute
inline constexpr int kBoth = 3;

struct Billing {
    int nBillType = kFixedTerm;
    int nProductID = 0;
    std::int64_t nRemainMinutes = 0;
    std::string strCRMCode;
    std::string strEndDate;  // 14 digits
};

struct User {
    std::int64_t nID = 0;
    std::string strUserID;  // a request names the user by id or by number
    std::string strUserNo;
    Billing billing;
    int nTermSeconds = 0;  // above 0: the term begins at each checkin, and billing.strEndDate does not count
    char cFree = 'N';      // 'Y': plays free of charge
    bool bPCCafe = false;
    int nResult = 0;  // other than 0: the result of all checkins and billing queries of this user
    std::string strResultText;
    std::vector<Billing> vecOther;  // further billings; only AddUser and RestoreUser look at them
};

struct Session {
    std::int64_t nSeqNo = 0;
    std::int64_t nUser = 0;
    std::int64_t nConnector = 0;
    std::string strUserID;
    std::string strUserNo;
    bool bByNumber = false;  // the connector names the user by number, not by id
    std::string strUserIP;
    std::string strEndDate;         // 14 digits
    std::int64_t nMovingSince = 0;  // calendar time of UserMoveTo; 0: not on the move
};

// How a request names its user.
struct UserKey {
    std::string strText;
    bool bNumber = false;
};

class Store {
public:
    // An empty path is a database in memory. The Seq Nos of a new database begin at a number that follows
    // from now.
    Store(const std::string& strPath, std::time_t now);
    ~Store();
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    Transaction Begin() { return Transaction(m_db); }

    Catalogue& GetCatalogue() { return m_catalogue; }
    Ledger& GetLedger() { return m_ledger; }

    // ---- users ----
    bool AddUser(const User& user);  // false, and no change, if the user id is there already
    std::optional<User> FindUser(const UserKey& key);  // without the other billings
    std::optional<User> GetUser(std::int64_t nUser);   // without the other billings
    std::vector<Billing> GetOtherBillings(std::int64_t nUser);
    std::vector<User> GetUsers(std::int64_t nLimit);  // the first ones, without the other billings
    void RestoreUser(const User& user);               // adds the user or overwrites the one of that user id
    void RemoveUser(std::int64_t nUser);              // with the session and what the ledger has of the user
    // Takes one minute off and returns the minutes that remain. A user without minutes keeps 0.
    std::int64_t TakeMinute(std::int64_t nUser);

    struct Counts {
        std::uint64_t nUsers = 0, nSessions = 0, nOrders = 0;
    };
    Counts Count();

    // ---- connectors ----
    struct ConnectorRow {
        std::int64_t nID;
        std::string strGID, strSID, strWID;
    };
    std::vector<ConnectorRow> GetConnectors();
    std::int64_t FindOrAddConnector(const std::string& strGID, const std::string& strSID,
                                    const std::string& strWID);
    void RemoveConnector(std::int64_t nConnector);  // and its sessions

    // ---- sessions: at most one a user ----
    // The Seq No of a new checkin, above all that were given before, earlier runs on the same file included.
    std::int64_t TakeSeqNo();
    void AddSession(const Session& session);  // confirmed, not on the move
    // Ends the move of the session of that Seq No: its connector, address and bByNumber become those of the
    // argument, and the session counts as confirmed.
    void MoveSession(const Session& session);
    void SetMoving(std::int64_t nSeqNo, std::time_t since);
    void SetEndDate(std::int64_t nSeqNo, const std::string& strEndDate);
    void RemoveSession(std::int64_t nSeqNo);
    std::optional<Session> FindSession(std::int64_t nSeqNo);
    std::optional<Session> FindSessionOf(std::int64_t nUser);
    std::vector<Session> GetSessions(std::int64_t nConnector);  // by Seq No
    void Confirm(std::int64_t nSeqNo);                          // the connector's list has named the session
    void SetUnconfirmed(std::int64_t nConnector);
    // Both return the sessions that they have removed.
    std::vector<Session> RemoveUnconfirmed(std::int64_t nConnector);  // sessions on the move stay
    std::vector<Session> RemoveMovesBefore(std::time_t time);
    void RemoveAllSessions();
    // Sessions whose users have no time left: an end date before strNow, or no minutes. Sessions on the move
    // are left out.
    std::vector<Session> GetOverdue(const std::string& strNow);

private:
    void AddOthers(std::int64_t nUser, const User& user);
    static User UserOf(const Statement& row);
    static Session SessionOf(const Statement& row);
    std::optional<Session> One(Statement& select, std::int64_t nArgument);
    template <class Arg>
    std::vector<Session> All(Statement& select, const Arg& argument);
    std::vector<Session> RemoveAll(Statement& select, std::int64_t nArgument);

    Database m_db;  // the first member, so that the statements are destroyed before the database
    struct Statements;
    std::unique_ptr<Statements> m_sql;
    Catalogue m_catalogue;
    Ledger m_ledger;
};

}  // namespace Sandbox

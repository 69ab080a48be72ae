// The sandbox's memory: users, connectors and sessions, the shop and what users own there, in one SQLite
// database, in a file or in memory.
// Everything throws StoreError. Changes belong into a Transaction of Begin().
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
    std::string strUserID;  // a request names the user by this...
    std::string strUserNo;  // ...or by this
    Billing billing;
    int nTermSeconds = 0;  // above 0: the term runs so long from each checkin, and there is no fixed end
    char cFree = 'N';
    bool bPCCafe = false;
    int nResult = 0;  // what checkins and billing queries answer for this user: 0 as the rules say
    std::string strResultText;
    std::vector<Billing> vecOther;
};

struct Session {
    std::int64_t nSeqNo = 0;
    std::int64_t nUser = 0;
    std::int64_t nConnector = 0;
    std::string strUserID;  // the user's, as strUserNo is
    std::string strUserNo;
    bool bByNumber = false;  // the connector names the user by the number
    std::string strUserIP;
    std::string strEndDate;
    std::int64_t nMovingSince = 0;  // calendar time of UserMoveTo; 0: not on the move
};

// How a request names its user.
struct UserKey {
    std::string strText;
    bool bNumber = false;
};

class Store {
public:
    // An empty path is a database in memory. now numbers the first checkin of a new database.
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
    std::optional<User> GetUser(std::int64_t nUser);   // likewise
    std::vector<Billing> GetOtherBillings(std::int64_t nUser);
    std::vector<User> GetUsers(std::int64_t nLimit);  // the first ones, without the other billings
    void RestoreUser(const User& user);               // as AddUser, whatever has become of him since
    // Takes one minute off and returns what remains; 0 stays 0.
    std::int64_t TakeMinute(std::int64_t nUser);

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
    // The number of a new checkin: above all given before, also by earlier runs on the same file.
    std::int64_t TakeSeqNo();
    void AddSession(const Session& session);  // confirmed, not on the move
    // Gives the session of that Seq No the connector, the user's name and address; ends its move; confirmed.
    void MoveSession(const Session& session);
    void SetMoving(std::int64_t nSeqNo, std::time_t since);
    void RemoveSession(std::int64_t nSeqNo);
    std::optional<Session> FindSession(std::int64_t nSeqNo);
    std::optional<Session> FindSessionOf(std::int64_t nUser);
    std::vector<Session> GetSessions(std::int64_t nConnector);  // by Seq No
    void Confirm(std::int64_t nSeqNo);
    void SetUnconfirmed(std::int64_t nConnector);
    // Remove and return what they have removed.
    std::vector<Session> RemoveUnconfirmed(std::int64_t nConnector);  // not those on the move
    std::vector<Session> RemoveMovesBefore(std::time_t time);
    void RemoveAllSessions();
    // Those whose users have no time left: an end date before strNow, or no minutes. Not on the move.
    std::vector<Session> GetOverdue(const std::string& strNow);

private:
    void AddOthers(std::int64_t nUser, const User& user);
    static User UserOf(const Statement& row);
    static Session SessionOf(const Statement& row);
    std::optional<Session> One(Statement& select, std::int64_t nArgument);
    std::vector<Session> All(Statement& select, std::int64_t nArgument);

    Database m_db;  // statements below go first
    struct Statements;
    std::unique_ptr<Statements> m_sql;
    Catalogue m_catalogue;
    Ledger m_ledger;
};

}  // namespace Sandbox

// Everything that the sandbox remembers, in one database: users, connectors and sessions here, shops in its
// Catalogue, what users own in its Ledger. Belongs to the server's thread. Every function throws StoreError.
// Changes belong into a Transaction of Begin(Access::Change); without Commit they are undone.
//
// Other sandboxes may use the database too. Within such a transaction FindUser, GetUser, FindSession and
// FindSessionOf keep the user for this sandbox until it ends: nobody else changes then what belongs to the
// user. So what is looked up in the transaction holds until it ends, once its user has been looked up.
#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include "sandbox/store/Catalogue.h"
#include "sandbox/store/Database.h"
#include "sandbox/store/Ledger.h"
#include "sandbox/store/Studio.h"

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
    // An SQLite file, or in memory if strDb is empty, or the URL of a PostgreSQL database. The Seq Nos of a
    // new database begin at a number that follows from now. wake is called, on another thread, when other
    // sandboxes have sent letters.
    Store(const std::string& strDb, std::time_t now, const std::function<void()>& wake = nullptr);
    ~Store();
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    Transaction Begin(Access access) { return Transaction(*m_pDb, access); }
    // Keeps all users for this sandbox. To be called before anything else is looked up or changed.
    void HoldAll();
    // The other sandboxes on the same database; null if there can be none.
    Studio* GetStudio() { return m_pStudio.get(); }
    // Whether this sandbox is the first one on its database and brings the seed. To be called once, at the
    // beginning of a transaction.
    bool Enter(std::time_t now);

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
        std::int64_t nSandbox;  // the one that has its link; 0 if none has, or if there is no studio
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
    bool RemoveSession(std::int64_t nSeqNo);  // false if there was none
    std::optional<Session> FindSession(std::int64_t nSeqNo);
    std::optional<Session> FindSessionOf(std::int64_t nUser);
    std::vector<Session> GetSessions(std::int64_t nConnector);  // by Seq No
    void Confirm(std::int64_t nSeqNo);                          // the connector's list has named the session
    void SetUnconfirmed(std::int64_t nConnector);
    // Both return the sessions that they have removed. The second one leaves out what others keep just now.
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
    std::optional<User> OneUser(Statement& select, Statement& hold, const auto& argument);
    std::optional<Session> OneSession(Statement& select, Statement& hold, std::int64_t nArgument);
    template <class Arg>
    std::vector<Session> All(Statement& select, const Arg& argument);
    std::vector<Session> RemoveAll(Statement& select, std::int64_t nArgument);

    std::unique_ptr<Database> m_pDb;  // the first member, so that the statements are destroyed before it
    std::unique_ptr<Studio> m_pStudio;
    struct Statements;
    std::unique_ptr<Statements> m_sql;
    Catalogue m_catalogue;
    Ledger m_ledger;
};

}  // namespace Sandbox

// The sandboxes that share one database: who is there, which of them has a connector's link, and letters from
// one to another. Its tables and words are PostgreSQL's. Belongs to the server's thread. Every function
// throws StoreError. docs/sandbox-studio.md tells the rules in prose.
#pragma once

#include <cstdint>
#include <ctime>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "sandbox/store/Database.h"

namespace Sandbox {

struct Letter {
    enum Kind : std::int64_t {
        Deliver = 1,  // send the message in the body to the connector; nValue: milliseconds for its answer
        Answer,       // what has become of it: nValue is a GameRequests::Failure, the text says why
        Replaced,     // the connector has a new link elsewhere
        Reset,        // faults, outages and messages go
        Clock,        // nValue: seconds by which the clock of the rules is ahead
        Order,        // do the HTTP request in the text, "POST /fault", with the arguments in the body
    };
    std::int64_t nTo = 0;  // numbers of sandboxes
    std::int64_t nFrom = 0;
    std::int64_t nKind = 0;
    std::int64_t nNumber = 0;  // what an answer has in common with its letter
    std::int64_t nConnector = 0;
    std::int64_t nValue = 0;
    std::string strText{};
    std::string strBody{};  // a message as it goes over the wire; of an order, JSON
};

class Studio {
public:
    // Takes a number for this sandbox and shows that it lives. wake is called, on another thread, when a
    // letter has come.
    Studio(Database& db, const std::function<void()>& wake);
    ~Studio();

    static std::string Schema();  // SQL that makes the tables in a new database
    // What has to be alone: making the tables, and entering. Until the end of the transaction.
    static void LockStart(Database& db);

    std::int64_t GetID() const { return m_nID; }
    // Enters this sandbox. True if no other one is there: it begins with a clock of its own, and connectors
    // count as away from now on. REQUIRES: LockStart.
    bool Enter(std::time_t now);
    bool EnterAgain();  // false if the others have not missed this sandbox
    int Count();
    // Frees the links of sandboxes that have gone, and drops letters that nobody has taken.
    void Clean(std::time_t now);

    // ---- links ----
    std::int64_t Claim(std::int64_t nConnector);  // returns the sandbox that had it, or 0
    bool ClaimFree(std::int64_t nConnector);      // false, and no change, if another sandbox has it
    void Release(std::int64_t nConnector, std::time_t now);
    std::int64_t GetOwner(std::int64_t nConnector);  // a living sandbox, or 0
    bool Owns(std::int64_t nConnector);              // until the end of the transaction
    std::vector<std::int64_t> GetAwayBefore(std::time_t time);

    // ---- the clock ----
    std::int64_t GetAhead();
    void SetAhead(std::int64_t nSeconds);

    // ---- letters ----
    void Post(const Letter& letter);
    void PostToOthers(const Letter& letter);
    std::vector<Letter> Take();  // in the order in which they were posted

private:
    struct Statements;
    const std::int64_t m_nID;
    std::unique_ptr<Database::IPresence> m_pPresence;
    std::unique_ptr<Statements> m_sql;
};

}  // namespace Sandbox

#include "sandbox/store/Studio.h"

#include <algorithm>

namespace Sandbox {
namespace {

#define LOCK_CLASS "(current_schema()::regnamespace::oid::bigint & 2147483647)"
// The numbers of the sandboxes that live: each holds the lock of its number.
#define ALIVE                                                                                      \
    "(SELECT objid::bigint FROM pg_locks WHERE locktype = 'advisory' AND objsubid = 2 AND granted" \
    " AND classid::bigint = " LOCK_CLASS                                                           \
    " AND database = (SELECT oid FROM pg_database WHERE datname = current_database()))"

std::int64_t Number(Statement& select)
{
    std::int64_t nValue = 0;
    select.ForEach([&](const Statement& row) { nValue = row.Int(0); });
    return nValue;
}

std::int64_t TakeID(Database& db)
{
    Statement next(db, "SELECT nextval('sandbox_number')");
    return Number(next);
}

}  // namespace

struct Studio::Statements {
    explicit Statements(Database& database) : db(database) {}
    Database& db;

    Statement enter{db, "INSERT INTO sandbox VALUES (?) ON CONFLICT DO NOTHING"};
    Statement count{db, "SELECT count(*) FROM sandbox WHERE id IN " ALIVE};
    Statement clean{db, "DELETE FROM sandbox WHERE id NOT IN " ALIVE};
    Statement cleanLinks{db,
                         "UPDATE connector SET sandbox = 0, away_since = ? WHERE sandbox <> 0"
                         " AND sandbox NOT IN " ALIVE};
    Statement cleanLetters{db, "DELETE FROM letter WHERE posted < now() - interval '5 minutes'"};
    Statement allAway{db, "UPDATE connector SET sandbox = 0, away_since = ?"};

    Statement claim{db,
                    "UPDATE connector c SET sandbox = ? FROM (SELECT id, sandbox FROM connector WHERE id = ?"
                    " FOR UPDATE) old WHERE c.id = old.id RETURNING old.sandbox"};
    Statement claimFree{db, "UPDATE connector SET sandbox = ?1 WHERE id = ?2 AND sandbox IN (0, ?1)"};
    Statement release{db, "UPDATE connector SET sandbox = 0, away_since = ? WHERE id = ? AND sandbox = ?"};
    Statement owner{db, "SELECT sandbox FROM connector WHERE id = ? AND sandbox IN " ALIVE};
    Statement owns{db, "SELECT 1 FROM connector WHERE id = ? AND sandbox = ? HOLD"};
    Statement away{db, "SELECT id FROM connector WHERE sandbox = 0 AND away_since < ? SKIP"};

    Statement ahead{db, "SELECT ahead FROM studio"};
    Statement setAhead{db, "UPDATE studio SET ahead = ?"};

    Statement post{db,
                   "WITH written AS (INSERT INTO letter (recipient, sender, kind, number, connector, value,"
                   " content, body) VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8))"
                   " SELECT pg_notify('velkar_sandbox', current_schema() || '.' || ?1)"};
    Statement others{db, "SELECT id FROM sandbox WHERE id <> ?"};
    Statement take{db,
                   "DELETE FROM letter WHERE recipient = ? RETURNING id, recipient, sender, kind, number,"
                   " connector, value, content, body"};
};

Studio::Studio(Database& db, const std::function<void()>& wake)
    : m_nID(TakeID(db)), m_pPresence(db.Appear(m_nID, wake)), m_sql(std::make_unique<Statements>(db))
{
}

Studio::~Studio() = default;

// What is sold is counted in parts, so that sandboxes that sell the same product do not wait for each other.
std::string Studio::Schema()
{
    std::string strSql =
        "CREATE TABLE studio (version INTEGER NOT NULL, ahead INTEGER NOT NULL);"
        "CREATE SEQUENCE seq_no;"
        "CREATE SEQUENCE sandbox_number MAXVALUE 2147483647 CYCLE;"
        "CREATE TABLE sandbox (id BIGINT NOT NULL PRIMARY KEY);"
        "ALTER TABLE connector ADD COLUMN sandbox BIGINT NOT NULL DEFAULT 0,"
        " ADD COLUMN away_since BIGINT NOT NULL DEFAULT 0;"
        "CREATE TABLE letter (id BIGINT GENERATED ALWAYS AS IDENTITY, recipient INTEGER NOT NULL,"
        " sender INTEGER NOT NULL, kind INTEGER NOT NULL, number INTEGER NOT NULL,"
        " connector INTEGER NOT NULL, value INTEGER NOT NULL, content TEXT NOT NULL, body TEXT NOT NULL,"
        " posted TIMESTAMPTZ NOT NULL DEFAULT now());"
        "CREATE INDEX letter_recipient ON letter (recipient);"
        "CREATE TABLE shop_sold (game TEXT NOT NULL, product TEXT NOT NULL, part INTEGER NOT NULL,"
        " count INTEGER NOT NULL, PRIMARY KEY (game, product, part));"
        "CREATE FUNCTION count_sold() RETURNS trigger LANGUAGE plpgsql AS 'DECLARE change bigint; sale "
        "record;"
        " BEGIN IF TG_OP = ''INSERT'' THEN change := new.count; sale := new;"
        " ELSE change := -old.count; sale := old; END IF;"
        " INSERT INTO shop_sold VALUES (sale.game, sale.product, pg_backend_pid() % 16, change)"
        " ON CONFLICT (game, product, part) DO UPDATE SET count = shop_sold.count + change;"
        " RETURN NULL; END';"
        "CREATE TRIGGER shop_order_counted AFTER INSERT OR DELETE ON shop_order"
        " FOR EACH ROW EXECUTE FUNCTION count_sold();"
        "CREATE FUNCTION ascii_lower(text) RETURNS text LANGUAGE sql IMMUTABLE"
        " AS 'SELECT lower($1 COLLATE \"C\")';";
    // The order in which rows were added, which SQLite keeps by itself.
    for (const char* const pszTable : {"other_billing", "coupon", "shop_menu", "shop_product", "shop_child",
                                       "shop_condition", "shop_option", "shop_discount", "shop_product_tag",
                                       "shop_tag", "shop_group", "shop_group_product"}) {
        strSql += std::string("ALTER TABLE ") + pszTable +
                  " ADD COLUMN rowid BIGINT GENERATED BY DEFAULT AS IDENTITY;";
    }
    return strSql;
}

void Studio::LockStart(Database& db)
{
    Statement(db, "SELECT pg_advisory_xact_lock(" LOCK_CLASS "::int, 0)").Run();
}

bool Studio::Enter(std::time_t now)
{
    Clean(now);
    const bool bFirst = Number(m_sql->count) == 0;
    m_sql->enter.Run(m_nID);
    if (bFirst) {
        m_sql->allAway.Run(now);
        SetAhead(0);
    }
    return bFirst;
}

bool Studio::EnterAgain() { return m_sql->enter.Run(m_nID) > 0; }

int Studio::Count() { return static_cast<int>(Number(m_sql->count)); }

void Studio::Clean(std::time_t now)
{
    m_sql->clean.Run();
    m_sql->cleanLinks.Run(now);
    m_sql->cleanLetters.Run();
}

std::int64_t Studio::Claim(std::int64_t nConnector)
{
    std::int64_t nBefore = 0;
    m_sql->claim.ForEach([&](const Statement& row) { nBefore = row.Int(0); }, m_nID, nConnector);
    return nBefore;
}

bool Studio::ClaimFree(std::int64_t nConnector) { return m_sql->claimFree.Run(m_nID, nConnector) > 0; }

void Studio::Release(std::int64_t nConnector, std::time_t now) { m_sql->release.Run(now, nConnector, m_nID); }

std::int64_t Studio::GetOwner(std::int64_t nConnector)
{
    std::int64_t nOwner = 0;
    m_sql->owner.ForEach([&](const Statement& row) { nOwner = row.Int(0); }, nConnector);
    return nOwner;
}

bool Studio::Owns(std::int64_t nConnector)
{
    return m_sql->owns.ForEach([](const Statement&) {}, nConnector, m_nID) > 0;
}

std::vector<std::int64_t> Studio::GetAwayBefore(std::time_t time)
{
    std::vector<std::int64_t> vecAway;
    m_sql->away.ForEach([&](const Statement& row) { vecAway.push_back(row.Int(0)); }, time);
    return vecAway;
}

std::int64_t Studio::GetAhead() { return Number(m_sql->ahead); }

void Studio::SetAhead(std::int64_t nSeconds) { m_sql->setAhead.Run(nSeconds); }

void Studio::Post(const Letter& letter)
{
    m_sql->post.Run(letter.nTo, m_nID, letter.nKind, letter.nNumber, letter.nConnector, letter.nValue,
                    letter.strText, letter.strBody);
}

void Studio::PostToOthers(const Letter& letter)
{
    std::vector<std::int64_t> vecOthers;
    m_sql->others.ForEach([&](const Statement& row) { vecOthers.push_back(row.Int(0)); }, m_nID);
    for (const std::int64_t nOther : vecOthers) {
        Letter copy = letter;
        copy.nTo = nOther;
        Post(copy);
    }
}

std::vector<Letter> Studio::Take()
{
    std::vector<std::pair<std::int64_t, Letter>> vecRows;
    m_sql->take.ForEach(
        [&](const Statement& row) {
            vecRows.emplace_back(row.Int(0), Letter{row.Int(1), row.Int(2), row.Int(3), row.Int(4),
                                                    row.Int(5), row.Int(6), row.Text(7), row.Text(8)});
        },
        m_nID);
    std::sort(vecRows.begin(), vecRows.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<Letter> vecLetters;
    for (auto& [nOrder, letter] : vecRows)
        vecLetters.push_back(std::move(letter));
    return vecLetters;
}

}  // namespace Sandbox

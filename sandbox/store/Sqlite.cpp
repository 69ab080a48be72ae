#include "sandbox/store/Sqlite.h"

namespace Sandbox {
namespace {

[[noreturn]] void Fail(sqlite3* db)
{
    throw StoreError(db != nullptr ? sqlite3_errmsg(db) : "out of memory");
}

}  // namespace

Database::Database(const std::string& strPath)
{
    sqlite3* db = nullptr;
    const int nResult = sqlite3_open_v2(strPath.empty() ? ":memory:" : strPath.c_str(), &db,
                                        SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
    m_db.reset(db);  // SQLite wants the handle closed even if opening it failed
    if (nResult != SQLITE_OK)
        Fail(db);
}

void Database::Execute(const std::string& strSql)
{
    if (sqlite3_exec(m_db.get(), strSql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK)
        Fail(m_db.get());
}

Statement::Statement(const Database& db, const std::string& strSql)
{
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v3(db.Handle(), strSql.c_str(), -1, SQLITE_PREPARE_PERSISTENT, &stmt, nullptr) !=
        SQLITE_OK)
        Fail(db.Handle());
    m_stmt.reset(stmt);
}

std::string Statement::Text(int nColumn) const
{
    const auto* const pText = sqlite3_column_text(m_stmt.get(), nColumn);
    const auto nBytes = static_cast<std::size_t>(sqlite3_column_bytes(m_stmt.get(), nColumn));
    return pText != nullptr ? std::string(reinterpret_cast<const char*>(pText), nBytes) : std::string();
}

void Statement::Bind(int nIndex, std::int64_t nValue)
{
    if (sqlite3_bind_int64(m_stmt.get(), nIndex, nValue) != SQLITE_OK)
        Fail(sqlite3_db_handle(m_stmt.get()));
}

void Statement::Bind(int nIndex, std::string_view strValue)
{
    if (sqlite3_bind_text64(m_stmt.get(), nIndex, strValue.data(), strValue.size(), SQLITE_STATIC,
                            SQLITE_UTF8) != SQLITE_OK)
        Fail(sqlite3_db_handle(m_stmt.get()));
}

bool Statement::Step()
{
    const int nResult = sqlite3_step(m_stmt.get());
    if (nResult != SQLITE_ROW && nResult != SQLITE_DONE)
        Fail(sqlite3_db_handle(m_stmt.get()));
    return nResult == SQLITE_ROW;
}

Transaction::Transaction(Database& db) : m_db(db) { m_db.Execute("BEGIN"); }

Transaction::~Transaction()
{
    // After some failures SQLite has rolled back by itself. ROLLBACK fails then, which does no harm.
    if (m_bOpen)
        sqlite3_exec(m_db.Handle(), "ROLLBACK", nullptr, nullptr, nullptr);
}

void Transaction::Commit()
{
    m_db.Execute("COMMIT");
    m_bOpen = false;
}

}  // namespace Sandbox

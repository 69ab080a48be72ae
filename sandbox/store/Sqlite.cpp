#include "sandbox/store/Sqlite.h"

namespace Sandbox {
namespace {

[[noreturn]] void Fail(sqlite3* db)
{
    throw StoreError(db != nullptr ? sqlite3_errmsg(db) : "out of memory");
}

class SqlitePrepared final : public IPrepared {
public:
    SqlitePrepared(sqlite3* db, const std::string& strSql)
    {
        if (sqlite3_prepare_v3(db, strSql.c_str(), -1, SQLITE_PREPARE_PERSISTENT, &m_stmt, nullptr) !=
            SQLITE_OK)
            Fail(db);
    }
    ~SqlitePrepared() override { sqlite3_finalize(m_stmt); }
    SqlitePrepared(const SqlitePrepared&) = delete;
    SqlitePrepared& operator=(const SqlitePrepared&) = delete;

    void Bind(int nIndex, std::int64_t nValue) override
    {
        if (sqlite3_bind_int64(m_stmt, nIndex, nValue) != SQLITE_OK)
            Fail(sqlite3_db_handle(m_stmt));
    }
    void Bind(int nIndex, std::string_view strValue) override
    {
        if (sqlite3_bind_text64(m_stmt, nIndex, strValue.data(), strValue.size(), SQLITE_STATIC,
                                SQLITE_UTF8) != SQLITE_OK)
            Fail(sqlite3_db_handle(m_stmt));
    }
    bool Step() override
    {
        const int nResult = sqlite3_step(m_stmt);
        if (nResult != SQLITE_ROW && nResult != SQLITE_DONE)
            Fail(sqlite3_db_handle(m_stmt));
        return nResult == SQLITE_ROW;
    }
    void Rewind() noexcept override
    {
        sqlite3_reset(m_stmt);
        sqlite3_clear_bindings(m_stmt);
    }
    int Changes() const override { return sqlite3_changes(sqlite3_db_handle(m_stmt)); }
    std::int64_t Int(int nColumn) const override { return sqlite3_column_int64(m_stmt, nColumn); }
    std::string Text(int nColumn) const override
    {
        const auto* const pText = sqlite3_column_text(m_stmt, nColumn);
        const auto nBytes = static_cast<std::size_t>(sqlite3_column_bytes(m_stmt, nColumn));
        return pText != nullptr ? std::string(reinterpret_cast<const char*>(pText), nBytes) : std::string();
    }

private:
    sqlite3_stmt* m_stmt = nullptr;
};

// The words of shared databases go.
std::string Unshared(std::string strSql)
{
    for (const std::string strWord : {" HOLD", " SKIP"}) {
        if (strSql.ends_with(strWord) || strSql.ends_with(strWord + ")"))
            strSql.erase(strSql.rfind(strWord), strWord.size());
    }
    return strSql;
}

}  // namespace

SqliteDatabase::SqliteDatabase(const std::string& strPath)
{
    sqlite3* db = nullptr;
    const int nResult = sqlite3_open_v2(strPath.empty() ? ":memory:" : strPath.c_str(), &db,
                                        SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
    m_db.reset(db);  // SQLite wants the handle closed even if opening it failed
    if (nResult != SQLITE_OK)
        Fail(db);
}

std::unique_ptr<IPrepared> SqliteDatabase::Prepare(const std::string& strSql)
{
    return std::make_unique<SqlitePrepared>(m_db.get(), Unshared(strSql));
}

void SqliteDatabase::Execute(const std::string& strSql)
{
    if (sqlite3_exec(m_db.get(), strSql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK)
        Fail(m_db.get());
}

// After some failures SQLite has rolled back by itself. ROLLBACK fails then, which does no harm.
void SqliteDatabase::RollBack() noexcept
{
    if (m_bOpen)
        sqlite3_exec(m_db.get(), "ROLLBACK", nullptr, nullptr, nullptr);
    m_bOpen = false;
}

}  // namespace Sandbox

// SQLite, for one process.
#pragma once

#include <sqlite3.h>

#include <string>

#include "sandbox/store/Database.h"

namespace Sandbox {

class SqliteDatabase final : public Database {
public:
    // Opens or creates; an empty path is a database in memory.
    explicit SqliteDatabase(const std::string& strPath);

    std::unique_ptr<IPrepared> Prepare(const std::string& strSql) override;
    void Execute(const std::string& strSql) override;

private:
    // Nobody else can change what is looked at, so looking needs no transaction.
    void Begin(Access access) override
    {
        m_bOpen = access == Access::Change;
        if (m_bOpen)
            Execute("BEGIN");
    }
    void Commit() override
    {
        if (m_bOpen)
            Execute("COMMIT");
        m_bOpen = false;
    }
    void RollBack() noexcept override;

    struct Closer {
        void operator()(sqlite3* db) const { sqlite3_close_v2(db); }
    };
    std::unique_ptr<sqlite3, Closer> m_db;
    bool m_bOpen = false;  // a transaction has begun
};

}  // namespace Sandbox

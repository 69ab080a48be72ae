// SQLite as three small classes: a database, its statements, its transactions. Used by one thread at a time.
// Every function throws StoreError.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>

#include "sandbox/store/RecordColumns.h"

namespace Sandbox {

// The database could not do what was asked; the text is SQLite's own.
class StoreError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

class Database {
public:
    // Opens or creates; an empty path is a database in memory.
    explicit Database(const std::string& strPath);

    void Execute(const std::string& strSql);  // statements without rows or arguments
    std::int64_t LastInsertID() const { return sqlite3_last_insert_rowid(m_db.get()); }
    int Changes() const { return sqlite3_changes(m_db.get()); }  // rows of the last change
    sqlite3* Handle() const { return m_db.get(); }

private:
    struct Closer {
        void operator()(sqlite3* db) const { sqlite3_close_v2(db); }
    };
    std::unique_ptr<sqlite3, Closer> m_db;
};

// A statement, prepared once and run often. Its row function must not run the same statement again.
class Statement {
public:
    Statement(const Database& db, const std::string& strSql);

    // Binds the arguments in order, calls row(*this) for each row and returns the number of rows. A wire
    // record counts as one argument for each of its fields.
    template <class Row, class... Args>
    int ForEach(const Row& row, const Args&... args)
    {
        const Rewinder rewinder{m_stmt.get()};
        [[maybe_unused]] int nIndex = 0;
        (BindNext(nIndex, args), ...);
        int nRows = 0;
        for (; Step(); ++nRows)
            row(*this);
        return nRows;
    }
    template <class... Args>
    void Run(const Args&... args)
    {
        ForEach([](Statement&) {}, args...);
    }

    // Columns of the current row, from 0.
    std::int64_t Int(int nColumn) const { return sqlite3_column_int64(m_stmt.get(), nColumn); }
    std::string Text(int nColumn) const;
    // Reads the record's fields from the columns that begin at nColumn; returns the column behind them.
    template <class Rec>
    int Record(int nColumn, Rec& rec) const
    {
        Rec::ForEachField(rec, [&](const char*, auto& field) {
            if constexpr (std::is_same_v<decltype(field), std::string&>)
                field = Text(nColumn++);
            else if constexpr (requires { field.nByte; })
                field.nByte = static_cast<std::uint8_t>(Int(nColumn++));
            else
                field = static_cast<std::remove_reference_t<decltype(field)>>(Int(nColumn++));
            return true;
        });
        return nColumn;
    }

private:
    template <class Arg>
    void BindNext(int& nIndex, const Arg& arg)
    {
        if constexpr (WireRecord<Arg>) {
            Arg::ForEachField(arg, [&](const char*, const auto& field) {
                BindNext(nIndex, field);
                return true;
            });
        } else if constexpr (requires { arg.nByte; }) {
            Bind(++nIndex, std::int64_t{arg.nByte});
        } else if constexpr (std::is_null_pointer_v<Arg>) {
            ++nIndex;  // SQLite takes a parameter that is not bound for null
        } else {
            Bind(++nIndex, arg);
        }
    }
    struct Finalizer {
        void operator()(sqlite3_stmt* stmt) const { sqlite3_finalize(stmt); }
    };
    struct Rewinder {
        sqlite3_stmt* stmt;
        ~Rewinder()
        {
            sqlite3_reset(stmt);
            sqlite3_clear_bindings(stmt);
        }
    };
    void Bind(int nIndex, std::int64_t nValue);
    void Bind(int nIndex,
              std::string_view strValue);  // not copied: the text must live until the last row is read
    bool Step();

    std::unique_ptr<sqlite3_stmt, Finalizer> m_stmt;
};

// From construction to Commit. A transaction that is destroyed without Commit is rolled back.
class Transaction {
public:
    explicit Transaction(Database& db);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    void Commit();

private:
    Database& m_db;
    bool m_bOpen = true;
};

}  // namespace Sandbox

// A database as three small classes: the database, its statements, its transactions. Sqlite.h and Postgres.h
// open the two kinds of it. Statements are written once for both, in the words of SQLite; Postgres.cpp
// changes the words that PostgreSQL spells in another way. Used by one thread at a time. Every function
// throws StoreError.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>

#include "sandbox/store/RecordColumns.h"

namespace Sandbox {

// The database could not do what was asked; the text is its own.
class StoreError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Another process that uses the same database has got in the way. Nothing has changed, and the same
// transaction can be tried again.
class StoreConflict : public StoreError {
    using StoreError::StoreError;
};

// The database was lost while it committed a transaction. Whether the changes are there is not known.
class StoreUnknown : public StoreError {
    using StoreError::StoreError;
};

// What a transaction is for. One that only looks must not change anything.
enum class Access { Look, Change };

// A statement as the kind of database runs it; Statement is its only user.
class IPrepared {
public:
    virtual ~IPrepared() = default;
    virtual void Bind(int nIndex, std::int64_t nValue) = 0;  // from 1
    // The text is not copied: it must live until Rewind.
    virtual void Bind(int nIndex, std::string_view strValue) = 0;
    virtual bool Step() = 0;  // to the next row; false behind the last one
    virtual void Rewind() noexcept = 0;
    virtual int Changes() const = 0;  // rows that the statement has changed
    virtual std::int64_t Int(int nColumn) const = 0;
    virtual std::string Text(int nColumn) const = 0;
};

class Database {
public:
    virtual ~Database() = default;

    virtual std::unique_ptr<IPrepared> Prepare(const std::string& strSql) = 0;
    virtual void Execute(const std::string& strSql) = 0;  // statements without rows or arguments

    // Whether other sandboxes may use the database at the same time. If so, a SELECT that ends with HOLD
    // keeps its rows from being changed by others until the transaction ends, and reads them as they are once
    // it has them; one that ends with SKIP leaves out rows that others hold. An unshared database ignores
    // both words.
    virtual bool IsShared() const { return false; }
    // Shows the others that this sandbox lives, for as long as the result does, and calls wake, on a thread
    // of its own, for each call of "pg_notify" that names this number. Only for a shared database.
    class IPresence {
    public:
        virtual ~IPresence() = default;
    };
    virtual std::unique_ptr<IPresence> Appear(std::int64_t, std::function<void()>) { return nullptr; }

    bool IsChanging() const { return m_bChanging; }  // within a transaction of Access::Change

private:
    friend class Transaction;
    virtual void Begin(Access access) = 0;
    virtual void Commit() = 0;
    virtual void RollBack() noexcept = 0;

    bool m_bChanging = false;
};

// A statement, prepared once and run often. Its row function must not run the same statement again.
class Statement {
public:
    Statement(Database& db, const std::string& strSql) : m_prepared(db.Prepare(strSql)) {}

    // Binds the arguments in order, calls row(*this) for each row and returns the number of rows. A wire
    // record counts as one argument for each of its fields.
    template <class Row, class... Args>
    int ForEach(const Row& row, const Args&... args)
    {
        const Rewinder rewinder{*m_prepared};
        BindAll(args...);
        int nRows = 0;
        for (; m_prepared->Step(); ++nRows)
            row(*this);
        return nRows;
    }
    // Runs a statement without rows and returns how many rows of tables it has changed.
    template <class... Args>
    int Run(const Args&... args)
    {
        const Rewinder rewinder{*m_prepared};
        BindAll(args...);
        while (m_prepared->Step()) {
        }
        return m_prepared->Changes();
    }

    // Columns of the current row, from 0.
    std::int64_t Int(int nColumn) const { return m_prepared->Int(nColumn); }
    std::string Text(int nColumn) const { return m_prepared->Text(nColumn); }
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
    struct Rewinder {
        IPrepared& prepared;
        ~Rewinder() { prepared.Rewind(); }
    };
    template <class... Args>
    void BindAll(const Args&... args)
    {
        [[maybe_unused]] int nIndex = 0;
        (BindNext(nIndex, args), ...);
    }
    template <class Arg>
    void BindNext(int& nIndex, const Arg& arg)
    {
        if constexpr (WireRecord<Arg>) {
            Arg::ForEachField(arg, [&](const char*, const auto& field) {
                BindNext(nIndex, field);
                return true;
            });
        } else if constexpr (requires { arg.nByte; }) {
            m_prepared->Bind(++nIndex, std::int64_t{arg.nByte});
        } else if constexpr (std::is_integral_v<Arg>) {
            m_prepared->Bind(++nIndex, static_cast<std::int64_t>(arg));
        } else {
            m_prepared->Bind(++nIndex, std::string_view(arg));
        }
    }

    std::unique_ptr<IPrepared> m_prepared;
};

// From construction to Commit. A transaction that is destroyed without Commit is rolled back.
class Transaction {
public:
    Transaction(Database& db, Access access) : m_db(db)
    {
        m_db.Begin(access);
        m_db.m_bChanging = access == Access::Change;
    }
    ~Transaction()
    {
        m_db.m_bChanging = false;
        if (m_bOpen)
            m_db.RollBack();
    }
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    void Commit()  // throws StoreUnknown too
    {
        m_db.Commit();
        m_bOpen = m_db.m_bChanging = false;
    }

private:
    Database& m_db;
    bool m_bOpen = true;
};

// Runs work(), and again if another sandbox has got in its way. The work undoes what it has done when it
// throws.
template <class Work>
void TryAgain(const Work& work)
{
    constexpr int kTries = 5;
    for (int nTry = 1;; ++nTry) {
        try {
            return work();
        } catch (const StoreConflict&) {
            if (nTry == kTries)
                throw;
        }
    }
}

}  // namespace Sandbox

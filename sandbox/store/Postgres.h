// PostgreSQL, for several sandboxes at once. Its client library is loaded when a database is opened, so that
// the program runs without it where nobody has PostgreSQL.
#pragma once

#include <memory>
#include <string>

#include "sandbox/store/Database.h"

namespace Sandbox {

inline bool IsPostgres(const std::string& strDb)
{
    return strDb.starts_with("postgresql://") || strDb.starts_with("postgres://");
}

// Opens the database of that URL. A connection that is lost later is opened again by the first use after a
// pause; uses before that throw StoreError. Texts are kept byte by byte: bytes that are no UTF-8, and NUL,
// are stored as the private characters U+10FF00 to U+10FFFF. Throws StoreError.
std::unique_ptr<Database> OpenPostgres(const std::string& strUrl);

}  // namespace Sandbox

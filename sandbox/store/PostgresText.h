// Texts and statements on their way to PostgreSQL.
#pragma once

#include <string>
#include <string_view>

namespace Sandbox {

// Any bytes as UTF-8 without NUL, and back. A byte that is not part of a character becomes a private
// character; such characters in the text are taken apart into their bytes too, so that nothing is mistaken on
// the way back.
std::string ToUtf8(std::string_view strBytes);
std::string FromUtf8(std::string_view strText);

// A statement in the words of SQLite, as PostgreSQL wants it.
std::string ToPostgres(std::string_view strSql);

}  // namespace Sandbox

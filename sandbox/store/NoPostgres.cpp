// Stands in for Postgres.cpp where this program is built without PostgreSQL.
#include "sandbox/store/Postgres.h"

namespace Sandbox {

std::unique_ptr<Database> OpenPostgres(const std::string&)
{
    throw StoreError("this build of the program has no PostgreSQL");
}

}  // namespace Sandbox

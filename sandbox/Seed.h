// The users that a sandbox starts with.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "sandbox/Store.h"

namespace Sandbox {

// A seed file that cannot be used; the text names the file and the place in it.
class SeedError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

// "demo", "none", or the path of a JSON file. Throws SeedError.
std::vector<User> GetSeedUsers(const std::string& strSeed);
std::vector<User> GetDemoUsers();
std::vector<User> ReadUsers(const std::string& strPath);

// Adds those that are not there yet, all or none; who is there stays as he is. Returns how many it has
// added. Throws SeedError for a user number that another user has, StoreError.
int AddUsers(Store& store, const std::vector<User>& vecUsers);

}  // namespace Sandbox

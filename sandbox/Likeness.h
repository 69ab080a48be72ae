// Compares a message of a replay with the recorded one. What differs by nature is set apart: numbers that one
// side gives and the other repeats are matched by what they have stood for before, and times are not
// compared.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "sandbox/base/Json.h"

namespace Sandbox {

class Likeness {
public:
    // Names of fields that are not compared, beside those that never are.
    explicit Likeness(std::set<std::string> setIgnored) : m_setIgnored(std::move(setIgnored)) {}

    // What differs, "nPage is 2 and not 1"; empty if nothing does.
    std::vector<std::string> Compare(const std::string& strClass, const Json& recorded,
                                     const Json& live) const;
    // From now on the numbers of the recorded message stand for those of the live one.
    void Learn(const std::string& strClass, const Json& recorded, const Json& live);
    // Whether both answer the same request, or both answer none.
    bool AnswersTheSame(const std::string& strClass, const Json& recorded, const Json& live) const;

private:
    template <class Visit>
    void Walk(const std::string& strClass, const std::string& strField, const Json& recorded,
              const Json& live, const Visit& visit) const;
    bool IsSame(const std::string& strClass, const std::string& strField, const Json& recorded,
                const Json& live) const;

    const std::set<std::string> m_setIgnored;
    std::map<std::string, Json> m_mapNumbers;  // by what a number is of and its recorded value: the live one
};

}  // namespace Sandbox

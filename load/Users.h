// The users of one server: who is out, who is in, and who waits for an answer and is lent to that call.
#pragma once

#include <cstddef>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "load/Mix.h"

namespace Load {

using Random = std::mt19937_64;

struct User {
    int nNumber = 0;         // over all servers
    std::string strSeqNo{};  // of the checkin; empty while he is out
};

class Users {
public:
    Users(int nFirst, int nCount)
    {
        for (int n = 0; n < nCount; ++n)
            m_vecOut.push_back({nFirst + n});
    }
    std::size_t GetInCount() const { return m_vecIn.size(); }
    std::size_t GetOutCount() const { return m_vecOut.size(); }
    const std::vector<User>& GetIn() const { return m_vecIn; }

    // Any user for whom that call can be made; none if there is none. He comes back with Return.
    std::optional<User> Take(Who who, Random& random)
    {
        const bool bIn = who == Who::In || (who == Who::Anybody && !m_vecIn.empty());
        std::vector<User>& vecFrom = bIn ? m_vecIn : m_vecOut;
        if (vecFrom.empty())
            return std::nullopt;
        std::swap(vecFrom[random() % vecFrom.size()], vecFrom.back());
        User user = std::move(vecFrom.back());
        vecFrom.pop_back();
        return user;
    }
    void Return(User user) { (user.strSeqNo.empty() ? m_vecOut : m_vecIn).push_back(std::move(user)); }

private:
    std::vector<User> m_vecIn, m_vecOut;
};

// User id, number and address of that user, each of at most 22 bytes.
inline std::string UserID(int nUser) { return "load-" + std::to_string(nUser); }
inline std::string UserNo(int nUser) { return std::to_string(9'000'000'000LL + nUser); }
inline std::string UserIP(int nUser)
{
    return "10." + std::to_string(nUser >> 16 & 255) + '.' + std::to_string(nUser >> 8 & 255) + '.' +
           std::to_string(nUser & 255);
}

}  // namespace Load

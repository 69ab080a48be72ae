// The service's book of who is in, for tests in which sessions come and go.
#pragma once

#include <map>
#include <set>
#include <string>
#include <utility>

namespace Support {

class Ledger {
public:
    using Users = std::map<std::string, std::string>;  // to their Seq Nos

    // A registration: who is in is in doubt until the user list or a new checkin names the user.
    void Register()
    {
        for (const auto& [strUser, strSeqNo] : m_mapIn)
            m_setDoubtful.insert(strUser);
    }
    // A checkin replaces the user's session. Without a Seq No the session gets a new one, which is returned.
    std::string CheckIn(const std::string& strUser, std::string strSeqNo = {})
    {
        if (strSeqNo.empty())
            strSeqNo = std::to_string(++m_nLastSeqNo);
        m_setDoubtful.erase(strUser);
        return m_mapIn[strUser] = strSeqNo;
    }
    // Ends the session of that Seq No, or the user's if there is none. Counts the checkouts of each Seq No.
    void CheckOut(const std::string& strUser, const std::string& strSeqNo)
    {
        ++m_mapCheckouts[strSeqNo];
        const auto it = m_mapIn.find(strUser);
        if (it != m_mapIn.end() && (strSeqNo.empty() || strSeqNo == it->second))
            m_mapIn.erase(it);
    }
    // Once the lists of the last registration have come: who is still in doubt is out.
    const Users& Settle()
    {
        for (const std::string& strUser : std::exchange(m_setDoubtful, {}))
            m_mapIn.erase(strUser);
        return m_mapIn;
    }
    std::string SeqNoOf(const std::string& strUser) const
    {
        const auto it = m_mapIn.find(strUser);
        return it == m_mapIn.end() ? std::string() : it->second;
    }
    int Checkouts(const std::string& strSeqNo) { return m_mapCheckouts[strSeqNo]; }

private:
    Users m_mapIn;
    std::set<std::string> m_setDoubtful;
    std::map<std::string, int> m_mapCheckouts;
    int m_nLastSeqNo = 0;
};

}  // namespace Support

// One checked-in user: what the service has answered to the checkin, and what the charge needs of it.
#pragma once

#include <cstdint>
#include <string>

#include "base/ModuleFlags.h"
#include "platform/Host.h"

// What the charge scan does with a user.
enum class ChargeState {
    Expired = -1,  // the term has ended: check out, tell the game, remove
    Nothing = 0,   // neither expired nor charged
    Charge = 1,    // belongs into the charge message of the user's product
};

// A plain value; copies are handed out under the user map's lock, so a copy belongs to one thread.
class CUserInfo {
public:
    CUserInfo() = default;
    CUserInfo(const CUserInfo&) = default;
    CUserInfo& operator=(const CUserInfo&) = default;
    CUserInfo(CUserInfo&&) = default;
    CUserInfo& operator=(CUserInfo&&) = default;
    virtual ~CUserInfo() = default;

    // Two records are equal if their keys and IPs are equal byte by byte; the other members are not compared.
    friend bool operator==(const CUserInfo& a, const CUserInfo& b)
    {
        return a.m_strKey == b.m_strKey && a.m_strUserIP == b.m_strUserIP;
    }

    const std::string& GetKey() const { return m_strKey; }
    const std::string& GetUserIP() const { return m_strUserIP; }
    const std::string& GetEndDate() const { return m_strEndDate; }
    const std::string& GetCRMCode() const { return m_strCRMCode; }
    const std::string& GetSeqNo() const { return m_strSeqNo; }
    int GetProductID() const { return m_nProductID; }
    int GetBillingID() const { return m_nBillingID; }
    char GetFree() const { return m_cFree; }
    bool IsFirst() const { return m_bFirst; }
    // Which record of the user map this is, or a copy of it; 0 for one that has never been in the map. A
    // user's next session gets another number, under the same key.
    std::uint64_t GetRecordNo() const { return m_nRecordNo; }
    // The life of the library in which the record was made.
    unsigned int GetLife() const { return m_nLife; }
    // Whether the user is leaving: a checkout is on its way, and the record will be removed.
    bool IsLeaving() const { return m_bLeaving; }

    // What the charge does with this user at that local time. The billing id decides: 1 is a fixed term, 2 a
    // running charge, 3 both. Any other id, such as the 0 of a product that is not configured, is neither.
    ChargeState GetChargeState(const Host::LocalTime& now) const;
    ChargeState GetChargeState() const { return GetChargeState(Host::GetLocalTime()); }
    // Whether the end date lies before that local time; its own second still belongs to the term. Missing
    // digits count as 0, so an empty date has passed.
    bool IsEndDatePassed(const Host::LocalTime& now) const;
    bool IsEndDatePassed() const { return IsEndDatePassed(Host::GetLocalTime()); }

    void SetKey(const std::string& str) { m_strKey = str; }
    void SetUserIP(const std::string& str) { m_strUserIP = str; }
    void SetEndDate(const std::string& str) { m_strEndDate = str; }
    void SetCRMCode(const std::string& str) { m_strCRMCode = str; }
    void SetSeqNo(const std::string& str) { m_strSeqNo = str; }
    void SetProductID(int n) { m_nProductID = n; }
    void SetBillingID(int n) { m_nBillingID = n; }
    void SetFree(char c) { m_cFree = c; }
    void SetFirst(bool b) { m_bFirst = b; }
    void SetRecordNo(std::uint64_t n) { m_nRecordNo = n; }
    void SetLeaving() { m_bLeaving = true; }

private:
    std::string m_strKey;      // the text by which the game names the user: an id or a number
    std::string m_strUserIP;   // dotted address
    std::string m_strEndDate;  // end of the term, yyyymmddhhmmss, local time of the game server
    std::string m_strCRMCode;  // the service's own, passed on unread
    std::string m_strSeqNo;    // decimal text of the checkin; goes back with every checkout and charge
    int m_nProductID = -1;
    int m_nBillingID = 0;  // from the settings, for the product, at the time of the checkin
    char m_cFree = 'N';    // the service's Free mark, passed on unread
    bool m_bFirst = true;  // until the user is first put into a charge message
    bool m_bLeaving = false;
    unsigned int m_nLife = ModuleLife::Current();
    std::uint64_t m_nRecordNo = 0;
};

// One checked-in user.
#pragma once

#include <string>

#include "platform/Host.h"

// What the charge scan does with a user.
enum class ChargeState {
    Expired = -1,  // the term has ended
    Nothing = 0,
    Charge = 1,
};

class CUserInfo {
public:
    CUserInfo() = default;
    CUserInfo(const CUserInfo&) = default;
    CUserInfo& operator=(const CUserInfo&) = default;
    virtual ~CUserInfo() = default;

    // Key and IP decide, byte by byte; the other members play no part.
    friend bool operator==(const CUserInfo& a, const CUserInfo& b)
    {
        return a.m_strKey == b.m_strKey && a.m_strUserIP == b.m_strUserIP;
    }

    std::string GetKey() const { return m_strKey; }
    std::string GetUserIP() const { return m_strUserIP; }
    std::string GetEndDate() const { return m_strEndDate; }
    std::string GetCRMCode() const { return m_strCRMCode; }
    std::string GetSeqNo() const { return m_strSeqNo; }
    int GetProductID() const { return m_nProductID; }
    int GetBillingID() const { return m_nBillingID; }
    char GetFree() const { return m_cFree; }
    bool IsFirst() const { return m_bFirst; }

    // By billing id: 1 is a fixed term, 2 a running charge, 3 both; any other id has neither.
    ChargeState GetChargeState(const Host::LocalTime& now) const;
    ChargeState GetChargeState() const { return GetChargeState(Host::GetLocalTime()); }
    // Whether the end date's second is over. Digits that are missing count as 0, so that an empty date has
    // passed.
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

private:
    std::string m_strKey;  // the text that identifies the user
    std::string m_strUserIP;
    std::string m_strEndDate;  // end of the term, 14 digits, local time of the game server
    std::string m_strCRMCode;
    std::string m_strSeqNo;  // decimal text of the checkin; goes back with every checkout and charge
    int m_nProductID = -1;
    int m_nBillingID = 0;  // from the settings, for the product, at the time of the checkin
    char m_cFree = 'N';
    bool m_bFirst = true;  // until the user's first charge
};

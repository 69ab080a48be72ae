// Whether a user's billing term has ended, and whether the user is to be charged.
#include "session/UserInfo.h"

#include <array>

namespace {

// Year, month, day, hour, minute, second: two arrays compare in the order of time.
using DateFields = std::array<int, 6>;

// Reads "yyyymmddhhmmss". A field ends at its first character that is not a digit; what is missing is 0.
DateFields ParseEndDate(const std::string& str)
{
    constexpr std::array<std::size_t, 6> kWidths = {4, 2, 2, 2, 2, 2};
    DateFields fields{};
    std::size_t nAt = 0;
    for (std::size_t i = 0; i < kWidths.size(); ++i, nAt += kWidths[i - 1]) {
        for (std::size_t n = nAt; n < nAt + kWidths[i] && n < str.size(); ++n) {
            if (str[n] < '0' || str[n] > '9')
                break;
            fields[i] = fields[i] * 10 + (str[n] - '0');
        }
    }
    return fields;
}

}  // namespace

bool CUserInfo::IsEndDatePassed(const Host::LocalTime& now) const
{
    return DateFields{now.nYear, now.nMonth, now.nDay, now.nHour, now.nMinute, now.nSecond} >
           ParseEndDate(m_strEndDate);
}

ChargeState CUserInfo::GetChargeState(const Host::LocalTime& now) const
{
    // Billing id 1 has a fixed term, 2 a running charge, 3 both.
    const bool bTerm = m_nBillingID == 1 || m_nBillingID == 3;
    const bool bCharged = m_nBillingID == 2 || m_nBillingID == 3;
    if (bTerm && IsEndDatePassed(now))
        return ChargeState::Expired;
    return bCharged ? ChargeState::Charge : ChargeState::Nothing;
}

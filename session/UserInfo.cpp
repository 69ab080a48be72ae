#include "session/UserInfo.h"

#include <array>

namespace {

// Year, month, day, hour, minute, second.
using DateFields = std::array<int, 6>;

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
    const bool bTerm = m_nBillingID == 1 || m_nBillingID == 3;
    const bool bCharged = m_nBillingID == 2 || m_nBillingID == 3;
    if (bTerm && IsEndDatePassed(now))
        return ChargeState::Expired;
    return bCharged ? ChargeState::Charge : ChargeState::Nothing;
}

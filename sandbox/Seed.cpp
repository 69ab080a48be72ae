#include "sandbox/Seed.h"

#include "sandbox/DateText.h"

namespace Sandbox {
namespace {

constexpr int kDay = 24 * 60 * 60;  // seconds

User MakeUser(const char* pszUserID, int nUserNo, int nBillType, std::int64_t nRemainMinutes,
              int nTermSeconds)
{
    User user;
    user.strUserID = pszUserID;
    user.strUserNo = std::to_string(nUserNo);
    user.billing = {nBillType, 1000 + nBillType, nRemainMinutes, "CRM-" + std::to_string(nBillType), kNoEnd};
    user.nTermSeconds = nTermSeconds;
    return user;
}

User MakeRefused(const char* pszUserID, int nUserNo, int nResult, const char* pszText)
{
    User user = MakeUser(pszUserID, nUserNo, kFixedTerm, 0, 30 * kDay);
    user.nResult = nResult;
    user.strResultText = pszText;
    return user;
}

}  // namespace

std::vector<User> GetDemoUsers()
{
    User carol = MakeUser("carol", 10003, kBoth, 300, 30 * kDay);
    carol.vecOther = {{kFixedTerm, 1001, 0, "CRM-1", kNoEnd}, {kMetered, 1002, 45, "CRM-2", kNoEnd}};
    User ended = MakeUser("term-is-over", 10011, kFixedTerm, 0, 0);
    ended.billing.strEndDate = "20200101000000";
    User cafe = MakeUser("pc-cafe", 10014, kFixedTerm, 0, 30 * kDay);
    cafe.bPCCafe = true;
    cafe.cFree = 'Y';
    return {
        MakeUser("alice", 10001, kFixedTerm, 0, 30 * kDay),
        MakeUser("bob", 10002, kMetered, 600, 0),
        carol,
        MakeUser("dave", 10004, kFixedTerm, 0, 30 * kDay),
        MakeUser("erin", 10005, kMetered, 600, 0),
        MakeUser("expires-in-20s", 10010, kFixedTerm, 0, 20),
        ended,
        MakeUser("two-minutes-left", 10012, kMetered, 2, 0),
        MakeUser("no-minutes-left", 10013, kMetered, 0, 0),
        cafe,
        MakeRefused("warned-90006", 10021, 90006, "Checked in, with a warning."),
        MakeRefused("refused-30006", 10022, 30006, "Refused with the special code."),
        MakeRefused("refused-5", 10023, 5, "This user is refused with code 5."),
        MakeRefused("refused-1", 10024, 1, "This user is refused with code 1."),
        MakeRefused("refused-40000", 10025, 40000, "This user is refused with code 40000."),
    };
}

std::vector<User> GetSeedUsers(const std::string& strSeed)
{
    if (strSeed == "none")
        return {};
    return strSeed == "demo" ? GetDemoUsers() : ReadUsers(strSeed);
}

int AddUsers(Store& store, const std::vector<User>& vecUsers)
{
    Transaction transaction = store.Begin();
    int nAdded = 0;
    for (const User& user : vecUsers) {
        const auto sameNo = store.FindUser({user.strUserNo, true});
        if (sameNo && sameNo->strUserID != user.strUserID) {
            throw SeedError("seed: the user number " + user.strUserNo + " of '" + user.strUserID +
                            "' belongs to '" + sameNo->strUserID + "' already");
        }
        nAdded += store.AddUser(user) ? 1 : 0;
    }
    transaction.Commit();
    return nAdded;
}

}  // namespace Sandbox

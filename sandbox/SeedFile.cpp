// Users from a JSON file: {"users": [{"userId": "zoe", "userNo": "501", "billType": 2, ...}]}.
#include <algorithm>
#include <climits>
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>

#include "sandbox/DateText.h"
#include "sandbox/Seed.h"

namespace Sandbox {
namespace {

using Json = nlohmann::json;

constexpr std::size_t kMaxKey = 22;  // bytes of a user id or number
constexpr std::size_t kMaxCRMCode = 15;
constexpr std::size_t kMaxText = 1024;

// One object of the file. Every key has to be asked for: those left over are mistakes.
class Object {
public:
    Object(const Json& json, std::string strPlace) : m_json(json), m_strPlace(std::move(strPlace))
    {
        if (!json.is_object())
            Fail("", "an object is expected");
    }

    std::string Text(const char* pszKey, std::size_t nMax, const char* pszDefault)
    {
        const Json* const pValue = Find(pszKey);
        if (pValue == nullptr)
            return pszDefault != nullptr ? pszDefault : Fail(pszKey, "is missing");
        if (!pValue->is_string() || pValue->get_ref<const std::string&>().size() > nMax)
            Fail(pszKey, "a text of at most " + std::to_string(nMax) + " bytes is expected");
        return *pValue;
    }
    std::int64_t Number(const char* pszKey, std::int64_t nMin, std::int64_t nMax, std::int64_t nDefault)
    {
        const Json* const pValue = Find(pszKey);
        if (pValue == nullptr)
            return nDefault;
        const bool bFits = pValue->is_number_integer() &&
                           (!pValue->is_number_unsigned() || pValue->get<std::uint64_t>() <= INT64_MAX);
        const std::int64_t nValue = bFits ? pValue->get<std::int64_t>() : 0;
        if (!bFits || nValue < nMin || nValue > nMax) {
            Fail(pszKey, "a whole number from " + std::to_string(nMin) + " to " + std::to_string(nMax) +
                             " is expected");
        }
        return nValue;
    }
    bool Flag(const char* pszKey)
    {
        const Json* const pValue = Find(pszKey);
        if (pValue != nullptr && !pValue->is_boolean())
            Fail(pszKey, "true or false is expected");
        return pValue != nullptr && pValue->get<bool>();
    }
    // Calls each(element, place) for every element; a key that is not there is an empty list.
    template <class Each>
    void List(const char* pszKey, const Each& each)
    {
        const Json* const pValue = Find(pszKey);
        if (pValue == nullptr)
            return;
        if (!pValue->is_array())
            Fail(pszKey, "a list is expected");
        for (std::size_t i = 0; i < pValue->size(); ++i)
            each((*pValue)[i], m_strPlace + ' ' + pszKey + '[' + std::to_string(i) + ']');
    }
    void Done()
    {
        for (const auto& item : m_json.items()) {
            if (std::find(m_vecAsked.begin(), m_vecAsked.end(), item.key()) == m_vecAsked.end())
                Fail(item.key().c_str(), "is not a known key");
        }
    }
    [[noreturn]] std::string Fail(const char* pszKey, const std::string& strWhat) const
    {
        throw SeedError(m_strPlace + (*pszKey != '\0' ? " '" + std::string(pszKey) + "'" : "") + ": " +
                        strWhat);
    }

private:
    const Json* Find(const char* pszKey)
    {
        m_vecAsked.push_back(pszKey);
        const auto it = m_json.find(pszKey);
        return it != m_json.end() ? &*it : nullptr;
    }

    const Json& m_json;
    std::string m_strPlace;
    std::vector<std::string> m_vecAsked;
};

Billing ReadBilling(Object& object)
{
    Billing billing;
    billing.nBillType = static_cast<int>(object.Number("billType", kFixedTerm, kBoth, kFixedTerm));
    billing.nProductID = static_cast<int>(object.Number("productId", 1, INT_MAX, 1000 + billing.nBillType));
    billing.nRemainMinutes = object.Number("remainMinutes", 0, INT64_MAX, 0);
    billing.strCRMCode = object.Text("crmCode", kMaxCRMCode, "");
    billing.strEndDate = object.Text("endDate", 14, kNoEnd);
    if (!ParseDate(billing.strEndDate))
        object.Fail("endDate", "14 digits, YYYYMMDDhhmmss, of a day that exists are expected");
    return billing;
}

User ReadUser(const Json& json, const std::string& strPlace)
{
    Object object(json, strPlace);
    User user;
    user.strUserID = object.Text("userId", kMaxKey, nullptr);
    user.strUserNo = object.Text("userNo", kMaxKey, nullptr);
    if (user.strUserID.empty() || user.strUserNo.empty())
        object.Fail(user.strUserID.empty() ? "userId" : "userNo", "must not be empty");
    user.billing = ReadBilling(object);
    user.nTermSeconds = static_cast<int>(object.Number("termSeconds", 0, INT_MAX, 0));
    user.cFree = object.Flag("free") ? 'Y' : 'N';
    user.bPCCafe = object.Flag("pcCafe");
    user.nResult = static_cast<int>(object.Number("result", INT_MIN, INT_MAX, 0));
    user.strResultText = object.Text("resultText", kMaxText, "");
    object.List("otherBillings", [&](const Json& element, const std::string& strElement) {
        Object other(element, strElement);
        user.vecOther.push_back(ReadBilling(other));
        other.Done();
    });
    object.Done();
    return user;
}

}  // namespace

std::vector<User> ReadUsers(const std::string& strPath)
{
    std::ifstream file(strPath, std::ios::binary);
    if (!file)
        throw SeedError("seed: cannot open '" + strPath + "'");
    Json json;
    try {
        json = Json::parse(file);
    } catch (const Json::exception& e) {
        throw SeedError("seed: '" + strPath + "' is not JSON: " + e.what());
    }
    std::vector<User> vecUsers;
    Object root(json, "seed: '" + strPath + "'");
    std::set<std::string> setNames;
    root.List("users", [&](const Json& element, const std::string& strPlace) {
        vecUsers.push_back(ReadUser(element, strPlace));
        if (!setNames.insert(vecUsers.back().strUserID).second)
            throw SeedError(strPlace + ": there are two users '" + vecUsers.back().strUserID + "'");
    });
    root.Done();
    return vecUsers;
}

}  // namespace Sandbox

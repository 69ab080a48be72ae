#include "sandbox/base/Json.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "sandbox/base/Printable.h"

namespace Sandbox {

std::string DumpJson(const Json& json, int nIndent)
{
    return json.dump(nIndent, ' ', false, Json::error_handler_t::replace);
}

JsonObject::JsonObject(const Json& json, std::string strPlace) : m_json(json), m_strPlace(std::move(strPlace))
{
    if (!json.is_object())
        Fail("", "an object is expected");
}

bool JsonObject::Has(const std::string& strKey) const { return m_json.contains(strKey); }

const Json* JsonObject::Find(const std::string& strKey)
{
    m_vecAsked.push_back(strKey);
    const auto it = m_json.find(strKey);
    return it != m_json.end() ? &*it : nullptr;
}

std::string JsonObject::Text(const std::string& strKey, std::size_t nMax, const char* pszDefault)
{
    const Json* const pValue = Find(strKey);
    if (pValue == nullptr && pszDefault == nullptr)
        Fail(strKey, "is missing");
    if (pValue == nullptr)
        return pszDefault;
    if (!pValue->is_string() || pValue->get_ref<const std::string&>().size() > nMax)
        Fail(strKey, "a text of at most " + std::to_string(nMax) + " bytes is expected");
    return *pValue;
}

std::int64_t JsonObject::Number(const std::string& strKey, std::int64_t nMin, std::int64_t nMax,
                                std::int64_t nDefault)
{
    return Has(strKey) ? Number(strKey, nMin, nMax) : (Find(strKey), nDefault);
}

std::int64_t JsonObject::Number(const std::string& strKey, std::int64_t nMin, std::int64_t nMax)
{
    const Json* const pValue = Find(strKey);
    if (pValue == nullptr)
        Fail(strKey, "is missing");
    const bool bFits = pValue->is_number_integer() &&
                       (!pValue->is_number_unsigned() || pValue->get<std::uint64_t>() <= INT64_MAX);
    const std::int64_t nValue = bFits ? pValue->get<std::int64_t>() : 0;
    if (!bFits || nValue < nMin || nValue > nMax) {
        Fail(strKey,
             "a whole number from " + std::to_string(nMin) + " to " + std::to_string(nMax) + " is expected");
    }
    return nValue;
}

double JsonObject::Fraction(const std::string& strKey, double dDefault)
{
    const Json* const pValue = Find(strKey);
    if (pValue == nullptr)
        return dDefault;
    const double dValue = pValue->is_number() ? pValue->get<double>() : -1;
    if (!(dValue >= 0 && dValue <= 1))
        Fail(strKey, "a number from 0 to 1 is expected");
    return dValue;
}

bool JsonObject::Flag(const std::string& strKey)
{
    const Json* const pValue = Find(strKey);
    if (pValue != nullptr && !pValue->is_boolean())
        Fail(strKey, "true or false is expected");
    return pValue != nullptr && pValue->get<bool>();
}

void JsonObject::List(const std::string& strKey,
                      const std::function<void(const Json& element, const std::string& strPlace)>& each)
{
    const Json* const pValue = Find(strKey);
    if (pValue == nullptr)
        return;
    if (!pValue->is_array())
        Fail(strKey, "a list is expected");
    for (std::size_t i = 0; i < pValue->size(); ++i)
        each((*pValue)[i], PlaceOf(strKey) + '[' + std::to_string(i) + ']');
}

void JsonObject::Done() const
{
    for (const auto& item : m_json.items()) {
        if (std::find(m_vecAsked.begin(), m_vecAsked.end(), item.key()) == m_vecAsked.end())
            Fail(item.key(), "is not a known key");
    }
}

void JsonObject::Fail(const std::string& strKey, const std::string& strWhat) const
{
    std::string strText = m_strPlace;
    if (!strKey.empty())
        strText += (strText.empty() ? "'" : " '") + Printable(strKey) + "'";
    throw JsonError(strText.empty() ? strWhat : strText + ": " + strWhat);
}

std::string JsonObject::PlaceOf(const std::string& strKey) const
{
    return m_strPlace.empty() ? strKey : m_strPlace + ' ' + strKey;
}

}  // namespace Sandbox

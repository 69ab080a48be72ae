#include "sandbox/seed/SeedRecords.h"

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string_view>

#include "sandbox/base/DateText.h"
#include "sandbox/wire/MessageJson.h"
#include "wirova/messages/MessageCatalog.h"

namespace Sandbox {
namespace {

// The longest text that a connector keeps of a field, in bytes.
constexpr struct {
    std::string_view strField;
    std::size_t nMax;
} kWidths[] = {
    {"strBranchName", 40}, {"strProductName", 40},     {"strProductDesc", 500}, {"strImageURL", 100},
    {"strImageUrl", 100},  {"strUnitName", 50},        {"strClassName", 40},    {"strIconImageURL", 100},
    {"strCondition", 100}, {"strConditionValue", 100}, {"strCouponName", 40},   {"strExposeName", 40},
    {"strIconUrl", 100},   {"strBannerUrl", 100},
};
constexpr std::size_t kWidth = 20;  // of all other fields

// Numbers that may be below 0; all others may not.
constexpr std::string_view kSigned[] = {"nSortOrder", "nDisplayOrder"};

std::size_t WidthOf(std::string_view strField)
{
    const auto it = std::find_if(std::begin(kWidths), std::end(kWidths),
                                 [&](const auto& width) { return width.strField == strField; });
    return it != std::end(kWidths) ? it->nMax : kWidth;
}

// Checks the fields of one record.
class Checker {
public:
    explicit Checker(const JsonObject& object) : m_object(object) {}

    void operator()(const char* pszName, const std::string& strValue) const
    {
        if (strValue.size() > WidthOf(pszName))
            m_object.Fail(ArgumentName(pszName),
                          "a text of at most " + std::to_string(WidthOf(pszName)) + " bytes is expected");
    }
    void operator()(const char* pszName, Wirova::int32 nValue) const
    {
        if (nValue < 0 && std::find(std::begin(kSigned), std::end(kSigned), pszName) == std::end(kSigned))
            m_object.Fail(ArgumentName(pszName), "must not be below 0");
    }
    template <class Other>
    void operator()(const char*, const Other&) const
    {
    }

private:
    const JsonObject& m_object;
};

}  // namespace

void ReadRecord(Wirova::IMessage& rec, JsonObject& object, std::initializer_list<const char*> compulsory,
                std::initializer_list<const char*> workedOut)
{
    for (const char* const pszKey : workedOut) {
        if (object.Has(pszKey))
            object.Fail(pszKey, "is worked out by the sandbox");
    }
    for (const char* const pszKey : compulsory) {
        const Json* const pValue = object.Find(pszKey);
        if (pValue == nullptr)
            object.Fail(pszKey, "is missing");
        if (pValue->is_string() && pValue->get_ref<const std::string&>().empty())
            object.Fail(pszKey, "must not be empty");
    }
    FieldsFromJson(rec, object, Naming::Argument);
    Wirova::VisitMessage(rec, Checker(object));
}

void CheckDiscount(const JsonObject& object, int nRate, int nAmount)
{
    if (nRate > 100)
        object.Fail("discountRate", "at most 100 percent are expected");
    if (nRate == 0 && nAmount == 0)
        object.Fail("", "'discountRate' or 'discountAmt' above 0 is expected");
}

void CheckDate(const JsonObject& object, const char* pszKey, const std::string& strDate)
{
    if (!ParseDate(strDate))
        object.Fail(pszKey, "14 digits, YYYYMMDDhhmmss, of a day that exists are expected");
}

Json RecordToJson(const Wirova::IMessage& rec, std::initializer_list<const char*> workedOut)
{
    constexpr JsonLimits kAll{SIZE_MAX, SIZE_MAX, SIZE_MAX};
    Json json = Json::object();
    const Json fields = FieldsToJson(rec, kAll);  // named, because the loop's items point into it
    for (const auto& [strField, value] : fields.items()) {
        const std::string strKey = ArgumentName(strField);
        const bool bLeftOut = std::any_of(workedOut.begin(), workedOut.end(),
                                          [&](const char* pszKey) { return strKey == pszKey; });
        if (!bLeftOut)
            json[strKey] = value;
    }
    return json;
}

}  // namespace Sandbox

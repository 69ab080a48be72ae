#include "sandbox/seed/SeedRecords.h"

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string_view>

#include "sandbox/wire/MessageJson.h"
#include "wirova/messages/MessageCatalog.h"

namespace Sandbox {
namespace {

constexpr JsonLimits kAll{SIZE_MAX, SIZE_MAX, SIZE_MAX};

// The longest text that a connector keeps of a field, in bytes.
constexpr struct {
    std::string_view strName;
    std::int64_t nMax;
} kWidths[] = {
    {"branchName", 40},      {"productName", 40}, {"productDesc", 500},  {"imageUrl", 100},
    {"unitName", 50},        {"className", 40},   {"iconImageUrl", 100}, {"condition", 100},
    {"conditionValue", 100}, {"couponName", 40},  {"exposeName", 40},    {"iconUrl", 100},
    {"bannerUrl", 100},      {"itemName", 40},    {"giftMessage", 200},  {"setName", 40},
    {"listImageUrl", 100},   {"direction", 200},
};
constexpr std::int64_t kWidth = 20;  // of all other fields

// Numbers that may be below 0, and numbers that have a limit.
constexpr std::string_view kSigned[] = {"sortOrder", "displayOrder"};
constexpr struct {
    std::string_view strName;
    std::int64_t nMax;
    const char* pszHelp;
} kLimits[] = {{"discountRate", 100, "percent"}, {"validTerm", 36'500, "days"}};

void Bound(Argument& argument)
{
    const auto isNamed = [&](const auto& row) { return row.strName == argument.strName; };
    if (argument.type == Argument::Type::Text) {
        const auto itWidth = std::find_if(std::begin(kWidths), std::end(kWidths), isNamed);
        argument.nMax = itWidth != std::end(kWidths) ? itWidth->nMax : kWidth;
        if (argument.strName.ends_with("Date"))
            argument.type = Argument::Type::Date;
    } else if (argument.type == Argument::Type::Number) {
        if (std::find(std::begin(kSigned), std::end(kSigned), argument.strName) == std::end(kSigned))
            argument.nMin = 0;
        const auto itLimit = std::find_if(std::begin(kLimits), std::end(kLimits), isNamed);
        if (itLimit != std::end(kLimits)) {
            argument.nMax = itLimit->nMax;
            argument.strHelp = itLimit->pszHelp;
        }
    }
}

bool IsIn(const Names& names, const std::string& strName)
{
    return std::find(names.begin(), names.end(), strName) != names.end();
}

}  // namespace

Arguments DescribeRecord(Wirova::IMessage& rec, const Names& required, const Names& workedOut)
{
    const Json values = FieldsToJson(rec, kAll);
    Arguments arguments = DescribeFields(rec);
    auto itValue = values.begin();
    for (Argument& argument : arguments) {
        Bound(argument);
        if (IsIn(required, argument.strName))
            argument = std::move(argument).Required();
        else
            argument.strDefault = DumpJson(*itValue);
        ++itValue;
    }
    return Without(std::move(arguments), workedOut);
}

void ReadRecord(Wirova::IMessage& rec, const Json& given)
{
    JsonObject object(given, "");
    FieldsFromJson(rec, object, Naming::Argument);
}

void CheckDiscount(const Json& given, const std::string& strPlace)
{
    if (given["discountRate"] == 0 && given["discountAmt"] == 0)
        throw JsonError(strPlace + ": 'discountRate' or 'discountAmt' above 0 is expected");
}

Json RecordToJson(const Wirova::IMessage& rec, const Names& workedOut)
{
    Json json = Json::object();
    const Json fields = FieldsToJson(rec, kAll);  // named, because the loop's items point into it
    for (const auto& [strField, value] : fields.items()) {
        const std::string strKey = ArgumentName(strField);
        if (!IsIn(workedOut, strKey))
            json[strKey] = value;
    }
    return json;
}

}  // namespace Sandbox

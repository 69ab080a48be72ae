// The public records and the wire classes share names. A shared name that the lists of FieldCopy.h lack would
// never be copied: the field would stay zero, and no compiler would warn.
#include "comm/out/FieldCopy.h"

#include <gtest/gtest.h>

#include <map>
#include <set>

#include "VelkarConnector.h"
#include "wirova/messages/MessageCatalog.h"

namespace {

using NameSet = std::set<std::string>;

// A text has another prefix on each side: szItemID and strItemID both become "text ItemID".
std::string Bare(const std::string& strName)
{
    const std::size_t nPrefix = strName.starts_with("str") ? 3 : strName.starts_with("sz") ? 2 : 0;
    return nPrefix == 0 ? strName : "text " + strName.substr(nPrefix);
}

NameSet NamesOfTheRecords()
{
    NameSet names;
// clang-format off
#define FIELD_A(field, offset) names.insert(Bare(#field)); FIELD_B
#define FIELD_B(field, offset) names.insert(Bare(#field)); FIELD_A
#define FIELD_A_END
#define FIELD_B_END
#define RECORD(name, size, fields) RECORD_CAT(FIELD_A fields, _END)
// clang-format on
#include "tests/abi/RecordFields.h"
    return names;
}

NameSet NamesOfTheWire()
{
    NameSet names;
    for (const Wirova::ClassInfo& info : Wirova::AllClasses())
        Wirova::VisitMessage(*info.pfnMake(),
                             [&](const char* pszName, const auto&) { names.insert(Bare(pszName)); });
    return names;
}

TEST(FieldCopy, EveryNameOfBothSidesIsCopiedOrHasAReasonNotToBe)
{
    const std::map<std::string, std::string> kExempt = {
        {"text UserID", "an id or a number, as USE_USER_NUMBER decides"},
        {"text RecvUserID", "an id or a number, as USE_USER_NUMBER decides"},
        {"text SenderUserID", "an id or a number, whichever is not empty"},
        {"text Message", "the library's own text if the game has succeeded"},
        {"text Param", "with the event, which the notice's handler fills"},
        {"nEventCode", "with the event, which the notice's handler fills"},
        {"nSpecificCode", "with the event, which the notice's handler fills"},
        {"nResult", "the service's code becomes 0, -1 or stays"},
        {"bSuccess", "set by what has come of the call"},
        {"bPCCafe", "of one query alone, and not of the Ex queries"},
        {"bFirst", "of the charge, from what the library knows of the user"},
        {"nBillType", "a checkin takes the settings' word instead"},
    };
#define TEXT_NAME(name) "text " #name,
#define VALUE_NAME(name) #name,
    const NameSet copied = {VELKAR_SAME_TEXTS(TEXT_NAME) VELKAR_SAME_VALUES(VALUE_NAME)};
#undef TEXT_NAME
#undef VALUE_NAME
    const NameSet wire = NamesOfTheWire(), records = NamesOfTheRecords();
    for (const std::string& strName : records) {
        if (wire.contains(strName)) {
            EXPECT_NE(copied.contains(strName), kExempt.contains(strName)) << strName;
        }
    }
    for (const std::string& strName : copied)
        EXPECT_TRUE(wire.contains(strName) && records.contains(strName)) << strName;
    for (const auto& [strName, strReason] : kExempt)
        EXPECT_TRUE(wire.contains(strName) && records.contains(strName)) << strName;
}

}  // namespace

// What must hold for each of the 81 classes, whatever its fields are.
#include <gtest/gtest.h>

#include "tests/wirova/ByteStream.h"
#include "tests/wirova/Filling.h"
#include "tests/wirova/WireTable.h"

namespace {

using namespace Wirova;

// The fields as the table has them.
struct Fields {
    void operator()(const string& name, int32&) { Add(name, "n", ":int32"); }
    void operator()(const string& name, int64&) { Add(name, "", ":int64"); }
    void operator()(const string& name, char&) { Add(name, "c", ":char"); }
    void operator()(const string& name, boolean&) { Add(name, "b", ":bool"); }
    void operator()(const string& name, string&) { Add(name, "str", ":string"); }
    void operator()(const string& name, std::vector<int32>&) { Add(name, "", ":int32"); }
    void operator()(const string& name, std::vector<string>&) { Add(name, "", ":string"); }
    void operator()(const string& name, RecordList& v) { Add(name, "", ':' + string(v.Add().GetMsgName())); }
    void Add(const string& name, const string& usual, const string& type)
    {
        text += (text.empty() ? "" : " ") + name + (usual != "" && name.starts_with(usual) ? "" : type);
    }
    string text;
};

TEST(EveryClass, IsAsTheTableSays)
{
    EXPECT_EQ(std::size(kClasses), AllClasses().size());
    for (const WireClass& row : kClasses) {
        SCOPED_TRACE(row.pszName);
        const ClassInfo* const info = FindClass(row.nMsgID);
        ASSERT_NE(nullptr, info);
        const bool bRecord = std::string_view(row.pszName).find('_') == std::string_view::npos;
        EXPECT_EQ(bRecord, info->bRecord);
        EXPECT_EQ(bRecord, MakeMessage(row.nMsgID) == nullptr) << "records do not travel by themselves";
        EXPECT_STREQ(row.pszName, MessageName(row.nMsgID));
        const auto msg = info->pfnMake();
        EXPECT_STREQ(row.pszName, msg->GetMsgName());
        EXPECT_EQ(row.nMsgID, msg->GetMsgID());
        Fields fields;
        EXPECT_TRUE(VisitMessage(*msg, fields));
        EXPECT_EQ(row.pszFields, fields.text);
    }
}

TEST(EveryClass, ComesBackWholeAndLeavesOnlyItsIdOutWhileNested)
{
    for (const ClassInfo& info : AllClasses()) {
        SCOPED_TRACE(info.pszName);
        const auto msg = MakeFilled(info);
        const std::string whole = Saved(*msg);
        for (const bool bNested : {false, true}) {
            msg->SetNested(bNested);
            const std::string bytes = Saved(*msg);
            EXPECT_EQ(msg->GetSize(), static_cast<int32>(bytes.size()));
            EXPECT_EQ(whole.substr(bNested ? 4 : 0), bytes);

            const ByteStream stream(bytes + "next");
            const auto loaded = info.pfnMake();
            loaded->SetNested(bNested);
            ASSERT_TRUE(loaded->Load(stream));
            EXPECT_EQ("next", stream.Bytes());
            EXPECT_EQ(bytes, Saved(*loaded));
        }
    }
}

TEST(EveryClass, ClearGivesANewMessageButKeepsIdAndNesting)
{
    for (const ClassInfo& info : AllClasses()) {
        SCOPED_TRACE(info.pszName);
        const auto msg = MakeFilled(info), fresh = info.pfnMake();
        EXPECT_FALSE(fresh->IsNested());
        msg->SetNested(true);
        msg->Clear();
        EXPECT_TRUE(msg->IsNested());
        msg->SetNested(false);
        EXPECT_EQ(Saved(*fresh), Saved(*msg)) << "the id is among these bytes";
        EXPECT_EQ(std::string::npos, Saved(*fresh).find_first_not_of('\0', 4)) << "a field has a default";
    }
}

}  // namespace

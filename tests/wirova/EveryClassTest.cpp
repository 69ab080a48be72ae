// What must hold for each of the 81 classes, whatever its fields are.
#include <gtest/gtest.h>

#include "tests/wirova/ByteStream.h"
#include "tests/wirova/Filling.h"
#include "tests/wirova/WireTable.h"

namespace {

using namespace Wirova;

std::string Saved(const IMessage& msg)
{
    ByteStream stream;
    EXPECT_TRUE(msg.Save(stream));
    return stream.Bytes();
}

std::string Shape(IMessage& msg)
{
    struct Letters {
        void operator()(const char*, int32&) { str += 'i'; }
        void operator()(const char*, int64&) { str += 'q'; }
        void operator()(const char*, char&) { str += 'c'; }
        void operator()(const char*, boolean&) { str += 'b'; }
        void operator()(const char*, string&) { str += 's'; }
        void operator()(const char*, std::vector<int32>&) { str += 'I'; }
        void operator()(const char*, std::vector<string>&) { str += 'S'; }
        void operator()(const char*, RecordList&) { str += 'R'; }
        string str;
    } letters;
    EXPECT_TRUE(VisitMessage(msg, letters));
    return letters.str;
}

void ExpectTableOf(std::span<const WireClass> table, bool bRecord)
{
    for (const WireClass& row : table) {
        SCOPED_TRACE(row.pszName);
        const ClassInfo* const info = FindClass(row.nMsgID);
        ASSERT_NE(nullptr, info);
        EXPECT_EQ(bRecord, info->bRecord);
        EXPECT_EQ(bRecord, MakeMessage(row.nMsgID) == nullptr) << "records do not travel by themselves";
        EXPECT_STREQ(row.pszName, MessageName(row.nMsgID));
        const auto msg = info->pfnMake();
        EXPECT_STREQ(row.pszName, msg->GetMsgName());
        EXPECT_EQ(row.nMsgID, msg->GetMsgID());
        EXPECT_EQ(row.pszShape, Shape(*msg));
    }
}

TEST(EveryClass, IsAsTheTableSays)
{
    ExpectTableOf(kTopLevelClasses, false);
    ExpectTableOf(kRecordClasses, true);
    EXPECT_EQ(std::size(kTopLevelClasses) + std::size(kRecordClasses), AllClasses().size());
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
            EXPECT_EQ(Hex(whole.substr(bNested ? 4 : 0)), Hex(bytes));

            const ByteStream stream(bytes + "next");
            const auto loaded = info.pfnMake();
            loaded->SetNested(bNested);
            ASSERT_TRUE(loaded->Load(stream));
            EXPECT_EQ("next", stream.Bytes());
            EXPECT_EQ(Everything(*msg), Everything(*loaded));
            EXPECT_EQ(Hex(bytes), Hex(Saved(*loaded)));
        }
    }
}

TEST(EveryClass, FailsWhereverTheBytesEndTooSoon)
{
    for (const ClassInfo& info : AllClasses()) {
        const std::string bytes = Saved(*MakeFilled(info));
        for (std::size_t n = 0; n < bytes.size(); ++n) {
            const ByteStream stream(std::string_view(bytes).substr(0, n));
            EXPECT_FALSE(info.pfnMake()->Load(stream)) << info.pszName << " cut at " << n;
        }
    }
}

TEST(EveryClass, ClearGivesANewMessageButKeepsIdAndNesting)
{
    for (const ClassInfo& info : AllClasses()) {
        SCOPED_TRACE(info.pszName);
        const auto msg = MakeFilled(info);
        const auto fresh = info.pfnMake();
        EXPECT_FALSE(fresh->IsNested());
        msg->SetNested(true);
        msg->Clear();
        EXPECT_TRUE(msg->IsNested());
        msg->SetNested(false);
        EXPECT_EQ(Everything(*fresh), Everything(*msg));
        EXPECT_EQ(Hex(Saved(*fresh)), Hex(Saved(*msg)));  // the id is among these bytes
        EXPECT_EQ(std::string::npos, Saved(*fresh).find_first_not_of('\0', 4)) << "a field has a default";
    }
}

}  // namespace

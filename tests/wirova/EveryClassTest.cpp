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
    struct Letters final : FieldVisitor {
        void Field(const char*, int32&) override { str += 'i'; }
        void Field(const char*, int64&) override { str += 'q'; }
        void Field(const char*, char&) override { str += 'c'; }
        void Field(const char*, boolean&) override { str += 'b'; }
        void Field(const char*, string&) override { str += 's'; }
        void Field(const char*, std::vector<int32>&) override { str += 'I'; }
        void Field(const char*, std::vector<string>&) override { str += 'S'; }
        void Field(const char*, RecordList&) override { str += 'R'; }
        string str;
    } letters;
    EXPECT_TRUE(VisitFields(msg, letters));
    return letters.str;
}

void ExpectTableOf(std::span<const WireClass> table, bool bRecord, std::size_t& nClasses)
{
    for (const WireClass& row : table) {
        SCOPED_TRACE(row.pszName);
        ++nClasses;
        EXPECT_EQ(row.nHex, row.nMsgID) << "the table contradicts itself";
        const ClassInfo* const info = FindClass(row.nMsgID);
        ASSERT_NE(nullptr, info);
        EXPECT_EQ(bRecord, info->bRecord);
        EXPECT_EQ(bRecord, MakeMessage(row.nMsgID) == nullptr) << "records do not travel by themselves";
        EXPECT_STREQ(row.pszName, MessageName(row.nMsgID));
        const auto msg = info->pfnMake();
        EXPECT_STREQ(row.pszName, msg->GetMsgName());
        EXPECT_EQ(row.nMsgID, msg->GetMsgID());
        EXPECT_EQ(row.pszShape, Shape(*msg));
        EXPECT_GT(row.nMsgID, 0);
        EXPECT_LT(row.nMsgID, 1 << 28);
        EXPECT_EQ(0xA, row.nMsgID & 0xF);
    }
}

TEST(EveryClass, IsAsTheTableSays)
{
    std::size_t nClasses = 0;
    ExpectTableOf(kTopLevelClasses, false, nClasses);
    EXPECT_EQ(63U, nClasses);
    ExpectTableOf(kRecordClasses, true, nClasses);
    EXPECT_EQ(81U, nClasses);
    EXPECT_EQ(81U, AllClasses().size());
}

TEST(EveryClass, ComesBackWholeAndLeavesTheStreamEmpty)
{
    for (const ClassInfo& info : AllClasses()) {
        SCOPED_TRACE(info.pszName);
        const auto msg = MakeFilled(info);
        const std::string bytes = Saved(*msg);
        EXPECT_EQ(msg->GetSize(), static_cast<int32>(bytes.size()));

        ByteStream stream(bytes);
        const auto loaded = info.pfnMake();
        ASSERT_TRUE(loaded->Load(stream));
        EXPECT_EQ(0, stream.Length());
        EXPECT_EQ(Everything(*msg), Everything(*loaded));
        EXPECT_EQ(Hex(bytes), Hex(Saved(*loaded)));
    }
}

TEST(EveryClass, FailsWhereverTheBytesEndTooSoon)
{
    for (const ClassInfo& info : AllClasses()) {
        const std::string bytes = Saved(*MakeFilled(info));
        for (std::size_t n = 0; n < bytes.size(); ++n) {
            ByteStream stream(std::string_view(bytes).substr(0, n));
            EXPECT_FALSE(info.pfnMake()->Load(stream)) << info.pszName << " cut at " << n;
        }
    }
}

TEST(EveryClass, TakesItsOwnBytesAndNotTheNextOnes)
{
    for (const ClassInfo& info : AllClasses()) {
        SCOPED_TRACE(info.pszName);
        ByteStream stream(Saved(*MakeFilled(info)) + "next");
        EXPECT_TRUE(info.pfnMake()->Load(stream));
        EXPECT_EQ("next", stream.Bytes());
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

TEST(EveryClass, LeavesOnlyItsIdOutWhileNested)
{
    for (const ClassInfo& info : AllClasses()) {
        SCOPED_TRACE(info.pszName);
        const auto msg = MakeFilled(info);
        const std::string whole = Saved(*msg);
        msg->SetNested(true);
        EXPECT_EQ(static_cast<int32>(whole.size()) - 4, msg->GetSize());
        EXPECT_EQ(Hex(whole.substr(4)), Hex(Saved(*msg)));

        ByteStream stream(whole.substr(4));
        const auto loaded = info.pfnMake();
        loaded->SetNested(true);
        ASSERT_TRUE(loaded->Load(stream));
        EXPECT_EQ(0, stream.Length());
        EXPECT_EQ(Everything(*msg), Everything(*loaded));
    }
}

}  // namespace

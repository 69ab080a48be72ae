// The encoding of the field types, and what bytes of bad will can do with it.
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "tests/wirova/Allocations.h"
#include "tests/wirova/ByteStream.h"
#include "tests/wirova/Filling.h"
#include "wirova/Frame.h"
#include "wirova/messages/AllMessages.h"

namespace {

using namespace Wirova;

// One of every field type; not a message of the protocol.
// clang-format off
struct XEveryType final : IMessage {
    WIROVA_MESSAGE(XEveryType, 0x0ABCDEFA,
        (int32,                  nSmall)
        (int64,                  nLarge)
        (char,                   cMark)
        (boolean,                bFlag)
        (string,                 strText)
        (vector<int32>,          vecNumber)
        (vector<string>,         vecText)
        (vector<XUseCouponInfo>, vecRecord))
};
// clang-format on
WIROVA_MESSAGE_OPERATIONS(XEveryType)

TEST(Codec, EncodesEachFieldType)
{
    XEveryType msg;
    msg.nSmall = -2;
    msg.nLarge = std::numeric_limits<int64>::min();
    msg.cMark = '\x80';
    msg.bFlag = boolean::FromByte(2);
    msg.strText = std::string("a\0b", 3);
    msg.vecNumber = {std::numeric_limits<int32>::max(), 1};
    msg.vecText = {"", "z"};
    msg.vecRecord.Add().strCouponCode = "k";
    const std::string golden = Wire(
        "0ABCDEFA FFFFFFFE 8000000000000000 80 02 00000003 610062 00000002 7FFFFFFF 00000001"
        "00000002 00000000 00000001 'z' 00000001 00000000 00000001 'k'");
    EXPECT_EQ(golden, Saved(msg));
    EXPECT_EQ(static_cast<int32>(golden.size()), msg.GetSize());

    const ByteStream stream(golden);
    XEveryType in;
    ASSERT_TRUE(in.Load(stream));
    EXPECT_EQ("", stream.Bytes());
    EXPECT_EQ(2, in.bFlag.nByte);
    EXPECT_TRUE(in.bFlag);
    EXPECT_EQ(golden, Saved(in)) << "something has not been loaded";
    ASSERT_EQ(1U, in.vecRecord.size());
    EXPECT_EQ(XUseCouponInfo::kMsgID, in.vecRecord[0]->nMsgID) << "a record's id is not on the wire";
}

TEST(Codec, LoadTakesTheIdAsItComes)
{
    XC2S_Heartbeat msg;
    EXPECT_TRUE(msg.Load(ByteStream(Wire("00000001"))));
    EXPECT_EQ(XC2S_Heartbeat::kMsgID, msg.GetMsgID());
    EXPECT_EQ(Wire("00000001"), Saved(msg)) << "Save writes the member";
}

TEST(Codec, TextOfNoOrNegativeSizeLeavesTheTextAsItStands)
{
    for (const char* pszSize : {"00000000", "FFFFFFFF", "80000000"}) {
        ByteStream stream(Wire(pszSize) + "rest");
        std::string text = "before";
        EXPECT_TRUE(Codec<std::string>::Load(stream, text));
        EXPECT_EQ("before", text);
        EXPECT_EQ("rest", stream.Bytes());
    }
}

TEST(Codec, VectorsAreAppendedToAndKeepWhatCameBeforeAFailure)
{
    std::vector<int32> vec = {1};
    ByteStream good(Wire("00000001 00000002"));
    EXPECT_TRUE(Codec<std::vector<int32>>::Load(good, vec));
    ByteStream cut(Wire("00000003 00000003 000000"));
    EXPECT_FALSE(Codec<std::vector<int32>>::Load(cut, vec));
    EXPECT_EQ((std::vector<int32>{1, 2, 3}), vec);

    RecordVector<XUseCouponInfo> records;
    ByteStream cutRecord(Wire("00000002 00000001 'a' 00000001 'b' 00000001 'c' 00000009"));
    EXPECT_FALSE(Codec<RecordVector<XUseCouponInfo>>::Load(cutRecord, records));
    ASSERT_EQ(1U, records.size()) << "the half record is not appended";
    EXPECT_EQ("b", records[0]->strCouponCode);
    for (const char* pszCount : {"FFFFFFFF", "80000000"}) {
        ByteStream negative(Wire(pszCount) + std::string(100, '\0'));
        EXPECT_THROW(Codec<std::vector<int32>>::Load(negative, vec), std::length_error);
    }
}

TEST(Codec, NestingIsAsBeforeAfterSuccessAndFailure)
{
    using Records = Codec<RecordVector<XUseCouponInfo>>;
    RecordVector<XUseCouponInfo> records;
    XUseCouponInfo &first = records.Add(), &second = records.Add();
    second.SetNested(true);
    EXPECT_EQ(4 + 2 * 8, Records::Size(records)) << "all of them nested";
    const ByteStream stream;
    EXPECT_TRUE(Records::Save(stream, records));
    EXPECT_EQ(Wire("00000002") + std::string(16, '\0'), stream.Bytes());
    EXPECT_FALSE(Codec<XUseCouponInfo>::Load(ByteStream(), first));
    EXPECT_FALSE(Codec<XUseCouponInfo>::Load(ByteStream(), second));
    EXPECT_FALSE(first.IsNested());
    EXPECT_TRUE(second.IsNested());
}

// Every 4 bytes of every message become a huge or negative number in turn: whichever of them is a
// length or a count, loading ends soon and takes memory only in proportion to the bytes.
TEST(Codec, NoNumberInAnyMessageMakesItCostly)
{
    std::size_t nFailed = 0, nThrown = 0;
    for (const ClassInfo& info : AllClasses()) {
        const std::string bytes = Saved(*MakeFilled(info));
        for (std::size_t i = 4; i + 4 <= bytes.size(); ++i) {
            for (const char* pszNumber : {"7FFFFFFF", "80000000", "00010000"}) {
                const ByteStream stream(std::string(bytes).replace(i, 4, Wire(pszNumber)));
                const auto msg = info.pfnMake();
                t_nTotal = t_nLargest = 0;
                try {
                    nFailed += !msg->Load(stream);
                } catch (const std::length_error&) {
                    ++nThrown;
                }
                EXPECT_LT(t_nLargest, 16 * bytes.size() + 1000) << info.pszName << " at " << i;
                EXPECT_LT(t_nTotal, 64 * bytes.size() + 4000) << info.pszName << " at " << i;
            }
        }
    }
    EXPECT_GT(nFailed, 1000U);
    EXPECT_GT(nThrown, 30U);
}

TEST(Frame, TheFrontOfAStreamIsLookedAtAndLeftAlone)
{
    int32 nLen = 5;
    ByteStream negative(Wire("FFFFFF"));
    EXPECT_EQ(FrameState::NoLength, NextFrame(negative, 4, nLen));
    EXPECT_EQ(5, nLen);
    negative.Append(Wire("FE 00"));
    EXPECT_EQ(FrameState::Whole, NextFrame(negative, 4, nLen));
    EXPECT_EQ(-2, nLen);
    EXPECT_EQ(Wire("FFFFFFFE 00"), negative.Bytes());
    ByteStream cut(Wire("00000004 0A0B0C"));
    EXPECT_EQ(FrameState::NeedMore, NextFrame(cut, 4, nLen));
    EXPECT_EQ(4, nLen);
    EXPECT_EQ(FrameState::TooLong, NextFrame(cut, 3, nLen));
    cut.Append(Wire("0D"));
    EXPECT_EQ(FrameState::Whole, NextFrame(cut, 4, nLen));
}

}  // namespace

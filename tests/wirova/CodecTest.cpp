// What a load takes, keeps and refuses; GoldenTest.cpp has the encoding of the field types.
#include <gtest/gtest.h>

#include "tests/wirova/ByteStream.h"
#include "wirova/Frame.h"
#include "wirova/messages/AllMessages.h"

namespace {

using namespace Wirova;

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

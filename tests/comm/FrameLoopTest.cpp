// Framing without sockets: bytes in, calls of handlers out.
#include "comm/FrameLoop.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace {

using namespace std::string_view_literals;

// Two kinds of frames, written by hand: id 0x10A with one byte of body behind it, id 0x20A with none.
constexpr auto kOne =
    "\0\0\0\x05\0\0\x01\x0A"
    "x"sv;
constexpr auto kTwo = "\0\0\0\x04\0\0\x02\x0A"sv;

class FrameLoop : public testing::Test {
protected:
    FrameLoop()
    {
        m_table.RegisterHandler(0x10A, &Take<5, '1'>, &m_strCalls);
        m_table.RegisterHandler(0x20A, &Take<4, '2'>, &m_strCalls);
    }
    ~FrameLoop() override { Strova::DestroyHandle(m_pStream); }

    bool Arrive(std::string_view bytes)
    {
        Strova::Write(m_pStream, bytes.data(), static_cast<int>(bytes.size()));
        return HandleFrames(m_table, m_pStream, nullptr);
    }
    int Left() const { return Strova::GetLength(m_pStream); }

    template <int nBody, char cName>
    static bool Take(Wirova::Stream* pStream, void* pCalls, void*)
    {
        *static_cast<std::string*>(pCalls) += cName;
        return Strova::RemoveLeft(pStream, nBody) == nBody;
    }

    std::string m_strCalls;
    Strova::_THandle* m_pStream = Strova::CreateHandle();
    Wirova::CMsgHandlerTable m_table;
};

TEST_F(FrameLoop, ThreePiecesCutAtAnyBytes)
{
    const std::string strAll = std::string(kOne) + std::string(kTwo) + std::string(kOne);
    for (std::size_t nCut = 0; nCut <= strAll.size(); ++nCut) {
        for (std::size_t nMore = 0; nMore <= strAll.size() - nCut; ++nMore) {
            m_strCalls.clear();
            EXPECT_TRUE(Arrive(strAll.substr(0, nCut)) && Arrive(strAll.substr(nCut, nMore)) &&
                        Arrive(strAll.substr(nCut + nMore)));
            EXPECT_EQ(m_strCalls, "121") << "cut at " << nCut << " and " << nMore << " later";
            EXPECT_EQ(Left(), 0);
        }
    }
}

// Whatever stands in a frame, and whatever its handler takes, the next frame begins where the first one ends.
TEST_F(FrameLoop, TheLengthIsTheTruth)
{
    for (const auto frame : {"\0\0\0\x04\0\0\0\x3A"sv,               // an unknown id
                             "\0\0\0\x06\x70\0\0\x3A\0\0"sv,         // and one above all lengths
                             "\0\0\0\x02\0\0"sv,                     // half an id
                             "\0\0\0\x04\0\0\x01\x0A"sv,             // a field too few
                             "\0\0\0\x08\0\0\x02\x0A\0\0\0\0"sv}) {  // and one too many
        m_strCalls.clear();
        EXPECT_TRUE(Arrive(std::string(frame) + std::string(kOne)));
        EXPECT_EQ(m_strCalls.back(), '1');
        EXPECT_LE(m_strCalls.size(), 2u);
        EXPECT_EQ(Left(), 0);
    }
}

TEST_F(FrameLoop, LengthsThatLie)
{
    EXPECT_TRUE(Arrive("\0\0\0\0"sv));  // an empty body: the header goes, there is no id
    EXPECT_EQ(Left(), 0);
    EXPECT_TRUE(Arrive("\xFF\xFF\xFF\xFF"sv));  // negative: likewise
    EXPECT_EQ(Left(), 0);
    EXPECT_TRUE(Arrive("\x04\0\0\0"sv));  // the longest body that is waited for
    EXPECT_EQ(Left(), 4);
    Strova::RemoveLeft(m_pStream, 4);
    EXPECT_FALSE(Arrive("\x04\0\0\x01"sv));  // nobody sends so much
    EXPECT_EQ(m_strCalls, "");
}

}  // namespace

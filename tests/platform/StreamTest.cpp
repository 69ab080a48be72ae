#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <string>

#include "platform/Strova.h"

namespace {

class Stream {
public:
    Stream() : m_pHandle(Strova::CreateHandle()) { EXPECT_NE(nullptr, m_pHandle); }
    ~Stream() { Strova::DestroyHandle(m_pHandle); }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    int Write(const std::string& str)
    {
        return Strova::Write(m_pHandle, str.data(), static_cast<int>(str.size()));
    }
    std::string Take(int (*pfnTake)(Strova::_THandle*, void*, int), std::size_t nSize)
    {
        std::string strResult(nSize, '\xEE');
        const int nCount = pfnTake(m_pHandle, strResult.data(), static_cast<int>(nSize));
        EXPECT_GE(nCount, 0);
        strResult.resize(static_cast<std::size_t>(nCount));
        return strResult;
    }
    int Length() { return Strova::GetLength(m_pHandle); }
    Strova::_THandle* Get() { return m_pHandle; }

private:
    Strova::_THandle* m_pHandle;
};

}  // namespace

TEST(Stream, RefusesNegativeSizesAndTakesEmptyOnes)
{
    Stream stream;
    stream.Write("abc");
    char c = 'x';
    EXPECT_EQ(-1, Strova::Write(stream.Get(), &c, -1));
    EXPECT_EQ(-1, Strova::Read(stream.Get(), &c, -1));
    EXPECT_EQ(-1, Strova::RemoveLeft(stream.Get(), INT_MIN));
    EXPECT_EQ(0, Strova::Write(stream.Get(), &c, 0) + Strova::Read(stream.Get(), &c, 0));
    EXPECT_EQ('x', c);
    EXPECT_EQ(3, Strova::RemoveLeft(stream.Get(), INT_MAX));
    Strova::DestroyHandle(nullptr);
}

// Against a plain string, with sizes that make the buffer grow, close up and empty again and again.
TEST(Stream, BehavesLikeAStringUnderRandomUse)
{
    Stream stream;
    std::string strModel;
    std::mt19937 random(20240611);
    char cNext = 0;
    for (int n = 0; n < 20'000; ++n) {
        const std::size_t nSize = random() % (n % 100 == 0 ? 100'000 : 50);
        const std::string strTaken = strModel.substr(0, nSize);
        const auto nAction = random() % 3;
        if (nAction == 0) {
            std::string strBytes(nSize, '\0');
            for (char& c : strBytes)
                c = cNext++;
            ASSERT_EQ(static_cast<int>(nSize), stream.Write(strBytes));
            strModel += strBytes;
        } else {
            if (nAction == 1) {
                ASSERT_EQ(strTaken, stream.Take(&Strova::Peek, nSize));
                ASSERT_EQ(strTaken, stream.Take(&Strova::Read, nSize));
            } else {
                ASSERT_EQ(static_cast<int>(strTaken.size()),
                          Strova::RemoveLeft(stream.Get(), static_cast<int>(nSize)));
            }
            strModel.erase(0, strTaken.size());
        }
        ASSERT_EQ(static_cast<int>(strModel.size()), stream.Length());
    }
}

TEST(Stream, NothingIsReadBehindAnEndThatWasSet)
{
    Stream stream;
    stream.Write("frame");
    Strova::SetEnd(stream.Get(), 3);
    stream.Write("next");  // appended behind the end
    EXPECT_EQ(3, stream.Length());
    EXPECT_EQ("f", stream.Take(&Strova::Read, 1));
    EXPECT_EQ("ra", stream.Take(&Strova::Peek, 9));
    EXPECT_EQ(2, Strova::RemoveLeft(stream.Get(), 9));
    EXPECT_EQ(0, stream.Length());
    Strova::SetEnd(stream.Get(), -1);
    EXPECT_EQ("menext", stream.Take(&Strova::Read, 9));
}

// Small reads from a large stream: quadratic behaviour would not come to an end here.
TEST(Stream, TakesSmallPiecesOffALargeStreamQuickly)
{
    Stream stream;
    ASSERT_EQ(16 << 20, stream.Write(std::string(16 << 20, 'x')));
    char szPiece[8];
    while (stream.Length() > 0) {
        Strova::Read(stream.Get(), szPiece, sizeof(szPiece));
        ASSERT_EQ(1, Strova::Write(stream.Get(), "y", 1));
        Strova::RemoveLeft(stream.Get(), 3);
    }
}

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
    std::string Read(int nSize) { return Take(&Strova::Read, nSize); }
    std::string Peek(int nSize) { return Take(&Strova::Peek, nSize); }
    int Length() { return Strova::GetLength(m_pHandle); }
    Strova::_THandle* Get() { return m_pHandle; }

private:
    std::string Take(int (*pfnTake)(Strova::_THandle*, void*, int), int nSize)
    {
        std::string strResult(static_cast<std::size_t>(nSize), '\xEE');
        const int nCount = pfnTake(m_pHandle, strResult.data(), nSize);
        EXPECT_GE(nCount, 0);
        strResult.resize(static_cast<std::size_t>(nCount));
        return strResult;
    }

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
    EXPECT_EQ(0, Strova::Write(stream.Get(), &c, 0));
    EXPECT_EQ(0, Strova::Read(stream.Get(), &c, 0));
    EXPECT_EQ('x', c);
    EXPECT_EQ("abc", stream.Read(10));
    stream.Write("def");
    EXPECT_EQ(3, Strova::RemoveLeft(stream.Get(), INT_MAX));
    EXPECT_NE(nullptr, Strova::GetXMemory(stream.Get()));
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
        const std::size_t nTaken = std::min(nSize, strModel.size());
        switch (random() % 3) {
            case 0: {
                std::string strBytes(nSize, '\0');
                for (char& c : strBytes)
                    c = cNext++;
                ASSERT_EQ(static_cast<int>(nSize), stream.Write(strBytes));
                strModel += strBytes;
                break;
            }
            case 1:
                ASSERT_EQ(strModel.substr(0, nSize), stream.Peek(static_cast<int>(nSize)));
                ASSERT_EQ(strModel.substr(0, nSize), stream.Read(static_cast<int>(nSize)));
                strModel.erase(0, nTaken);
                break;
            default:
                ASSERT_EQ(static_cast<int>(nTaken),
                          Strova::RemoveLeft(stream.Get(), static_cast<int>(nSize)));
                strModel.erase(0, nTaken);
                break;
        }
        ASSERT_EQ(static_cast<int>(strModel.size()), stream.Length());
    }
}

// Small reads from a large stream: quadratic behaviour would not come to an end here.
TEST(Stream, TakesSmallPiecesOffALargeStreamQuickly)
{
    Stream stream;
    const std::string strBlock(1 << 20, 'x');
    for (int n = 0; n < 16; ++n)
        ASSERT_EQ(1 << 20, stream.Write(strBlock));
    char szPiece[8];
    int nTaken = 0;
    while (stream.Length() > 0) {
        nTaken += Strova::Read(stream.Get(), szPiece, sizeof(szPiece));
        ASSERT_EQ(1, Strova::Write(stream.Get(), "y", 1));
        nTaken += Strova::RemoveLeft(stream.Get(), 3);
    }
    EXPECT_GT(nTaken, 16 << 20);
}

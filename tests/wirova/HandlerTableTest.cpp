#include <gtest/gtest.h>

#include <optional>
#include <vector>

#include "tests/wirova/ByteStream.h"
#include "wirova/Frame.h"
#include "wirova/messages/AllMessages.h"

namespace {

using namespace Wirova;

struct Call {
    const char* pszHandler;
    Stream* stream;
    void* pContext;
    void* pParam;
    bool operator==(const Call&) const = default;
};

std::vector<Call> g_calls;

bool First(Stream* stream, void* pContext, void* pParam)
{
    g_calls.push_back({"first", stream, pContext, pParam});
    return true;
}

bool Second(Stream* stream, void* pContext, void* pParam)
{
    g_calls.push_back({"second", stream, pContext, pParam});
    return false;
}

// Takes one message off the stream, as a handler of the system does.
template <class M>
bool Take(Stream* stream, void*, void* pParam)
{
    M msg;
    if (!msg.Load(stream))
        return false;
    static_cast<std::vector<std::string>*>(pParam)->push_back(msg.GetMsgName());
    return true;
}

class HandlerTable : public testing::Test {
protected:
    void SetUp() override { g_calls.clear(); }

    CMsgHandlerTable m_table;
    int m_nContext = 0;
    int m_nParam = 0;
};

TEST_F(HandlerTable, HandlerGetsStreamContextAndParameterAndItsResultIsTheResult)
{
    ASSERT_TRUE(m_table.RegisterHandler(0x1A, &First, &m_nContext));
    ASSERT_TRUE(m_table.RegisterHandler(-2, &Second, nullptr));
    ByteStream stream(Wire("0000001A 'body'"));
    EXPECT_TRUE(m_table.Dispatch(stream, &m_nParam));
    EXPECT_EQ(Wire("0000001A 'body'"), stream.Bytes()) << "the id is the handler's to take";
    ByteStream other(Wire("FFFFFFFE"));
    EXPECT_FALSE(m_table.Dispatch(other, nullptr));
    EXPECT_EQ((std::vector<Call>{{"first", stream, &m_nContext, &m_nParam},
                                 {"second", other, nullptr, nullptr}}),
              g_calls);
}

TEST_F(HandlerTable, FirstRegistrationOfAnIdStays)
{
    ASSERT_TRUE(m_table.RegisterHandler(0x1A, &First, &m_nContext));
    EXPECT_FALSE(m_table.RegisterHandler(0x1A, &Second, nullptr));
    ByteStream stream(Wire("0000001A"));
    EXPECT_TRUE(m_table.Dispatch(stream, nullptr));
    EXPECT_EQ((std::vector<Call>{{"first", stream, &m_nContext, nullptr}}), g_calls);
}

TEST_F(HandlerTable, UnknownIdIsLeftInTheStream)
{
    ASSERT_TRUE(m_table.RegisterHandler(0x1A, &First, nullptr));
    ByteStream stream(Wire("1A000000 'body'"));
    EXPECT_FALSE(m_table.Dispatch(stream, nullptr));
    EXPECT_EQ(Wire("1A000000 'body'"), stream.Bytes());
    EXPECT_TRUE(g_calls.empty());
}

TEST_F(HandlerTable, DefaultHandlerTakesTheUnknownOnly)
{
    ASSERT_TRUE(m_table.RegisterHandler(0x1A, &Second, nullptr));
    m_table.SetDefaultHandler(&First, &m_nContext);
    ByteStream unknown(Wire("0000002A"));
    EXPECT_TRUE(m_table.Dispatch(unknown, &m_nParam));
    ByteStream known(Wire("0000001A"));
    EXPECT_FALSE(m_table.Dispatch(known, nullptr));
    EXPECT_EQ((std::vector<Call>{{"first", unknown, &m_nContext, &m_nParam},
                                 {"second", known, nullptr, nullptr}}),
              g_calls);
}

TEST_F(HandlerTable, StreamTooShortForAnIdReachesNobody)
{
    m_table.SetDefaultHandler(&First, nullptr);
    for (const char* pszBytes : {"", "00", "0000", "000000"}) {
        ByteStream stream(Wire(pszBytes));
        EXPECT_FALSE(m_table.Dispatch(stream, nullptr));
        EXPECT_EQ(Wire(pszBytes), stream.Bytes());
    }
    EXPECT_TRUE(g_calls.empty());
}

// Frames in one stream, taken as far as they are whole.
std::vector<std::string> TakeAll(const CMsgHandlerTable& table, Stream* stream)
{
    std::vector<std::string> names;
    int32 nLen = 0;
    while (PeekFrameLength(stream, nLen) && Strova::GetLength(stream) - 4 >= nLen) {
        Strova::RemoveLeft(stream, 4);
        if (!table.Dispatch(stream, &names))
            break;
    }
    return names;
}

TEST_F(HandlerTable, FramesCutAnywhereArriveOnceAndInOrder)
{
    ASSERT_TRUE(m_table.RegisterHandler(XS2C_ChargeAns::kMsgID, &Take<XS2C_ChargeAns>, nullptr));
    ASSERT_TRUE(m_table.RegisterHandler(XS2C_CheckOutAns::kMsgID, &Take<XS2C_CheckOutAns>, nullptr));
    const std::string frames =
        Wire("00000004 0E4AC6DA"
             "00000017 0B0EBC0A 00000001 00000002 'ab' 00000000 01 00000000"
             "00000004 0E4AC6DA");
    const std::vector<std::string> all = {"XS2C_ChargeAns", "XS2C_CheckOutAns", "XS2C_ChargeAns"};
    for (std::size_t n = 0; n <= frames.size(); ++n) {
        ByteStream stream(frames.substr(0, n));
        auto names = TakeAll(m_table, stream);
        stream.Append(frames.substr(n));
        const auto rest = TakeAll(m_table, stream);
        names.insert(names.end(), rest.begin(), rest.end());
        EXPECT_EQ(all, names) << "cut at " << n;
        EXPECT_EQ(0, stream.Length());
    }
}

}  // namespace

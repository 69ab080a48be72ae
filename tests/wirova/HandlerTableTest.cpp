#include <gtest/gtest.h>

#include <vector>

#include "tests/wirova/ByteStream.h"

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

TEST(HandlerTable, TheFirstHandlerOfAnIdGetsStreamContextAndParameterAndGivesTheResult)
{
    g_calls.clear();
    CMsgHandlerTable table;
    int nContext = 0, nParam = 0;
    ASSERT_TRUE(table.RegisterHandler(0x1A, &First, &nContext));
    ASSERT_TRUE(table.RegisterHandler(-2, &Second, nullptr));
    EXPECT_FALSE(table.RegisterHandler(0x1A, &Second, nullptr));
    const ByteStream first(Wire("0000001A 'body'")), second(Wire("FFFFFFFE")),
        unknown(Wire("1A000000 'body'"));
    EXPECT_TRUE(table.Dispatch(first, &nParam));
    EXPECT_EQ(Wire("0000001A 'body'"), first.Bytes()) << "the id is the handler's to take";
    EXPECT_FALSE(table.Dispatch(second, nullptr));
    EXPECT_FALSE(table.Dispatch(unknown, nullptr));
    EXPECT_EQ(Wire("1A000000 'body'"), unknown.Bytes());
    table.SetDefaultHandler(&First, nullptr);
    EXPECT_TRUE(table.Dispatch(unknown, &nParam));
    EXPECT_FALSE(table.Dispatch(second, nullptr)) << "the default takes the unknown only";
    for (const char* pszBytes : {"", "000000"}) {
        const ByteStream tooShort(Wire(pszBytes));
        EXPECT_FALSE(table.Dispatch(tooShort, nullptr));
        EXPECT_EQ(Wire(pszBytes), tooShort.Bytes());
    }
    EXPECT_EQ((std::vector<Call>{{"first", first, &nContext, &nParam},
                                 {"second", second, nullptr, nullptr},
                                 {"first", unknown, nullptr, &nParam},
                                 {"second", second, nullptr, nullptr}}),
              g_calls);
}

}  // namespace

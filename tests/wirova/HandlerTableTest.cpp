#include <gtest/gtest.h>

#include <tuple>
#include <vector>

#include "tests/wirova/ByteStream.h"

namespace {

using namespace Wirova;

using Call = std::tuple<bool, Stream*, void*, void*>;

std::vector<Call> g_calls;

template <bool bResult>
bool Handler(Stream* stream, void* pContext, void* pParam)
{
    g_calls.emplace_back(bResult, stream, pContext, pParam);
    return bResult;
}

TEST(HandlerTable, TheFirstHandlerOfAnIdGetsStreamContextAndParameterAndGivesTheResult)
{
    g_calls.clear();
    CMsgHandlerTable table;
    int nContext = 0, nParam = 0;
    ASSERT_TRUE(table.RegisterHandler(0x1A, &Handler<true>, &nContext));
    ASSERT_TRUE(table.RegisterHandler(-2, &Handler<false>, nullptr));
    EXPECT_FALSE(table.RegisterHandler(0x1A, &Handler<false>, nullptr));
    const ByteStream first(Wire("0000001A 'body'")), second(Wire("FFFFFFFE")),
        unknown(Wire("1A000000 'body'")), tooShort(Wire("000000"));
    EXPECT_TRUE(table.Dispatch(first, &nParam));
    EXPECT_EQ(Wire("0000001A 'body'"), first.Bytes()) << "the id is the handler's to take";
    EXPECT_FALSE(table.Dispatch(second, nullptr));
    EXPECT_FALSE(table.Dispatch(unknown, nullptr));
    table.SetDefaultHandler(&Handler<true>, nullptr);
    EXPECT_TRUE(table.Dispatch(unknown, &nParam));
    EXPECT_FALSE(table.Dispatch(second, nullptr)) << "the default takes the unknown only";
    EXPECT_FALSE(table.Dispatch(tooShort, nullptr));
    EXPECT_EQ((std::vector<Call>{{true, first, &nContext, &nParam},
                                 {false, second, nullptr, nullptr},
                                 {true, unknown, nullptr, &nParam},
                                 {false, second, nullptr, nullptr}}),
              g_calls);
}

}  // namespace

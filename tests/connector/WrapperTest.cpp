// VelkarConnector.hpp: who owns lists and callbacks, and where exceptions end.
#include "VelkarConnector.hpp"

#include "tests/fakeplatform/LogicTest.h"

namespace {

class WrapperTest : public LogicTest {
protected:
    void SetUp() override { Game().WriteSettings(); }
    Velkar::Connector m_connector;
    Velkar::Callbacks m_callbacks;
};

TEST_F(WrapperTest, AListBelongsToOneObject)
{
    ASSERT_TRUE(m_connector.Start(Game().id, {}));
    Service().On<XC2S_QueryMenuListReq>("vecMenu={strBranchID=a} vecMenu={strBranchID=b}");
    auto menu = Velkar::QueryMenuList({});
    const auto rows = std::move(menu.rows);
    EXPECT_TRUE(menu.rows.empty() && menu.rows.begin() == menu.rows.end());
    std::string strBranches;
    for (const _MENU_INFO& row : rows)
        strBranches += row.szBranchID;
    EXPECT_EQ(strBranches, "ab");
    EXPECT_FALSE(rows.At(2).has_value());
    m_connector.Stop();
    EXPECT_TRUE(rows.empty() && rows.begin() == rows.end());
}

TEST_F(WrapperTest, AnExceptionBecomesAFailure)
{
    m_callbacks.onQueryGameMoney = [](const _GAME_USER_REQ&, _GAME_MONEY_RES& res) {
        res.bSuccess = 1;
        throw std::runtime_error("no purse");
    };
    m_callbacks.onException = [](const char* pszText) { throw pszText; };
    ASSERT_TRUE(m_connector.Start(Game().id, m_callbacks));
    EXPECT_EQ(Service().Ask(XS2C_QueryGameMoneyReq())->strMessage, "no purse");
}

TEST_F(WrapperTest, TheEndWaitsForACallback)
{
    std::promise<void> entered, leave;
    auto pAlive = std::make_shared<int>(0);
    m_callbacks.onNotifyStorageInfo = [&, pMine = pAlive](const _STORAGE_NOTI_INFO&) {
        entered.set_value();
        leave.get_future().wait();
        ++*pMine;
    };
    ASSERT_TRUE(m_connector.Start(Game().id, std::move(m_callbacks)));
    EXPECT_STREQ(Velkar::Connector().Start(Game().id, {}).Text(), "Velkar Connector is already initialized.");
    Service().Send<XS2C_NotifyStorageInfo>("");
    entered.get_future().wait();
    auto stopped = Game().Later([&] { m_connector.Stop(); });
    EXPECT_EQ(stopped.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    leave.set_value();
    stopped.get();
    EXPECT_EQ(*pAlive, 1);
    EXPECT_EQ(pAlive.use_count(), 1);  // nothing of the callbacks is kept
}

}  // namespace

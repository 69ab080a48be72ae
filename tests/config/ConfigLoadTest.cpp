// One load of the settings file: what it reads, how it fails, what it leaves behind.
#include <gtest/gtest.h>

#include <atomic>
#include <set>
#include <thread>

#include "config/BillingIdMap.h"
#include "config/ConfigReader.h"
#include "config/EventCodeMap.h"
#include "tests/config/Growth.h"
#include "tests/config/SettingsText.h"

namespace {

CBillingIdMap& Products() { return BillingIdMap(); }
CEventCodeMap& Events() { return EventCodeMap(); }

class ConfigLoad : public testing::Test {
protected:
    void SetUp() override
    {
        Products().Clear();
        Events().Clear();
    }
    void TearDown() override { m_reader.Shutdown(); }
    bool Open(const Settings::Text& text)
    {
        m_file.Write(text);
        const bool bOpened = m_reader.Open(m_file.Path());
        m_reader.Shutdown();  // these tests load by themselves
        return bOpened;
    }
    bool Load(const Settings::Text& text)
    {
        m_file.Write(text);
        return m_reader.Load();
    }

    Settings::File m_file;
    CConfigReader m_reader;
};

Settings::Text Good()
{
    return Settings::Text()
        .Set("ID_COUNT", "2")
        .Product("0", "100", "not read", "9")
        .Product("1", "101", "Monthly &amp; more", "1")
        .Product("2", "102", "Hourly", "-2")
        .Set("EVENT_CODE_COUNT", "2")
        .Event("0", "Expired")
        .Event("1", "Soon")
        .Event("2", "not read");
}

TEST_F(ConfigLoad, ReadsEverything)
{
    ASSERT_TRUE(Open(Good().Set("TL2RELOAD_CYCLE", "5"))) << m_reader.GetLastErrorText();
    EXPECT_EQ(m_reader.GetServerIP(), "10.0.0.1");
    EXPECT_EQ(m_reader.GetServerPort(), 7000);
    EXPECT_EQ(m_reader.GetHeartbeatCycle(), 11);
    EXPECT_EQ(m_reader.GetReconnectCycle(), 12);
    EXPECT_EQ(m_reader.GetChargeCycle(), 13);
    EXPECT_TRUE(m_reader.IsUseUserNumber());
    EXPECT_EQ(m_reader.GetLogovaConfigFile(), "log.conf");
    EXPECT_EQ(m_reader.GetLogovaService(), "service");
    EXPECT_EQ(m_reader.GetLogovaLogger(), "logger");
    EXPECT_EQ(m_reader.GetLastErrorText(), "");
    EXPECT_EQ(Products().GetProductCount(), 2);
    EXPECT_EQ(Products().GetBillingName(101), "Monthly & more");
    EXPECT_EQ(Products().GetBillingId(102), -2);
    EXPECT_EQ(Products().GetBillingId(100), 0);
    EXPECT_EQ(Events().GetEventName(0), "Expired");
    EXPECT_EQ(Events().GetEventName(2), "");
}

TEST_F(ConfigLoad, EveryFailureHasItsText)
{
    const auto product = [](const char* pszId, const char* pszName, const char* pszBillingId) {
        return Settings::Text().Set("ID_COUNT", "1").Product("1", pszId, pszName, pszBillingId);
    };
    std::vector<std::pair<Settings::Text, std::string>> vecTable{
        {Settings::Text().Remove("VELKAR"), "Failed to move to 'VELKAR' module."},
        {Settings::Text().Set("ID_COUNT", "1"), "Failed to get 'BILLING_ID_INFO' array property."},
        {product("0", "n", "1"), "Failed to convert 'PRODUCT_ID' value to integer."},
        {product("x", "n", "1"), "Failed to convert 'PRODUCT_ID' value to integer."},
        {product("1", "", "1"), "Failed to get 'BILLING_ID_INFO' array property."},
        {product("1", "n", ""), "Failed to get 'BILLING_ID_INFO' array property."},
        {product("1", "n", "0"), "Failed to convert 'BILLING_ID' value to integer."},
        {Settings::Text().Set("EVENT_CODE_COUNT", "2").Event("0", "e"), "Failed to get '1' property."},
    };
    for (const char* pszGroup :
         {"CONNECTOR_INFO", "BILLING_ID_INFO", "SPECIFIC_EVENT_CODE_INFO", "LOGOVA_INFO"})
        vecTable.emplace_back(Settings::Text().Remove(pszGroup),
                              std::string("Failed to move to '") + pszGroup + "' group.");
    for (const char* pszNumber : {"SERVER_PORT", "HEARTBEAT_CYCLE", "RECONNECT_CYCLE", "CHARGE_CYCLE",
                                  "ID_COUNT", "EVENT_CODE_COUNT"}) {
        for (const char* pszValue : {"0", "abc"}) {
            vecTable.emplace_back(Settings::Text().Set(pszNumber, pszValue),
                                  std::string("Failed to convert '") + pszNumber + "' value to integer.");
        }
    }
    for (const char* pszKey :
         {"SERVER_IP", "SERVER_PORT", "HEARTBEAT_CYCLE", "RECONNECT_CYCLE", "CHARGE_CYCLE", "USE_USER_NUMBER",
          "ID_COUNT", "EVENT_CODE_COUNT", "LOGOVA_CONFIG_FILE", "LOGOVA_SERVICE", "LOGOVA_LOGGER"}) {
        const std::string strError = std::string("Failed to get '") + pszKey + "' property.";
        vecTable.emplace_back(Settings::Text().Remove(pszKey), strError);
        vecTable.emplace_back(Settings::Text().Set(pszKey, "  "), strError);
        vecTable.emplace_back(Settings::Text().Set(pszKey, std::string(255, '1')), strError);
    }
    ASSERT_TRUE(Open(Settings::Text()));
    for (const auto& [text, strError] : vecTable) {
        EXPECT_FALSE(Load(text)) << strError;
        EXPECT_EQ(m_reader.GetLastErrorText(), strError);
    }
    EXPECT_TRUE(Load(Settings::Text()));
    EXPECT_EQ(m_reader.GetLastErrorText(), vecTable.back().second) << "a good load does not clear it";
}

TEST_F(ConfigLoad, FilesThatCannotBeRead)
{
    const std::string strNotOpened = "Failed to open and parse a TL2 file. FileName : " + m_file.Path();
    EXPECT_FALSE(m_reader.Open(m_file.Path()));
    EXPECT_EQ(m_reader.GetLastErrorText(), "Failed to find a TL2 file. FileName : " + m_file.Path());
    EXPECT_FALSE(m_reader.Open(""));
    EXPECT_EQ(m_reader.GetLastErrorText(), "Failed to find a TL2 file. FileName : ");
    ASSERT_TRUE(Open(Settings::Text()));
    for (const char* pszText : {"", "no element", "<OTHER/>", "<TARVO>&foo;</TARVO>"}) {
        m_file.Write(pszText);
        EXPECT_FALSE(m_reader.Load());
        EXPECT_EQ(m_reader.GetLastErrorText(), strNotOpened) << pszText;
    }
    EXPECT_EQ(m_reader.GetServerPort(), 7000) << "a file that is not read changes nothing";
}

TEST_F(ConfigLoad, UserNumberIsOneOfTwoWords)
{
    ASSERT_TRUE(Open(Settings::Text()));
    for (const auto& [pszWord, bExpected] : {std::pair{"True", false},
                                             {"TRUE", true},
                                             {"false", false},
                                             {" true ", true},
                                             {"1", false},
                                             {"tRUE", false}}) {
        EXPECT_TRUE(Load(Settings::Text().Set("USE_USER_NUMBER", pszWord)));
        EXPECT_EQ(m_reader.IsUseUserNumber(), bExpected) << pszWord;
    }
}

TEST_F(ConfigLoad, AFailureHalfWayLeavesWhatWasRead)
{
    ASSERT_TRUE(Open(Good()));
    EXPECT_FALSE(Load(Good()
                          .Set("SERVER_IP", "10.0.0.2")
                          .Set("SERVER_PORT", "7001")
                          .Set("HEARTBEAT_CYCLE", "abc")
                          .Set("RECONNECT_CYCLE", "99")
                          .Set("LOGOVA_SERVICE", "new")));
    EXPECT_EQ(m_reader.GetServerIP(), "10.0.0.2");
    EXPECT_EQ(m_reader.GetServerPort(), 7001);
    EXPECT_EQ(m_reader.GetHeartbeatCycle(), 0) << "the refused number is in force";
    EXPECT_EQ(m_reader.GetReconnectCycle(), 12);
    EXPECT_EQ(m_reader.GetLogovaService(), "service");

    // A bad list ends there, and all that follows is read.
    Products().Clear();
    Events().Clear();
    EXPECT_FALSE(Load(Settings::Text()
                          .Set("ID_COUNT", "3")
                          .Product("1", "1", "a", "1")
                          .Product("2", "0", "b", "1")
                          .Product("3", "3", "c", "1")
                          .Set("EVENT_CODE_COUNT", "2")
                          .Event("0", "e")
                          .Set("LOGOVA_LOGGER", "new")));
    EXPECT_EQ(m_reader.GetLastErrorText(), "Failed to get '1' property.") << "the last of several";
    EXPECT_EQ(Products().GetProductCount(), 1);
    EXPECT_EQ(Events().GetEventName(0), "e");
    EXPECT_EQ(m_reader.GetLogovaLogger(), "new");
}

TEST_F(ConfigLoad, ListsOnlyGrow)
{
    ASSERT_TRUE(Open(Settings::Text()
                         .Set("ID_COUNT", "2")
                         .Product("1", "5", "first", "1")
                         .Product("2", "5", "second", "2")
                         .Set("EVENT_CODE_COUNT", "1")
                         .Event("0", "first")));
    EXPECT_EQ(Products().GetBillingName(5), "first") << "of two arrays with one id";
    ASSERT_TRUE(Load(Settings::Text()
                         .Set("ID_COUNT", "2")
                         .Product("1", "5", "changed", "9")
                         .Product("2", "4", "new", "3")
                         .Set("EVENT_CODE_COUNT", "2")
                         .Event("0", "changed")
                         .Event("1", "new")));
    EXPECT_EQ(Products().GetBillingName(5), "first");
    EXPECT_EQ(Products().GetBillingId(5), 1);
    EXPECT_EQ(Products().GetBillingId(4), 3);
    EXPECT_EQ(Events().GetEventName(0), "first");
    EXPECT_EQ(Events().GetEventName(1), "new");
    ASSERT_TRUE(Load(Settings::Text()));
    EXPECT_EQ(Products().GetProductCount(), 2) << "999 means none, and removes none";
}

TEST_F(ConfigLoad, ValuesUpToTheirLimit)
{
    const std::string strLongest(254, 'x');
    ASSERT_TRUE(Open(Settings::Text()
                         .Set("SERVER_IP", strLongest)
                         .Set("ID_COUNT", "1")
                         .Product("1", "7", strLongest, "1")
                         .Set("SERVER_PORT", "99999999999")
                         .Set("CHARGE_CYCLE", "-3")));
    EXPECT_EQ(m_reader.GetServerIP(), strLongest);
    EXPECT_EQ(Products().GetBillingName(7), strLongest);
    EXPECT_EQ(m_reader.GetServerPort(), 2147483647);
    EXPECT_EQ(m_reader.GetChargeCycle(), -3);
    EXPECT_FALSE(Load(Settings::Text().Set("ID_COUNT", "1").Product("1", "8", strLongest + "x", "1")));
    EXPECT_EQ(Products().GetProductCount(), 1);
    EXPECT_FALSE(Load(Settings::Text().Set("ID_COUNT", "2147483647").Product("1", "9", "a", "1")));
    EXPECT_TRUE(Load(Settings::Text().Set("ID_COUNT", "-1").Product("1", "10", "a", "1")));
    EXPECT_EQ(Products().GetProductCount(), 2);
}

TEST_F(ConfigLoad, SampleFileOfTheExample)
{
    ASSERT_TRUE(m_reader.Open(VELKAR_SOURCE_DIR "/examples/game_server/VelkarConnectorConfig.tl2"))
        << m_reader.GetLastErrorText();
    EXPECT_EQ(m_reader.GetServerIP(), "127.0.0.1");
    EXPECT_FALSE(m_reader.IsUseUserNumber());
    EXPECT_EQ(Products().GetProductCount(), 3);
    EXPECT_NE(Events().GetEventName(2), "");
}

TEST_F(ConfigLoad, LargeListsLoadInLinearTime)
{
    const auto make = [](int nCount) {
        Settings::Text text;
        text.Set("ID_COUNT", std::to_string(nCount)).Set("EVENT_CODE_COUNT", std::to_string(nCount));
        for (int n = nCount; n > 0; --n)  // the last first: no luck by order
            text.Product(std::to_string(n), std::to_string(n), "Product", "1")
                .Event(std::to_string(n - 1), "Event");
        return text;
    };
    ASSERT_TRUE(Open(Settings::Text()));
    int nLoaded = 0;
    const double dGrowth = Growth::OverEight(1250, [&](int nCount) {
        if (nCount != nLoaded)
            m_file.Write(make(nCount));
        nLoaded = nCount;
        Products().Clear();
        Events().Clear();
        ASSERT_TRUE(m_reader.Load()) << m_reader.GetLastErrorText();
        ASSERT_EQ(Products().GetProductCount(), nCount);
    });
    EXPECT_LT(dGrowth, Growth::kMost);
}

TEST_F(ConfigLoad, MapsByPosition)
{
    // Looking between the additions: what has been listed before must not be remembered.
    std::set<int> setIds;
    for (const int nId : {7, -3, 12, 20, 7, 8}) {
        Products().AddBilling(nId, 1, "x");
        setIds.insert(nId);
        std::vector<int> vecIds;
        for (int n = 0; n < Products().GetProductCount(); ++n)
            vecIds.push_back(Products().GetProductIdAt(n));
        EXPECT_EQ(vecIds, std::vector(setIds.begin(), setIds.end()));
    }
    EXPECT_EQ(Products().GetProductIdAt(5), -1);
    EXPECT_EQ(Products().GetProductIdAt(-1), -1);
    Products().Clear();
    EXPECT_EQ(Products().GetProductIdAt(0), -1);
}

TEST_F(ConfigLoad, NamesStayWhereTheyAre)
{
    Products().AddBilling(1, 1, "kept");
    Events().AddEvent(1, "kept too");
    const char* const pszProduct = Products().InternName(1);
    const char* const pszEvent = Events().InternName(1);
    EXPECT_STREQ(Products().InternName(2), "");
    EXPECT_STREQ(Events().InternName(2), "");
    Products().Clear();
    Events().Clear();
    for (int n = 0; n < 1000; ++n) {
        Products().AddBilling(n, 1, "name " + std::to_string(n));
        Events().AddEvent(n, "name " + std::to_string(n));
    }
    EXPECT_STREQ(pszProduct, "kept");
    EXPECT_STREQ(pszEvent, "kept too");
    Products().Clear();
    Products().AddBilling(9, 1, "kept");
    EXPECT_EQ(Products().InternName(9), pszProduct) << "a text is kept once";
}

// For ThreadSanitizer, and no value is ever seen half-written.
TEST_F(ConfigLoad, AccessorsDuringLoads)
{
    const std::string strFirst = "first.address.of.the.service";
    const Settings::Text one = Good().Set("SERVER_IP", strFirst);
    const Settings::Text two = Good().Set("SERVER_IP", "second").Set("USE_USER_NUMBER", "false");
    ASSERT_TRUE(Open(one));
    std::atomic<bool> bEnd{false};
    std::atomic<int> nTorn{0};
    const auto look = [&] {
        while (!bEnd) {
            const std::string strIP = m_reader.GetServerIP();
            const int nCycles =
                m_reader.GetHeartbeatCycle() + m_reader.GetReconnectCycle() + m_reader.GetChargeCycle();
            nTorn += (strIP != strFirst && strIP != "second") || m_reader.GetServerPort() != 7000 ||
                     nCycles != 36 || m_reader.GetLogovaLogger() != "logger" ||
                     !m_reader.GetLastErrorText().empty();
            m_reader.IsUseUserNumber();
            for (int nPosition = Products().GetProductCount(); nPosition >= 0; --nPosition)
                Products().GetBillingName(Products().GetProductIdAt(nPosition));
            Events().InternName(Products().GetBillingId(101));
        }
    };
    std::thread first(look), second(look);
    for (int n = 0; n < 50; ++n) {
        m_file.Write(n % 2 == 0 ? two : one);
        EXPECT_TRUE(m_reader.Load());
    }
    bEnd = true;
    first.join();
    second.join();
    EXPECT_EQ(nTorn, 0);
}

}  // namespace

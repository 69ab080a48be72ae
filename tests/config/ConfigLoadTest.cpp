// One load of the settings file: what it reads, how it fails, what it leaves behind.
#include <gtest/gtest.h>

#include <set>

#include "config/BillingIdMap.h"
#include "config/ConfigReader.h"
#include "config/EventCodeMap.h"
#include "tests/config/Growth.h"
#include "tests/config/SettingsText.h"

namespace {

using SettingsText::Text;

CBillingIdMap& Products() { return BillingIdMap(); }
CEventCodeMap& Events() { return EventCodeMap(); }

class ConfigLoad : public testing::Test {
protected:
    void SetUp() override
    {
        Products().Clear();
        Events().Clear();
        m_file.Write(Text());
        ASSERT_TRUE(m_reader.Open(m_file.Path())) << m_reader.GetLastErrorText();
        m_reader.Shutdown();  // these tests load by themselves
    }
    bool Load(const Text& text) { return LoadBytes(text.Xml()); }
    bool LoadBytes(const std::string& strBytes)
    {
        m_file.Write(strBytes);
        return m_reader.Load();
    }

    SettingsText::File m_file;
    CConfigReader m_reader;
};

TEST_F(ConfigLoad, ReadsEverything)
{
    EXPECT_TRUE(
        Load(Text()
                 .Products({{"101", "Monthly &amp; more", "1"}, {"102", "Hourly", "-2"}, {"103", "", ""}})
                 .Events({"Expired", "Soon", "not read"})
                 .Set({{"ID_COUNT", "2"}, {"EVENT_CODE_COUNT", "2"}, {"TL2RELOAD_CYCLE", "5"}})));
    EXPECT_EQ(
        std::tuple(m_reader.GetServerIP(), m_reader.GetServerPort(), m_reader.GetHeartbeatCycle(),
                   m_reader.GetReconnectCycle(), m_reader.GetChargeCycle(), m_reader.GetLogovaConfigFile(),
                   m_reader.GetLogovaService(), m_reader.GetLogovaLogger(), m_reader.GetLastErrorText()),
        std::tuple("10.0.0.1", 7000, 11, 12, 13, "log.conf", "service", "logger", ""));
    EXPECT_EQ(Products().GetProductCount(), 2);
    EXPECT_EQ(Products().GetBillingName(101), "Monthly & more");
    EXPECT_EQ(Products().GetBillingId(102) * 10 + Products().GetBillingId(100), -20);
    EXPECT_EQ(Events().GetEventName(0) + Events().GetEventName(2), "Expired");
    for (const char* pszWord : {"TRUE", " true ", "True", "tRUE", "false", "1"}) {
        EXPECT_TRUE(Load(Text().Set({{"USE_USER_NUMBER", pszWord}})));
        EXPECT_EQ(m_reader.IsUseUserNumber(), std::set<std::string>({"TRUE", " true "}).contains(pszWord))
            << pszWord;
    }
}

TEST_F(ConfigLoad, EveryFailureHasItsText)
{
    std::vector<std::pair<Text, std::string>> vecTable;
    const auto add = [&](const Text& text, const std::string& strError, const std::string& strWord,
                         const char* pszEnd) {
        vecTable.emplace_back(text, strError + " '" + strWord + pszEnd);
    };
    const std::string strTooLong(255, '1'), strGet = "Failed to get", strConvert = "Failed to convert";
    for (const char* pszId : {"0", "x"})
        add(Text().Products({{pszId, "n", "1"}}), strConvert, "PRODUCT_ID", "' value to integer.");
    add(Text().Products({{"1", "n", "0"}}), strConvert, "BILLING_ID", "' value to integer.");
    const Text::Billing kLacking[] = {{"1", "", "1"}, {"1", "n", ""}, {"1", strTooLong, "1"}};
    for (const Text::Billing& lacking : kLacking)
        add(Text().Products({lacking}), strGet, "BILLING_ID_INFO", "' array property.");
    add(Text().Set({{"ID_COUNT", "1"}}), strGet, "BILLING_ID_INFO", "' array property.");
    add(Text().Events({"e"}).Set({{"EVENT_CODE_COUNT", "2"}}), strGet, "1", "' property.");
    add(Text().Remove("VELKAR"), "Failed to move to", "VELKAR", "' module.");
    for (const char* pszGroup :
         {"CONNECTOR_INFO", "BILLING_ID_INFO", "SPECIFIC_EVENT_CODE_INFO", "LOGOVA_INFO"})
        add(Text().Remove(pszGroup), "Failed to move to", pszGroup, "' group.");
    std::vector<const char*> vecKeys = {"SERVER_PORT",  "HEARTBEAT_CYCLE", "RECONNECT_CYCLE",
                                        "CHARGE_CYCLE", "ID_COUNT",        "EVENT_CODE_COUNT"};
    for (const char* pszKey : vecKeys)
        for (const char* pszValue : {"0", "abc"})
            add(Text().Set({{pszKey, pszValue}}), strConvert, pszKey, "' value to integer.");
    for (const char* pszKey :
         {"SERVER_IP", "USE_USER_NUMBER", "LOGOVA_CONFIG_FILE", "LOGOVA_SERVICE", "LOGOVA_LOGGER"})
        vecKeys.push_back(pszKey);
    for (const char* pszKey : vecKeys) {
        add(Text().Remove(pszKey), strGet, pszKey, "' property.");
        for (const std::string& strValue : {std::string("  "), strTooLong})
            add(Text().Set({{pszKey, strValue}}), strGet, pszKey, "' property.");
    }
    for (const auto& [text, strError] : vecTable) {
        EXPECT_FALSE(Load(text)) << strError;
        EXPECT_EQ(m_reader.GetLastErrorText(), strError);
    }
    EXPECT_TRUE(Load(Text()));
    EXPECT_EQ(m_reader.GetLastErrorText(), vecTable.back().second) << "a good load does not clear it";
}

TEST_F(ConfigLoad, FilesThatCannotBeRead)
{
    for (const char* pszText : {"", "no element", "<OTHER/>", "<TARVO>&foo;</TARVO>"}) {
        EXPECT_FALSE(LoadBytes(pszText));
        EXPECT_EQ(m_reader.GetLastErrorText(),
                  "Failed to open and parse a TL2 file. FileName : " + m_file.Path())
            << pszText;
    }
    for (const std::string& strPath : {std::string(), m_file.Path() + "x"}) {
        EXPECT_FALSE(m_reader.Open(strPath));
        EXPECT_EQ(m_reader.GetLastErrorText(), "Failed to find a TL2 file. FileName : " + strPath);
    }
    EXPECT_EQ(m_reader.GetServerPort(), 7000) << "a file that is not read changes nothing";
}

TEST_F(ConfigLoad, AFailureHalfWayLeavesWhatWasRead)
{
    EXPECT_FALSE(Load(Text().Set({{"SERVER_IP", "10.0.0.2"},
                                  {"SERVER_PORT", "7001"},
                                  {"HEARTBEAT_CYCLE", "abc"},
                                  {"RECONNECT_CYCLE", "99"},
                                  {"LOGOVA_SERVICE", "new"}})));
    EXPECT_EQ(m_reader.GetServerIP(), "10.0.0.2");
    EXPECT_EQ(m_reader.GetServerPort(), 7001);
    EXPECT_EQ(m_reader.GetHeartbeatCycle(), 0) << "the refused number is in force";
    EXPECT_EQ(m_reader.GetReconnectCycle(), 12);
    EXPECT_EQ(m_reader.GetLogovaService(), "service");
    // A bad list ends there, and all that follows is read.
    EXPECT_FALSE(Load(Text()
                          .Products({{"1", "a", "1"}, {"0", "b", "1"}, {"3", "c", "1"}})
                          .Events({"e"})
                          .Set({{"EVENT_CODE_COUNT", "2"}, {"LOGOVA_LOGGER", "new"}})));
    EXPECT_EQ(m_reader.GetLastErrorText(), "Failed to get '1' property.") << "the last of several";
    EXPECT_EQ(Products().GetProductCount(), 1);
    EXPECT_EQ(Events().GetEventName(0), "e");
    EXPECT_EQ(m_reader.GetLogovaLogger(), "new");
}

TEST_F(ConfigLoad, ListsOnlyGrow)
{
    EXPECT_TRUE(Load(Text().Products({{"5", "first", "1"}, {"5", "second", "2"}}).Events({"first"})));
    EXPECT_TRUE(Load(Text().Products({{"5", "changed", "9"}, {"4", "new", "3"}}).Events({"changed", "new"})));
    EXPECT_EQ(Products().GetBillingName(5), "first") << "of two arrays with one id, and of two loads";
    EXPECT_EQ(Products().GetBillingId(5) * 10 + Products().GetBillingId(4), 13);
    EXPECT_EQ(Events().GetEventName(0) + Events().GetEventName(1), "firstnew");
    EXPECT_TRUE(Load(Text()));
    EXPECT_EQ(Products().GetProductCount(), 2) << "999 means none, and removes none";
}

TEST_F(ConfigLoad, ValuesUpToTheirLimit)
{
    const std::string strLongest(254, 'x');
    EXPECT_TRUE(
        Load(Text()
                 .Products({{"7", strLongest, "1"}})
                 .Set({{"SERVER_IP", strLongest}, {"SERVER_PORT", "99999999999"}, {"CHARGE_CYCLE", "-3"}})));
    EXPECT_EQ(m_reader.GetServerIP(), strLongest);
    EXPECT_EQ(Products().GetBillingName(7), strLongest);
    EXPECT_EQ(m_reader.GetServerPort(), 2147483647);
    EXPECT_EQ(m_reader.GetChargeCycle(), -3);
    EXPECT_FALSE(Load(Text().Products({{"9", "a", "1"}}).Set({{"ID_COUNT", "2147483647"}})));
    EXPECT_TRUE(Load(Text().Products({{"10", "a", "1"}}).Set({{"ID_COUNT", "-1"}})));
    EXPECT_EQ(Products().GetProductCount(), 2);
}

TEST_F(ConfigLoad, SampleFileOfTheExample)
{
    ASSERT_TRUE(m_reader.Open(VELKAR_SOURCE_DIR "/examples/game_server/VelkarConnectorConfig.tl2"))
        << m_reader.GetLastErrorText();
    m_reader.Shutdown();
    EXPECT_EQ(m_reader.GetServerIP(), "127.0.0.1");
    EXPECT_FALSE(m_reader.IsUseUserNumber());
    EXPECT_EQ(Products().GetProductCount(), 3);
    EXPECT_NE(Events().GetEventName(2), "");
}

TEST_F(ConfigLoad, LargeListsLoadInLinearTime)
{
    std::map<int, std::string> files;
    for (const int nCount : {1250, 10000}) {
        std::vector<Text::Billing> vecProducts;
        for (int n = nCount; n > 0; --n)  // the last first: no luck by order
            vecProducts.push_back({std::to_string(n), "Product", "1"});
        const std::vector<std::string> vecEvents(vecProducts.size(), "Event");
        files[nCount] = Text().Products(vecProducts).Events(vecEvents).Xml();
    }
    const auto load = [&](int nCount) {
        Products().Clear();
        Events().Clear();
        ASSERT_TRUE(LoadBytes(files[nCount]) && Products().GetProductCount() == nCount);
    };
    EXPECT_LT(Growth::OverEight(1250, load), Growth::kMost);
}

TEST_F(ConfigLoad, NamesOutliveAClear)
{
    for (const int nId : {1, 2})
        Products().AddBilling(nId, nId, "old");
    Events().AddEvent(0, "old");
    const char* const pszOld = Products().InternName(1);
    for (const char* pszName : {"new", "old", "newer"}) {
        Products().Clear();
        Events().Clear();
        EXPECT_EQ(Products().GetProductCount() + Products().GetBillingId(2), 0);
        EXPECT_EQ(Products().GetBillingName(1) + Events().GetEventName(0), "");
        Products().AddBilling(1, 5, pszName);
        Events().AddEvent(0, pszName);
        EXPECT_EQ(Products().GetBillingName(1) + Products().GetBillingName(2), pszName);
        EXPECT_EQ(Events().GetEventName(0), pszName);
        EXPECT_EQ(Products().GetBillingId(1) + Products().GetProductIdAt(1), 4) << "no second product";
        EXPECT_STREQ(pszOld, "old");
    }
}

}  // namespace

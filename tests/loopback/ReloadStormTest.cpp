// A settings file that is saved, spoilt, emptied, deleted and restored all the time, while the game plays on.
#include <cstdio>
#include <fstream>
#include <thread>

#include "platform/Host.h"
#include "tests/platform/Waiting.h"
#include "tests/support/LoopbackTest.h"

namespace {

using Clock = std::chrono::steady_clock;

std::string SettingsPath()
{
    return Host::GetExecutableDirectory() + Host::GetPathSeparator() + kSettingsFile;
}

// In place, as an editor does: truncated first, written second.
void Save(const std::string& strText)
{
    std::ofstream(SettingsPath(), std::ios::binary | std::ios::trunc) << strText;
}

void Spoil(int n, const GameServer& game)
{
    const std::string strGood = game.settings.Text();
    const std::string kTexts[] = {strGood,
                                  strGood.substr(0, strGood.size() * static_cast<std::size_t>(n % 97) / 97),
                                  "", "<TARVO><module name='VELKAR'><group name='" + std::string(10000, '<')};
    const std::size_t nKind = static_cast<std::size_t>(n) % 6;
    if (nKind < std::size(kTexts))
        Save(kTexts[nKind]);
    else if (nKind == 4)
        std::remove(SettingsPath().c_str());
    else
        try {
            game.WriteSettings();          // over the old one in one step
        } catch (const std::exception&) {  // somewhere a file that is being read cannot be replaced
        }
}

TEST_F(LoopbackTest, SettingsSavedAHundredTimesASecond)
{
    Service().SayYes();
    ASSERT_TRUE(Game().Start());
    std::atomic<bool> bEnough{false};
    std::vector<std::future<void>> vecCallers;
    for (int n = 0; n < 8; ++n) {
        vecCallers.push_back(Game().Later([&, n] {
            const std::string strUser = "user" + std::to_string(n);
            while (!bEnough) {
                Game().Checkin(strUser);
                EXPECT_STREQ(GetBillingName(kProductID), "Gold");
                _RESULT_RES res;
                Charge(&res);
                Game().Checkout(strUser);
                std::this_thread::sleep_for(std::chrono::milliseconds(5));
            }
        }));
    }
    const auto begin = Clock::now();
    for (int n = 0; n < 200; ++n) {
        Spoil(n, Game());
        std::this_thread::sleep_until(begin + std::chrono::milliseconds(10 * (n + 1)));
    }
    bEnough = true;
    for (auto& caller : vecCallers)
        caller.get();
    // The file as it stands in the end is in force.
    for (const int nProductID : {1001, 1002, 1003}) {
        Game().settings.products.push_back({nProductID, "New", 2});
        Save(Game().settings.Text());
        EXPECT_TRUE(Eventually([&] { return *GetBillingName(nProductID) != '\0'; }));
        EXPECT_STREQ(GetBillingName(nProductID), "New");
    }
}

}  // namespace

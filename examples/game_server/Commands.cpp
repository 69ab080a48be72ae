#include "Commands.h"

#include <charconv>
#include <cstdio>
#include <sstream>
#include <vector>

namespace {

using Args = std::vector<std::string>;

struct Command {
    const char* pszName;
    std::size_t nArgs;
    const char* pszArgs;
    const char* pszHelp;
    bool (*run)(Server& server, const Args& args);
};

bool ShowPlayers(const Game& game)
{
    const auto vecPlayers = game.GetPlayers();
    std::printf("%d playing:", static_cast<int>(vecPlayers.size()));
    for (const std::string& strUser : vecPlayers)
        std::printf(" %s", strUser.c_str());
    std::printf("\n");
    return true;
}

bool ShowCharacters(const Game& game, const std::string& strUser)
{
    const auto vecCharacters = game.GetCharactersOf(strUser);
    if (vecCharacters.empty())
        std::printf("%s has no character here\n", strUser.c_str());
    for (const Character& character : vecCharacters) {
        std::printf("%s of %s has %d money", character.strName.c_str(), strUser.c_str(), character.nMoney);
        for (const Item& item : character.vecItems)
            std::printf(", %d %s", item.nCount, item.szItemID);
        std::printf("\n");
    }
    return !vecCharacters.empty();
}

// Calls run(number). False, after a line on the console, if the text is no number.
template <class Run>
bool WithNumber(const std::string& strNumber, Run run)
{
    int nNumber = 0;
    const char* const pEnd = strNumber.data() + strNumber.size();
    const auto [pStop, error] = std::from_chars(strNumber.data(), pEnd, nNumber);
    if (error == std::errc() && pStop == pEnd)
        return run(nNumber);
    std::printf("not a number: %s\n", strNumber.c_str());
    return false;
}

bool ShowName(int nNumber, const char* (*find)(int))
{
    const char* const pszName = find(nNumber);
    if (pszName[0] == '\0') {
        std::printf("%d has no name\n", nNumber);
        return false;
    }
    std::printf("%d is '%s'\n", nNumber, pszName);
    return true;
}

const Command kCommands[] = {
    {"in", 2, "USER IP", "checks a user in",
     [](Server& server, const Args& args) { return server.sessions.CheckIn(args[0], args[1]); }},
    {"inex", 2, "USER IP", "the same, and shows the user's other billings",
     [](Server& server, const Args& args) { return server.sessions.CheckInEx(args[0], args[1]); }},
    {"out", 1, "USER", "checks a user out",
     [](Server& server, const Args& args) { return server.sessions.CheckOut(args[0]); }},
    {"billing", 1, "USER", "what a user may play, checked in or not",
     [](Server& server, const Args& args) { return server.sessions.ShowBilling(args[0]); }},
    {"charge", 0, "", "a charge pass at once",
     [](Server& server, const Args&) { return server.sessions.ChargeAll(); }},
    {"moveout", 1, "USER", "the user goes to another server, with the text that this shows",
     [](Server& server, const Args& args) { return server.sessions.MoveTo(args[0]); }},
    {"movein", 3, "USER IP TEXT", "the user comes from another server, with the text from there",
     [](Server& server, const Args& args) { return server.sessions.MoveFrom(args[0], args[1], args[2]); }},
    {"who", 0, "", "who plays", [](Server& server, const Args&) { return ShowPlayers(server.game); }},
    {"money", 1, "USER", "money and items of a user's characters",
     [](Server& server, const Args& args) { return ShowCharacters(server.game, args[0]); }},
    {"product", 1, "NUMBER", "a product's name in the settings",
     [](Server&, const Args& args) {
         return WithNumber(args[0], [](int n) { return ShowName(n, &GetBillingName); });
     }},
    {"event", 1, "NUMBER", "an event code's name in the settings",
     [](Server&, const Args& args) {
         return WithNumber(args[0], [](int n) { return ShowName(n, &GetEventName); });
     }},
    {"menu", 0, "", "the shop's menu", [](Server& server, const Args&) { return server.shop.ShowMenu(); }},
    {"products", 2, "BRANCH PAGE", "a page of a branch",
     [](Server& server, const Args& args) {
         return WithNumber(args[1], [&](int n) { return server.shop.ShowProducts(args[0], n); });
     }},
    {"detail", 1, "PRODUCT", "what a product holds and asks",
     [](Server& server, const Args& args) { return server.shop.ShowDetail(args[0]); }},
    {"discount", 2, "USER PRODUCT", "what the user would pay less",
     [](Server& server, const Args& args) { return server.shop.ShowDiscounts(args[0], args[1]); }},
    {"coupons", 2, "USER PRODUCT", "the user's coupons for a product",
     [](Server& server, const Args& args) { return server.shop.ShowCoupons(args[0], args[1]); }},
    {"tags", 0, "", "the shop's tags", [](Server& server, const Args&) { return server.shop.ShowTags(); }},
    {"specials", 0, "", "special product groups",
     [](Server& server, const Args&) { return server.shop.ShowSpecials(); }},
    {"balance", 1, "USER", "the user's Ruv coin",
     [](Server& server, const Args& args) { return server.shop.ShowBalance(args[0]); }},
    {"buy", 5, "USER PRODUCT PASSWORD COUPON OPTION", "a purchase; - for what is not given, A:B for pairs",
     [](Server& server, const Args& args) {
         return server.shop.Buy(args[0], args[1], args[2], args[3], args[4]);
     }},
    {"give", 4, "USER RECEIVER PRODUCT PASSWORD", "a gift",
     [](Server& server, const Args& args) { return server.shop.Give(args[0], args[1], args[2], args[3]); }},
    {"box", 1, "USER", "the user's storage box",
     [](Server& server, const Args& args) { return server.shop.ShowBox(args[0]); }},
    {"read", 2, "USER ENTRY", "an entry has been read",
     [](Server& server, const Args& args) {
         return WithNumber(args[1], [&](int n) { return server.shop.MarkRead(args[0], n); });
     }},
    {"take", 2, "USER ENTRY", "an entry goes into the inventory",
     [](Server& server, const Args& args) {
         return WithNumber(args[1], [&](int n) { return server.shop.Take(args[0], n); });
     }},
    {"rethink", 2, "USER ENTRY", "an entry is reserved and given back",
     [](Server& server, const Args& args) {
         return WithNumber(args[1], [&](int n) { return server.shop.TakeAndGiveBack(args[0], n); });
     }},
};

bool ShowHelp()
{
    for (const Command& command : kCommands)
        std::printf("%-8s %-36s %s\n", command.pszName, command.pszArgs, command.pszHelp);
    std::printf("%-8s %-36s %s\n", "wait", "SECONDS", "lets the game run");
    return true;
}

bool RunWords(Server& server, const std::string& strName, const Args& args)
{
    if (strName == "help")
        return ShowHelp();
    for (const Command& command : kCommands) {
        if (strName != command.pszName)
            continue;
        if (args.size() == command.nArgs)
            return command.run(server, args);
        std::printf("it goes: %s %s\n", command.pszName, command.pszArgs);
        return false;
    }
    std::printf("not understood: %s (\"help\" lists the commands)\n", strName.c_str());
    return false;
}

}  // namespace

bool RunCommand(Server& server, const std::string& strLine)
{
    std::printf("> %s\n", strLine.c_str());
    std::istringstream words(strLine);
    std::string strName;
    words >> strName;
    const bool bMeantToFail = strName[0] == '!';
    if (bMeantToFail)
        strName.erase(0, 1);
    Args args;
    for (std::string strArg; words >> strArg;)
        args.push_back(strArg);
    return RunWords(server, strName, args) != bMeantToFail;
}

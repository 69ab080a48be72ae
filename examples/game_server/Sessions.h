// Users coming, staying and going: the game's side of the billing sessions. The game's thread alone, as its
// calls block for up to five seconds; a game with many users has a few threads for them.
#pragma once

#include <set>
#include <string>

#include "Game.h"

// Each call shows what has come of it and returns whether it did what was asked.
class Sessions {
public:
    explicit Sessions(Game& game) : m_game(game) {}

    bool CheckIn(const std::string& strUser, const std::string& strIP);
    // As CheckIn, and shows the user's other billings.
    bool CheckInEx(const std::string& strUser, const std::string& strIP);
    bool CheckOut(const std::string& strUser);
    bool ShowBilling(const std::string& strUser);
    bool ChargeAll();

    // A move: MoveTo here shows a line, MoveFrom at the other server takes it.
    bool MoveTo(const std::string& strUser);
    bool MoveFrom(const std::string& strUser, const std::string& strIP, const std::string& strLine);

    // What the callbacks post.
    void OnBillingEvent(const _BILLING_NOTI_INFO& info);
    void OnStorageNotice(const _STORAGE_NOTI_INFO& info);

    // Lets go whom the connector no longer knows; a look at each player, nothing is sent.
    void FindForgotten();
    // Before UninitModule, which forgets everybody without telling the service.
    void CheckEveryoneOut();

private:
    Game& m_game;
    std::set<std::string> m_setMissing;  // whom the connector did not know at the last look
};

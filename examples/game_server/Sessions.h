// Users coming, staying and going: the game's side of the billing sessions. Used on the game's thread only. A
// call blocks for up to five seconds, so a game with many users makes these calls on a few threads of their
// own.
#pragma once

#include <set>
#include <string>

#include "Game.h"

// Each function prints what has happened and returns whether it did what was asked.
class Sessions {
public:
    explicit Sessions(Game& game) : m_game(game) {}

    bool CheckIn(const std::string& strUser, const std::string& strIP);
    // As CheckIn, and shows the user's other billings.
    bool CheckInEx(const std::string& strUser, const std::string& strIP);
    bool CheckOut(const std::string& strUser);
    bool ShowBilling(const std::string& strUser);
    bool ChargeAll();

    // A move to another server: MoveTo prints a line on this server, and MoveFrom takes that line on the
    // other one.
    bool MoveTo(const std::string& strUser);
    bool MoveFrom(const std::string& strUser, const std::string& strIP, const std::string& strLine);

    // The notices of the service, which the callbacks post to the game's queue.
    void OnBillingEvent(const _BILLING_NOTI_INFO& info);
    void OnStorageNotice(const _STORAGE_NOTI_INFO& info);

    // Takes players out of the game whom the connector does not know any more. Asks the connector about each
    // player; nothing is sent to the service.
    void FindForgotten();
    // To be called before UninitModule, which forgets all users without telling the service.
    void CheckEveryoneOut();

private:
    Game& m_game;
    std::set<std::string>
        m_setMissing;  // players whom the connector did not know at the last call of FindForgotten
};

// The world of this little game: who plays, and what the characters own.
//
// Any thread may call anything here, the connector's too. Each call holds the lock for a moment and never
// calls the connector: a game lock that is held during a connector call can end in a deadlock.
#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "VelkarConnector.h"

// As the service describes it. A game with items of its own keeps those and translates in the callbacks.
using Item = _INVENTORY_ITEM_INFO;

struct Character {
    std::string strUser;  // the user's key
    std::string strName;
    int nLevel = 1;
    int nMoney = 0;
    std::vector<Item> vecItems;
    std::set<int> setOrders;  // delivered ones
};

class Game {
public:
    // A user comes to play; a new one gets a character. False if the user was playing already.
    bool Enter(const std::string& strUser, const std::string& strIP);
    bool Leave(const std::string& strUser);
    // The address that the user plays from; empty if the user does not play.
    std::string GetAddress(const std::string& strUser) const;
    std::vector<std::string> GetPlayers() const;

    // Copies. Characters stay when their user leaves.
    std::vector<Character> GetCharactersOf(const std::string& strUser) const;
    std::optional<Character> FindCharacterByName(const std::string& strName) const;

    // Of a user's character; without a name it is the user's first one. All do the whole of it or nothing,
    // and return why not; an empty text is success.
    std::string CopyCharacter(const std::string& strUser, const std::string& strName, Character& copy) const;
    std::string Spend(const std::string& strUser, const std::string& strName, int nMoney, int& nLeft);
    std::string Deliver(const std::string& strUser, const std::string& strName, int nOrder,
                        const std::vector<Item>& vecItems);

private:
    const Character* Find(const std::string& strUser, const std::string& strName) const;
    Character* Find(const std::string& strUser, const std::string& strName);

    mutable std::mutex m_mutex;
    std::map<std::string, std::string> m_mapPlayers;   // user's key to address
    std::map<std::string, Character> m_mapCharacters;  // by name
};

// The world of this little game: who plays, and what the characters own.
//
// Any thread may call any function, the connector's threads included. Every function holds the lock for a
// moment and never calls the connector meanwhile: if a callback needs the same lock, neither would ever go
// on.
#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "VelkarConnector.h"

// The connector's record of an item. A game with items of its own keeps its own and translates in the
// callbacks.
using Item = _INVENTORY_ITEM_INFO;

struct Character {
    std::string strUser;  // the user's key
    std::string strName;
    int nLevel = 1;
    int nMoney = 0;
    std::vector<Item> vecItems;
    std::set<int> setOrders;  // orders whose items have been delivered
};

class Game {
public:
    // Lets a user play; a user without a character gets one. False if the user was playing already.
    bool Enter(const std::string& strUser, const std::string& strIP);
    // False if the user was not playing.
    bool Leave(const std::string& strUser);
    // The address that the user plays from; empty if the user does not play.
    std::string GetAddress(const std::string& strUser) const;
    std::vector<std::string> GetPlayers() const;

    // Copies of the characters. A character stays in the world when its user leaves.
    std::vector<Character> GetCharactersOf(const std::string& strUser) const;
    std::optional<Character> FindCharacterByName(const std::string& strName) const;

    // These concern one character of a user: the one of that name, or without a name the user's first one.
    // Each does all of its work or nothing. The result is why nothing was done; an empty text is success.
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

#include "Game.h"

#include "Text.h"

namespace {

constexpr int kFirstMoney = 1000;

Item MakeItem(const char* pszItemID, int nCount)
{
    Item item{};
    Put(item.szItemID, pszItemID);
    item.nCount = nCount;
    item.nPossibleLevel = 1;
    item.cUseStatus = 'N';  // not in use; game and service agree on the letters
    return item;
}

std::string NoCharacter(const std::string& strUser, const std::string& strName)
{
    return "'" + strUser + "' has no character" + (strName.empty() ? "" : " '" + strName + "'") + " here.";
}

}  // namespace

bool Game::Enter(const std::string& strUser, const std::string& strIP)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (Find(strUser, "") == nullptr) {
        Character character;
        character.strUser = strUser;
        character.strName = "hero" + std::to_string(m_mapCharacters.size() + 1);
        character.nMoney = kFirstMoney;
        character.vecItems = {MakeItem("WOODEN-SWORD", 1), MakeItem("POTION", 5)};
        m_mapCharacters.emplace(character.strName, character);
    }
    return m_mapPlayers.insert_or_assign(strUser, strIP).second;
}

bool Game::Leave(const std::string& strUser)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_mapPlayers.erase(strUser) != 0;
}

std::string Game::GetAddress(const std::string& strUser) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto it = m_mapPlayers.find(strUser);
    return it == m_mapPlayers.end() ? "" : it->second;
}

std::vector<std::string> Game::GetPlayers() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<std::string> vecPlayers;
    for (const auto& player : m_mapPlayers)
        vecPlayers.push_back(player.first);
    return vecPlayers;
}

std::vector<Character> Game::GetCharactersOf(const std::string& strUser) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<Character> vecCharacters;
    for (const auto& entry : m_mapCharacters) {
        if (entry.second.strUser == strUser)
            vecCharacters.push_back(entry.second);
    }
    return vecCharacters;
}

std::optional<Character> Game::FindCharacterByName(const std::string& strName) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto it = m_mapCharacters.find(strName);
    return it != m_mapCharacters.end() ? std::optional<Character>(it->second) : std::nullopt;
}

std::string Game::CopyCharacter(const std::string& strUser, const std::string& strName, Character& copy) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const Character* const pCharacter = Find(strUser, strName);
    if (pCharacter == nullptr)
        return NoCharacter(strUser, strName);
    copy = *pCharacter;
    return "";
}

std::string Game::Spend(const std::string& strUser, const std::string& strName, int nMoney, int& nLeft)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    Character* const pCharacter = Find(strUser, strName);
    if (pCharacter == nullptr)
        return NoCharacter(strUser, strName);
    if (nMoney <= 0)
        return "The amount must be above 0.";
    if (nMoney > pCharacter->nMoney)
        return "'" + pCharacter->strName + "' has only " + std::to_string(pCharacter->nMoney) + ".";
    pCharacter->nMoney -= nMoney;
    nLeft = pCharacter->nMoney;
    return "";
}

std::string Game::Deliver(const std::string& strUser, const std::string& strName, int nOrder,
                          const std::vector<Item>& vecItems)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    Character* const pCharacter = Find(strUser, strName);
    if (pCharacter == nullptr)
        return NoCharacter(strUser, strName);
    // The service may send an order again if the game's answer was lost. A repeated order is a success, and
    // its items are not given twice. A real game writes items and order number to its database in one
    // transaction.
    if (pCharacter->setOrders.count(nOrder) != 0)
        return "";
    pCharacter->vecItems.insert(pCharacter->vecItems.end(), vecItems.begin(), vecItems.end());
    pCharacter->setOrders.insert(nOrder);
    return "";
}

const Character* Game::Find(const std::string& strUser, const std::string& strName) const
{
    for (const auto& [name, character] : m_mapCharacters) {
        if (character.strUser == strUser && (strName.empty() || name == strName))
            return &character;
    }
    return nullptr;
}

Character* Game::Find(const std::string& strUser, const std::string& strName)
{
    return const_cast<Character*>(static_cast<const Game*>(this)->Find(strUser, strName));
}

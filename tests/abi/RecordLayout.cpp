// Games are built against these layouts: the same numbers on 64-bit Windows and Linux, for ever.
#include <cstddef>
#include <type_traits>

#include "connector/VelkarConnector.h"

namespace {

template <class T>
constexpr bool IsPlain = std::is_trivially_copyable_v<T> && std::is_standard_layout_v<T>;

#define RECORD(T, size) static_assert(IsPlain<T> && sizeof(T) == (size), #T)
#define FIELD(T, field, offset) static_assert(offsetof(T, field) == (offset), #T "::" #field)

RECORD(_CONNECTOR_ID, 63);
FIELD(_CONNECTOR_ID, SID, 21);
FIELD(_CONNECTOR_ID, WID, 42);

RECORD(_CONNECTOR_CALLBACKS, 56);
FIELD(_CONNECTOR_CALLBACKS, pfnNotifyStorageInfo, 8);
FIELD(_CONNECTOR_CALLBACKS, pfnQueryGameMoney, 16);
FIELD(_CONNECTOR_CALLBACKS, pfnSpendGameMoney, 24);
FIELD(_CONNECTOR_CALLBACKS, pfnQueryInventory, 32);
FIELD(_CONNECTOR_CALLBACKS, pfnSaveInventory, 40);
FIELD(_CONNECTOR_CALLBACKS, pfnQueryCharacter, 48);

RECORD(_USER_REQ, 39);
FIELD(_USER_REQ, szUserIP, 23);

RECORD(_CHECKIN_RES, 1080);
FIELD(_CHECKIN_RES, bExtra, 4);
FIELD(_CHECKIN_RES, szError, 5);
FIELD(_CHECKIN_RES, nBillingID, 1032);
FIELD(_CHECKIN_RES, nProductID, 1036);
FIELD(_CHECKIN_RES, nRemainMinutes, 1040);
FIELD(_CHECKIN_RES, szCRMCode, 1048);
FIELD(_CHECKIN_RES, szEndDate, 1064);
FIELD(_CHECKIN_RES, bPCCafe, 1079);

RECORD(_RESULT_RES, 1026);
FIELD(_RESULT_RES, szError, 1);

RECORD(_BILLING_NOTI_INFO, 1076);
FIELD(_BILLING_NOTI_INFO, szUserIP, 23);
FIELD(_BILLING_NOTI_INFO, nEventCode, 40);
FIELD(_BILLING_NOTI_INFO, nSpecificCode, 44);
FIELD(_BILLING_NOTI_INFO, szParam, 48);

RECORD(_STORAGE_NOTI_INFO, 48);
FIELD(_STORAGE_NOTI_INFO, szCharacterID, 23);
FIELD(_STORAGE_NOTI_INFO, nItemCount, 44);

RECORD(_GAME_USER_REQ, 86);
FIELD(_GAME_USER_REQ, szServerID, 21);
FIELD(_GAME_USER_REQ, szUserKey, 42);
FIELD(_GAME_USER_REQ, szCharacterID, 65);

RECORD(_SPEND_GAME_MONEY_REQ, 92);
FIELD(_SPEND_GAME_MONEY_REQ, nGameMoney, 88);

RECORD(_QUERY_CHARACTER_REQ, 66);
FIELD(_QUERY_CHARACTER_REQ, cSearchType, 42);
FIELD(_QUERY_CHARACTER_REQ, szSearchValue, 43);

RECORD(_SAVE_INVENTORY_REQ, 376);
FIELD(_SAVE_INVENTORY_REQ, nOrderSeq, 24);
FIELD(_SAVE_INVENTORY_REQ, szUserKey, 28);
FIELD(_SAVE_INVENTORY_REQ, szServerID, 51);
FIELD(_SAVE_INVENTORY_REQ, szCharacterID, 72);
FIELD(_SAVE_INVENTORY_REQ, szRecvUserKey, 93);
FIELD(_SAVE_INVENTORY_REQ, szRecvServerID, 116);
FIELD(_SAVE_INVENTORY_REQ, szRecvCharacterID, 137);
FIELD(_SAVE_INVENTORY_REQ, szGiftMessage, 158);
FIELD(_SAVE_INVENTORY_REQ, nPrice, 360);
FIELD(_SAVE_INVENTORY_REQ, pHandle, 368);

RECORD(_GAME_MONEY_RES, 1032);
FIELD(_GAME_MONEY_RES, szMessage, 1);
FIELD(_GAME_MONEY_RES, nGameMoney, 1028);

RECORD(_GAME_DATA_RES, 1040);
FIELD(_GAME_DATA_RES, szMessage, 1);
FIELD(_GAME_DATA_RES, pHandle, 1032);

}  // namespace

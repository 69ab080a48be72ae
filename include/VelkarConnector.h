/*
 * Velkar Connector: the client library that a game server loads to reach the Velkar billing and
 * item-shop service. This is the one public header; it compiles as C11 and as C++17.
 *
 * Conventions, for every function below unless it says otherwise:
 *
 *  1. Records. Every record belongs to the caller. The library reads and writes it during the call and
 *     keeps no pointer to it. Records have the platform's default alignment and the same layout on
 *     64-bit Windows and Linux. `int` is 32 bits, `long long` is 64 bits, flags are one byte.
 *  2. Texts are byte strings. A width counts the NUL: char[23] holds at most 22 characters. What the
 *     library writes always ends in a NUL and is cut silently to fit. A text that the game fills to the
 *     last byte without a NUL is read to its end and no further. A longer text is cut where it is sent,
 *     but the library's own look-ups use the whole of what the array holds.
 *  3. Requests block. A request call blocks its thread until the service has answered or 5000
 *     milliseconds have passed. Any number of threads may be inside any calls at once.
 *  4. Results. Each response record begins with its head, `nResult` (0 is success) or `bSuccess` (1 is
 *     success), and `szError`, the text that goes with it. After a failure only these two are
 *     meaningful. A failure of the call itself is nResult -1 or bSuccess 0.
 *  5. A timeout means "unknown", not "failed". The texts that end in "because of timeout." say that no
 *     answer came; the service may have done what was asked. After such a Checkin the library undoes a
 *     late success by itself; after any other call ask the service before you ask again. In rare cases
 *     the answer comes faster than the call can prepare for its wait and the caller gets the timeout
 *     text at once: treat it the same way.
 *  6. Threads of callbacks. Callbacks run on threads of the library: pool threads, and the charge thread
 *     (or the caller of Charge) for a user whose term has ended. While a callback runs, nothing else
 *     that the service sends is read: return quickly, post long work to a queue of your own. A request
 *     call made inside a callback of the service's requests can only run into its timeout. Do not take
 *     a lock inside pfnBillingEvent that another thread of yours holds while it calls this library:
 *     both may wait for each other.
 *  7. Handles of result lists (_DATA_HANDLE*) end with DestroyHandle, once. A handle belongs to one
 *     thread at a time.
 *  8. Nothing throws across this boundary, and a C++ exception out of a callback is caught and logged.
 *  9. Two calls are not for callbacks: InitModule and UninitModule do nothing inside one (see there).
 * 10. The connection is neither encrypted nor authenticated. Use it inside a trusted network only.
 */
#ifndef VELKAR_CONNECTOR_H
#define VELKAR_CONNECTOR_H

#include <stddef.h>
#ifndef __cplusplus
#include <stdbool.h>
#endif

#if defined(VELKAR_CONNECTOR_STATIC)
#define VELKAR_API
#elif defined(_WIN32)
#if defined(VELKAR_CONNECTOR_BUILD)
#define VELKAR_API __declspec(dllexport)
#else
#define VELKAR_API __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define VELKAR_API __attribute__((visibility("default")))
#else
#define VELKAR_API
#endif

/* A record that may not be null: a reference in C++ and a pointer in C, which is the same to the linker. */
#if defined(__cplusplus) && !defined(VELKAR_CONNECTOR_BUILD)
#define VELKAR_BY_REFERENCE(record) const record&
#else
#define VELKAR_BY_REFERENCE(record) const record*
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- identity and callbacks -------------------------------------------------------------------- */

/* Who this connector is; agreed with the operator of the service. */
typedef struct _CONNECTOR_ID {
    char GID[21]; /* game */
    char SID[21]; /* server */
    char WID[21]; /* world */
} _CONNECTOR_ID;

/* A list of records behind a handle; its contents are the library's. */
typedef struct _DATA_HANDLE _DATA_HANDLE;

/* What pfnBillingEvent gets. Event code 0 (BILLING_EXPIRE): the user's time is over; the library checks
 * the user out by itself. Other codes are named by the settings file. */
typedef struct _BILLING_NOTI_INFO {
    char szUserKey[23];
    char szUserIP[16]; /* for event codes 0, 1 and 3, otherwise empty */
    int nEventCode;
    int nSpecificCode; /* meaning agreed with the service */
    char szParam[1025];
} _BILLING_NOTI_INFO;

/* What pfnNotifyStorageInfo gets: items have arrived in a storage box. */
typedef struct _STORAGE_NOTI_INFO {
    char szUserKey[23]; /* empty if the service named no user */
    char szCharacterID[21];
    int nItemCount;
} _STORAGE_NOTI_INFO;

/* What the service asks of the game. */
typedef struct _GAME_USER_REQ {
    char szGameID[21];
    char szServerID[21];
    char szUserKey[23];
    char szCharacterID[21];
} _GAME_USER_REQ;

typedef struct _SPEND_GAME_MONEY_REQ {
    char szGameID[21];
    char szServerID[21];
    char szUserKey[23];
    char szCharacterID[21];
    int nGameMoney; /* to take */
} _SPEND_GAME_MONEY_REQ;

typedef struct _QUERY_CHARACTER_REQ {
    char szGameID[21];
    char szServerID[21];
    char cSearchType; /* agreed between service and game */
    char szSearchValue[23];
} _QUERY_CHARACTER_REQ;

typedef struct _SAVE_INVENTORY_REQ {
    char szGameID[21];
    int nOrderSeq;
    char szUserKey[23];
    char szServerID[21];
    char szCharacterID[21];
    char szRecvUserKey[23]; /* receiver of a gift */
    char szRecvServerID[21];
    char szRecvCharacterID[21];
    char szGiftMessage[201];
    int nPrice;
    _DATA_HANDLE* pHandle; /* the items; valid until the callback returns, not the game's to destroy */
} _SAVE_INVENTORY_REQ;

/* What the game answers. Zeroed before the call. */
typedef struct _GAME_MONEY_RES {
    unsigned char bSuccess; /* 1: done */
    char szMessage[1025];   /* failure text */
    int nGameMoney;         /* the user's game money; the service gets -1 on failure */
} _GAME_MONEY_RES;

typedef struct _GAME_DATA_RES {
    unsigned char bSuccess; /* not 0: done */
    char szMessage[1025];
    _DATA_HANDLE* pHandle; /* set before the call; the list that the game fills */
} _GAME_DATA_RES;

/* Response of Checkout, UserMoveTo, UserMoveFrom and others, and answer of pfnSaveInventory. */
typedef struct _RESULT_RES {
    unsigned char bSuccess; /* 1 success, 0 failure */
    char szError[1025];
} _RESULT_RES;

/* The game's side. Any entry may be null: events are then dropped, requests of the service are answered
 * with a failure. The two pointers of slots 3 to 7 are the request to read and the answer to write. */
typedef struct _CONNECTOR_CALLBACKS {
    void (*pfnBillingEvent)(const _BILLING_NOTI_INFO*);
    void (*pfnNotifyStorageInfo)(const _STORAGE_NOTI_INFO*);
    void (*pfnQueryGameMoney)(const _GAME_USER_REQ*, _GAME_MONEY_RES*);
    void (*pfnSpendGameMoney)(const _SPEND_GAME_MONEY_REQ*, _GAME_MONEY_RES*);
    void (*pfnQueryInventory)(const _GAME_USER_REQ*, _GAME_DATA_RES*);
    void (*pfnSaveInventory)(const _SAVE_INVENTORY_REQ*, _RESULT_RES*);
    void (*pfnQueryCharacter)(const _QUERY_CHARACTER_REQ*, _GAME_DATA_RES*);
} _CONNECTOR_CALLBACKS;

/* ---- start and stop ---------------------------------------------------------------------------- */

/*
 * Starts the library: reads VelkarConnectorConfig.tl2 beside the host executable, starts the log and two
 * threads, connects, registers, and blocks until the service has accepted this connector, at most 5000
 * milliseconds for the connection and 5000 for the answer. Both blocks are copied. While it runs, every
 * other export reports "Velkar Connector is not initialized.".
 *
 * pszError receives a text of at most nErrorSize - 1 characters and a NUL; nothing is written with a
 * null pszError or an nErrorSize below 1. A false result leaves nothing running, and the text says why.
 * On true the text is empty, or "Failed to initialize a logger." (running without a log), or "Velkar
 * Connector is already initialized." (nothing was changed).
 *
 * A null pId or pCallbacks is refused with false and the text "Connector id or callbacks arg is NULL.".
 * Threads: of two calls at once one starts the library, the other waits for it and then finds it
 * initialised. A call while UninitModule is at work finds the library still initialised and returns true
 * with the text above, until the last step of the stop; in that step it returns false with "Velkar
 * Connector is being terminated.". So call it after UninitModule has returned. Inside a callback it never
 * starts anything: true if the library is initialised, otherwise false.
 */
VELKAR_API bool InitModule(const _CONNECTOR_ID* pId, const _CONNECTOR_CALLBACKS* pCallbacks, char* pszError,
                           int nErrorSize);

/*
 * Stops everything and empties the tables: users, failed checkouts, products, events, result lists. No
 * callback starts after it has returned; it waits for a callback that is running, and for nothing else
 * longer than about 5 seconds. Calls of other threads that are waiting for an answer end by their own
 * timeout, with the library stopped beneath them. InitModule may follow.
 *
 * Without a successful InitModule it does nothing; of two calls at once one stops the library, the other
 * returns. Inside a callback it does nothing but log an error, and the library keeps running: call it
 * from a thread of your own. A process may exit without it; the service then learns of the users at the
 * next connection, and the operating system takes the rest.
 */
VELKAR_API void UninitModule(void);

/* ---- session calls ------------------------------------------------------------------------------ */

/* Request of most session calls. The user's identifier is a user id, or a user number if the setting
 * USE_USER_NUMBER is on; the library takes it as the key of the user in both cases. */
typedef struct _USER_REQ {
    char szUserID[23];
    char szUserIP[16]; /* dotted text */
} _USER_REQ;

/* Response of Checkin and QueryBillingInfo. */
typedef struct _CHECKIN_RES {
    int nResult;          /* 0 success, -1 failure, otherwise the service's code */
    unsigned char bExtra; /* 1 for two special codes of the service: 90006 (success), 30006 (failure) */
    char szError[1025];
    int nBillingID; /* as the settings file gives it for the product; QueryBillingInfo: as it came */
    int nProductID;
    long long nRemainMinutes; /* the low 32 bits of the service's value */
    char szCRMCode[16];
    char szEndDate[15];    /* end of the term, 14 digits: YYYYMMDDhhmmss, local time of the game server */
    unsigned char bPCCafe; /* QueryBillingInfo only */
} _CHECKIN_RES;

/* Response of CheckinEx and QueryBillingInfoEx: _CHECKIN_RES and the user's other billings. */
typedef struct _CHECKIN_EX_RES {
    int nResult;
    unsigned char bExtra;
    char szError[1025];
    int nBillingID;
    int nProductID;
    long long nRemainMinutes;
    char szCRMCode[16];
    char szEndDate[15];
    unsigned char bPCCafe;      /* not filled */
    _DATA_HANDLE* hBillingData; /* _BILL_INFO rows, for GetBillingData; null on failure; yours to destroy */
} _CHECKIN_EX_RES;

/* What a user takes along to another game server: filled by GetBillingInfoForUserMove there, carried by the
 * game, given to UserMoveFrom here. */
typedef struct _USER_MOVE_INFO {
    int nBillType; /* billing id */
    int nProductID;
    int nSeqNo;           /* 0: none */
    unsigned char bFirst; /* 1: has not been charged yet */
    char szCRMCode[16];
    char szEndDate[15];
    unsigned char bFree; /* the Free mark, a character */
} _USER_MOVE_INFO;

/* Checks the user in. On nResult 0 the user is known to this library until Checkout, UserMoveTo, an
 * event that ends the session, or UninitModule. A later Checkin of the same user replaces the record.
 * Blocks up to 5000 milliseconds; a success that arrives after that is undone by a checkout. */
VELKAR_API void Checkin(const _USER_REQ* pReq, _CHECKIN_RES* pRes);

/* Checks the user out. A user who is not known here is refused without asking the service ("This user is
 * not checkined."). Otherwise the user is gone from this library when the call returns, whatever the
 * answer, also after a timeout; a checkout that could not be sent is kept and delivered right after the
 * next connection. Only szUserID is used. Blocks up to 5000 milliseconds. */
VELKAR_API void Checkout(const _USER_REQ* pReq, _RESULT_RES* pRes);

/* As Checkin, with the user's other billings behind hBillingData. */
VELKAR_API void CheckinEx(const _USER_REQ* pReq, _CHECKIN_EX_RES* pRes);

/* What the user may play, without checking in; the users known here do not change. nBillingID is the
 * service's bill type as it came. Both block up to 5000 milliseconds. */
VELKAR_API void QueryBillingInfo(const _USER_REQ* pReq, _CHECKIN_RES* pRes);
VELKAR_API void QueryBillingInfoEx(const _USER_REQ* pReq, _CHECKIN_EX_RES* pRes);

/*
 * A user goes to another game server in three steps. Here: GetBillingInfoForUserMove for the record, then
 * UserMoveTo, after which the user is gone from this library, whatever the answer (as with Checkout). There:
 * UserMoveFrom with the record; the user is known there once bSuccess is 1. Both block up to 5000
 * milliseconds. A UserMoveFrom that timed out leaves the user unknown although the service may have done it;
 * one that could not be sent is delivered as a failed checkout at the next connection.
 */
VELKAR_API void UserMoveTo(const _USER_REQ* pReq, _RESULT_RES* pRes);
VELKAR_API void UserMoveFrom(const _USER_REQ* pReq, const _USER_MOVE_INFO* pInfo, _RESULT_RES* pRes);

/* The record of a user who is known here; blocks on nothing and does not ask whether the library is
 * initialised. False, with the record left alone, if the user is not known, or if one of the two is null. */
VELKAR_API bool GetBillingInfoForUserMove(const char* pszUserKey, _USER_MOVE_INFO* pInfo);

/*
 * Charges all products at once, as the library does by itself at each CHARGE_CYCLE: users whose term has
 * ended are checked out and told to pfnBillingEvent on this thread, the others who run on metered billing
 * are reported to the service. Waits for no answer. bSuccess is 1 if at least one product went out (or had
 * nobody to charge); without a configured product it is 0. A null pRes does nothing but log an error.
 */
VELKAR_API void Charge(_RESULT_RES* pRes);

/* The settings' name of a product and of an event code; an empty text if there is none. The text stays good
 * and unchanged as long as the library is loaded, also across a reload of the settings and UninitModule. */
VELKAR_API const char* GetBillingName(int nProductID);
VELKAR_API const char* GetEventName(int nEventCode);

/* ---- records of result lists --------------------------------------------------------------------- */
/* What stands behind a handle: any number of records of one of these kinds. */

/* A billing of a user. */
typedef struct _BILL_INFO {
    int nBillingID; /* CheckinEx and the list entries: as the settings file gives it for the product */
    int nProductID;
    long long nRemainMinutes;
    char szCRMCode[16];
    char szEndDate[15]; /* 14 digits: YYYYMMDDhhmmss */
} _BILL_INFO;

/* A branch of the shop's menu tree. */
typedef struct _MENU_INFO {
    char szBranchID[21];
    char szBranchName[41];
    char szSuperBranchID[21]; /* the parent */
    int nBranchDepth;
    int nSortOrder;
    int nProductCount; /* products under the branch */
} _MENU_INFO;

typedef struct _PROD_LIST_INFO {
    char szBranchID[21];
    char szProductID[21];
    char szProductName[41];
    char szMoneyCode[21];
    int nPrice;
    int nDiscountRate;
    char szRegDate[15];   /* of entry */
    char szStartDate[15]; /* of sale */
    char szEndDate[15];   /* of sale */
    char szProductDesc[501];
    unsigned char bGift; /* may be given as a gift */
    char szImageURL[101];
    int nTotalSellingCount; /* copies sold so far */
    int nLevel;
    unsigned char bDuplicateSell; /* may be bought more than once */
    char szUnitName[51];
    char szIconImageURL[101];
    int nDisplayOrder;
    char szDiscountInfo[21];
    char szClassName[41];
} _PROD_LIST_INFO;

/* What a product consists of. */
typedef struct _CHILDPROD_INFO {
    char szChildProductID[21];
    int nPrice;
    char szUnitName[51];
    int nValidTerm;
    int nPossibleLevel; /* usable from this level */
    int nUseCount;
    int nPeriod;
    int nRuvCoinPrice;
    int nGameMoneyPrice;
    char szClassName[41];
} _CHILDPROD_INFO;

typedef struct _CONDITION_INFO {
    char cConditionType; /* one character */
    char szConditionValue[101];
} _CONDITION_INFO;

typedef struct _OPTION_INFO {
    char szOptionCode[21];
    char szOptionValue[21];
    char szOptionName[21];
} _OPTION_INFO;

typedef struct _DISCOUNT_INFO {
    char szCondition[101];
    int nDiscountRate;
    int nDiscountAmt;
    unsigned char bUse;
} _DISCOUNT_INFO;

typedef struct _TAG_INFO {
    char szTag[101];
} _TAG_INFO;

typedef struct _COUPON_INFO {
    char szCouponUseID[21];
    char szCouponCode[21];
    char szCouponName[41];
    int nDiscountRate;
    int nDiscountAmt;
    char szUseEndDate[9]; /* last day of use, 8 digits: YYYYMMDD */
} _COUPON_INFO;

typedef struct _SPECIAL_PRODUCT_LIST_INFO {
    char szExposeCode[21];
    char szExposeName[41];
    char szIconUrl[101];
    char szBannerUrl[101];
} _SPECIAL_PRODUCT_LIST_INFO;

typedef struct _SPECIAL_PRODUCT_INFO {
    char szExposeCode[21];
    char szProductID[21];
    char szImageUrl[101];
    int nSortOrder;
} _SPECIAL_PRODUCT_INFO;

/* An entry of a storage box. */
typedef struct _STORAGE_INFO {
    int nStorageSeq;
    int nOrderSeq;
    char szItemID[21];
    char szItemName[41];
    unsigned char bBonus;
    char szSenderUserID[23]; /* the user id, or the number if the id is empty */
    char szUserID[23];       /* the owner; the user id, or the number if the id is empty */
    char szServerID[21];
    char szCharacterID[21];
    char szGiftMessage[201];
    int nCount;
    int nRemainCount;
    char szValidTerm[15];
    int nPossibleLevel; /* usable from this level */
    int nUseCount;
    int nPeriod;
    char szOptionCode[101];
    char szOptionValue[101];
    char szUseStartDate[15];
    char szValidDate[15];
    char szBuyDate[15];
    char szSetName[41];
    char szListImageUrl[101];
    char szIconImageUrl[101];
    char szDirection[201];
    unsigned char bRead; /* has been read */
    unsigned char bNew;
} _STORAGE_INFO;

/* An item of a character's inventory. */
typedef struct _INVENTORY_ITEM_INFO {
    char szItemID[21];
    int nCount;
    int nUseCount;
    int nPeriod;
    int nPossibleLevel; /* usable from this level */
    char szValidTerm[15];
    char cUseStatus; /* one character; always 0 in an item to be saved */
    char szOptionCode[101];
    char szOptionValue[101];
} _INVENTORY_ITEM_INFO;

typedef struct _CHARACTER_INFO {
    char szUserID[23]; /* the user's key: id or number, as USE_USER_NUMBER decides */
    char szServerID[21];
    char szCharacterID[21];
    int nCharacterValue; /* between the game and the service, passed on unread */
} _CHARACTER_INFO;

typedef struct _USE_COUPON_INFO {
    char szCouponUseID[21];
    char szCouponCode[21];
} _USE_COUPON_INFO;

typedef struct _USE_OPTION_INFO {
    char szOptionCode[21];
    char szOptionValue[21];
} _USE_OPTION_INFO;

typedef struct _USE_STORAGE_INFO {
    int nStorageSeq;
    int nOrderSeq;
    char szItemID[21];
} _USE_STORAGE_INFO;

typedef struct _CONFIRM_USE_STORAGE_INFO {
    int nStorageSeq;
} _CONFIRM_USE_STORAGE_INFO;

/* ---- result lists --------------------------------------------------------------------------------- */
/*
 * The usual order for a list that an answer brings: GetDataSize, the Get function of its records for each
 * index from 0, DestroyHandle. For a list that a request takes: a GetHandleFor function, its Set function
 * for each record, the request, DestroyHandle. In callbacks the handle is in the record that comes, and it
 * is not the game's to destroy or to keep.
 *
 * None of these consults whether the library is initialised, blocks, or writes to the log. Each failure
 * copies at most errorSize - 1 bytes of its text into errorText and ends it with a NUL; on success the
 * buffer is left alone. Nothing is written with a null errorText or an errorSize of 0.
 *
 * A handle whose list is gone (UninitModule has emptied the tables) is an unknown one: it reads as "There
 * is no data.", "Failed to find a data node for getting data." or "... for setting data.". A handle that
 * has been destroyed, or a pointer that never was a handle, is the caller's fault and cannot be
 * recognised: its use is undefined, as with any freed memory.
 */

/* The number of records; 0 with "Data handle is NULL." for a null handle and "There is no data." for an
 * unknown or an empty one. */
VELKAR_API size_t GetDataSize(const _DATA_HANDLE* handle, char* errorText, size_t errorSize);

/* Frees the list and its handle. Null does nothing. Call it once for each handle, also for those that
 * UninitModule has emptied. */
VELKAR_API void DestroyHandle(_DATA_HANDLE* handle);

/* The Get functions copy the record at index, counted from 0, and return true; on false the record is left
 * as it was. They refuse a null handle or record, a handle of another kind of list ("Data handle type
 * doesn't refer to ..."), an unknown handle, and an index at or past the size ("The index number is not
 * valid."). Reading allocates nothing. */
VELKAR_API bool GetBillingData(const _DATA_HANDLE* handle, size_t index, _BILL_INFO* record, char* errorText,
                               size_t errorSize);
VELKAR_API bool GetMenuData(const _DATA_HANDLE* handle, size_t index, _MENU_INFO* record, char* errorText,
                            size_t errorSize);
VELKAR_API bool GetProductData(const _DATA_HANDLE* handle, size_t index, _PROD_LIST_INFO* record,
                               char* errorText, size_t errorSize);
VELKAR_API bool GetChildProductData(const _DATA_HANDLE* handle, size_t index, _CHILDPROD_INFO* record,
                                    char* errorText, size_t errorSize);
VELKAR_API bool GetConditionData(const _DATA_HANDLE* handle, size_t index, _CONDITION_INFO* record,
                                 char* errorText, size_t errorSize);
VELKAR_API bool GetOptionData(const _DATA_HANDLE* handle, size_t index, _OPTION_INFO* record, char* errorText,
                              size_t errorSize);
VELKAR_API bool GetDiscountData(const _DATA_HANDLE* handle, size_t index, _DISCOUNT_INFO* record,
                                char* errorText, size_t errorSize);
VELKAR_API bool GetTagData(const _DATA_HANDLE* handle, size_t index, _TAG_INFO* record, char* errorText,
                           size_t errorSize);
VELKAR_API bool GetCouponData(const _DATA_HANDLE* handle, size_t index, _COUPON_INFO* record, char* errorText,
                              size_t errorSize);
VELKAR_API bool GetSpecialProductData(const _DATA_HANDLE* handle, size_t index,
                                      _SPECIAL_PRODUCT_LIST_INFO* record, char* errorText, size_t errorSize);
VELKAR_API bool GetSpecialProductDetailData(const _DATA_HANDLE* handle, size_t index,
                                            _SPECIAL_PRODUCT_INFO* record, char* errorText, size_t errorSize);
VELKAR_API bool GetStorageItemData(const _DATA_HANDLE* handle, size_t index, _STORAGE_INFO* record,
                                   char* errorText, size_t errorSize);
/* For the list of pfnSaveInventory. */
VELKAR_API bool GetSaveItemData(const _DATA_HANDLE* handle, size_t index, _INVENTORY_ITEM_INFO* record,
                                char* errorText, size_t errorSize);

/* The GetHandleFor functions make an empty list for a request and return its handle, which is the caller's
 * to destroy. Null on failure; without a text if memory has run out. */
VELKAR_API _DATA_HANDLE* GetHandleForUseCouponInfo(char* errorText, size_t errorSize);
VELKAR_API _DATA_HANDLE* GetHandleForUseOptionInfo(char* errorText, size_t errorSize);
VELKAR_API _DATA_HANDLE* GetHandleForUseStorageItemInfo(char* errorText, size_t errorSize);
VELKAR_API _DATA_HANDLE* GetHandleForConfirmUseStorageItemInfo(char* errorText, size_t errorSize);
VELKAR_API _DATA_HANDLE* GetHandleForCancelUseStorageItemInfo(char* errorText, size_t errorSize);

/* The Set functions append a copy of the record and return true. They refuse a null handle, a handle of
 * another kind of list, an unknown one, and a null record ("Data record is NULL.", possible from C only). */
VELKAR_API bool SetInventoryItemData(const _DATA_HANDLE* handle,
                                     VELKAR_BY_REFERENCE(_INVENTORY_ITEM_INFO) record, char* errorText,
                                     size_t errorSize); /* list of pfnQueryInventory */
VELKAR_API bool SetCharacterData(const _DATA_HANDLE* handle, VELKAR_BY_REFERENCE(_CHARACTER_INFO) record,
                                 char* errorText, size_t errorSize); /* list of pfnQueryCharacter */
VELKAR_API bool SetUseCouponData(const _DATA_HANDLE* handle, VELKAR_BY_REFERENCE(_USE_COUPON_INFO) record,
                                 char* errorText, size_t errorSize);
VELKAR_API bool SetUseOptionData(const _DATA_HANDLE* handle, VELKAR_BY_REFERENCE(_USE_OPTION_INFO) record,
                                 char* errorText, size_t errorSize);
VELKAR_API bool SetUseStorageItemData(const _DATA_HANDLE* handle,
                                      VELKAR_BY_REFERENCE(_USE_STORAGE_INFO) record, char* errorText,
                                      size_t errorSize);
VELKAR_API bool SetConfirmUseStorageItemData(const _DATA_HANDLE* handle, int nStorageSeq, char* errorText,
                                             size_t errorSize);
VELKAR_API bool SetCancelUseStorageItemData(const _DATA_HANDLE* handle, int nStorageSeq, char* errorText,
                                            size_t errorSize);

/* ---- the shop --------------------------------------------------------------------------------------- */
/*
 * Queries of the catalogue and of a user's balance. All block up to 5000 milliseconds. A list comes as a
 * handle in the response, to be read with the Get function named beside the call and given back with
 * DestroyHandle; it is null on failure. An empty list is a failure with a text that begins with "There is
 * no". Search types and values, page numbers and the three list values pass through unread: they are between
 * the game and the service.
 */

typedef struct _GAME_REQ {
    char szGameID[21];
} _GAME_REQ;

typedef struct _PRODUCT_LIST_REQ {
    char szGameID[21];
    char szBranchID[21];
    char cSearchType;
    char szSearchValue[23];
    int nRow;  /* rows per page */
    int nPage; /* page number */
} _PRODUCT_LIST_REQ;

typedef struct _PRODUCT_DETAIL_REQ {
    char szGameID[21];
    char szProductID[21];
} _PRODUCT_DETAIL_REQ;

typedef struct _USER_PRODUCT_REQ {
    char szGameID[21];
    char szServerID[21];
    char szUserID[23];
    char szUserIP[16];
    char szCharacterID[21];
    char szProductID[21];
    int nLevel; /* the character's */
} _USER_PRODUCT_REQ;

typedef struct _SPECIAL_PRODUCT_REQ {
    char szGameID[21];
    char szExposeCode[21];
} _SPECIAL_PRODUCT_REQ;

typedef struct _RUVCOIN_REQ {
    char szUserID[23];
} _RUVCOIN_REQ;

typedef struct _LIST_RES {
    unsigned char bSuccess; /* 1 success */
    char szError[1025];
    _DATA_HANDLE* hData; /* the rows; null on failure */
    int nPrice;          /* QueryDiscountList: the product's price. 0 elsewhere */
} _LIST_RES;

typedef struct _PRODUCT_LIST_RES {
    unsigned char bSuccess;
    char szError[1025];
    int nListValue1; /* numbers of the whole list, as they came */
    int nListValue2;
    int nListValue3;
    _DATA_HANDLE* hData;
} _PRODUCT_LIST_RES;

typedef struct _PRODUCT_DETAIL_RES {
    unsigned char bSuccess;
    char szError[1025];
    char szBranchID[21];
    char szProductID[21];
    char szProductName[41];
    char szProductDetailDesc[2001];
    char szImageURL[101];
    char szMovieURL[201];
    char szDirection[201];
    char cCouponUseType;
    char cDiscountType;
    _DATA_HANDLE* hChildProduct; /* never null on success */
    _DATA_HANDLE* hCondition;    /* conditions of sale; null if there are none */
    _DATA_HANDLE* hOption;       /* null if there are none */
} _PRODUCT_DETAIL_RES;

typedef struct _RUVCOIN_RES {
    unsigned char bSuccess;
    char szError[1025];
    int nRuvCoin; /* the balance */
} _RUVCOIN_RES;

/* GetMenuData. */
VELKAR_API void QueryMenuList(const _GAME_REQ* pReq, _LIST_RES* pRes);
/* GetProductData. */
VELKAR_API void QueryProductList(const _PRODUCT_LIST_REQ* pReq, _PRODUCT_LIST_RES* pRes);
/* Three lists: GetChildProductData, GetConditionData, GetOptionData. An answer that comes after the caller's
 * time is over leaves its lists in the library until UninitModule; ask for details sparingly on a slow link.
 */
VELKAR_API void QueryProductDetailInfo(const _PRODUCT_DETAIL_REQ* pReq, _PRODUCT_DETAIL_RES* pRes);
/* GetDiscountData; nPrice is the product's price. */
VELKAR_API void QueryDiscountList(const _USER_PRODUCT_REQ* pReq, _LIST_RES* pRes);
/* GetTagData. */
VELKAR_API void QueryTagList(const _GAME_REQ* pReq, _LIST_RES* pRes);
/* GetCouponData. */
VELKAR_API void QueryCouponList(const _USER_PRODUCT_REQ* pReq, _LIST_RES* pRes);
/* GetSpecialProductData: the groups. */
VELKAR_API void QuerySpecialProductList(const _GAME_REQ* pReq, _LIST_RES* pRes);
/* GetSpecialProductDetailData: the products of one group. */
VELKAR_API void QuerySpecialProductInfo(const _SPECIAL_PRODUCT_REQ* pReq, _LIST_RES* pRes);
/* The user's balance in Ruv coin. */
VELKAR_API void QueryRuvCoinInfo(const _RUVCOIN_REQ* pReq, _RUVCOIN_RES* pRes);

/* ---- storage box and purchase ------------------------------------------------------------------------ */
/*
 * What a user buys waits in a storage box at the service. Entries go into a character's inventory in three
 * steps: StorageToInventory reserves them; the game puts the items into the inventory; then
 * ConfirmStorageToInventory ends it, or CancelStorageToInventory gives them back. The library keeps nothing
 * between the steps. Each step has its own kind of handle (GetHandleForUseStorageItemInfo, ...Confirm...,
 * ...Cancel...), filled before the call, unchanged during it, and the caller's to destroy. A timeout leaves
 * the fate of a reservation or a purchase open: look it up with QueryStorageInfo before you try again.
 */

typedef struct _STORAGE_SEARCH_REQ {
    char szGameID[21];
    char szServerID[21];
    char szUserID[23];
    char szCharacterID[21];
    char cSearchType;
    char szSearchValue[23];
} _STORAGE_SEARCH_REQ;

typedef struct _STORAGE_READ_REQ {
    char szGameID[21];
    char szServerID[21];
    char szUserID[23];
    char szCharacterID[21];
    int nStorageSeq;       /* the entry that has been read */
    unsigned char bDelete; /* not 0: delete it */
} _STORAGE_READ_REQ;

typedef struct _STORAGE_USE_REQ {
    char szGameID[21];
    char szServerID[21];
    char szUserID[23];
    char szCharacterID[21];
    _DATA_HANDLE* hUseStorage; /* the entries */
} _STORAGE_USE_REQ;

typedef struct _PURCHASE_REQ {
    char szGameID[21];
    char szProductID[21];
    char szUserID[23]; /* the buyer */
    char szServerID[21];
    char szCharacterID[21];
    char szRecvUserID[23]; /* the receiver of a gift */
    char szRecvServerID[21];
    char szRecvCharacterID[21];
    int nLevel;
    int nCount;
    char szGiftMessage[201];
    char szUserIP[16]; /* the buyer's */
    char szPassWD[21]; /* travels in plain; the log shows it as stars */
    /* With both handles set, the options are read from the coupon handle's rows too (the use id as the code,
     * the coupon code as the value), and the option handle's rows are not looked at. An option handle without
     * a coupon handle is not allowed: the call fails with the text of an exception and nothing is sent. */
    _DATA_HANDLE* hUseCoupon; /* of GetHandleForUseCouponInfo, or null */
    _DATA_HANDLE* hUseOption; /* of GetHandleForUseOptionInfo, or null */
} _PURCHASE_REQ;

typedef struct _PURCHASE_RES {
    unsigned char bSuccess;
    char szError[1025];
    int nOrderSeq; /* the order's number */
    int nBuyPrice; /* the price paid */
} _PURCHASE_RES;

/* GetStorageItemData. */
VELKAR_API void QueryStorageInfo(const _STORAGE_SEARCH_REQ* pReq, _LIST_RES* pRes);
VELKAR_API void ReadStorageInfo(const _STORAGE_READ_REQ* pReq, _RESULT_RES* pRes);
VELKAR_API void StorageToInventory(const _STORAGE_USE_REQ* pReq, _RESULT_RES* pRes);
VELKAR_API void ConfirmStorageToInventory(const _STORAGE_USE_REQ* pReq, _RESULT_RES* pRes);
VELKAR_API void CancelStorageToInventory(const _STORAGE_USE_REQ* pReq, _RESULT_RES* pRes);
VELKAR_API void PurchaseProduct(const _PURCHASE_REQ* pReq, _PURCHASE_RES* pRes);

#ifdef __cplusplus
}
#endif

#endif /* VELKAR_CONNECTOR_H */

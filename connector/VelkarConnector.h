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

/* Checks the user in. On nResult 0 the user is known to this library until Checkout, UserMoveTo, an
 * event that ends the session, or UninitModule. A later Checkin of the same user replaces the record.
 * Blocks up to 5000 milliseconds; a success that arrives after that is undone by a checkout. */
VELKAR_API void Checkin(const _USER_REQ* pReq, _CHECKIN_RES* pRes);

/* Checks the user out. A user who is not known here is refused without asking the service ("This user is
 * not checkined."). Otherwise the user is gone from this library when the call returns, whatever the
 * answer, also after a timeout; a checkout that could not be sent is kept and delivered right after the
 * next connection. Only szUserID is used. Blocks up to 5000 milliseconds. */
VELKAR_API void Checkout(const _USER_REQ* pReq, _RESULT_RES* pRes);

#ifdef __cplusplus
}
#endif

#endif /* VELKAR_CONNECTOR_H */

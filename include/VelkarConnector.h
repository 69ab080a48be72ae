/*
 * Velkar Connector: the client library that a game server loads to reach the Velkar billing and item-shop
 * service. This is the one public header; it compiles as C11 and as C++17.
 *
 * Conventions, for every function below unless its own comment says otherwise:
 *
 *  1. Records. Every record belongs to the caller. The library reads and writes it during the call and keeps
 *     no pointer to it. Records have the platform's default alignment, also where a #pragma pack of the game
 *     is in force, and the same layout on 64-bit Windows and Linux. `int` is 32 bits, `long long` is 64 bits,
 *     flags are one byte. Zero a record before each call: some failures write the head and the text of a
 *     response alone, and all the other fields then keep what they held. The one exception are the handles of
 *     a response: each call overwrites them, so destroy the old ones before a response record is used again.
 *  2. Texts are byte strings. A width counts the NUL: char[23] holds at most 22 characters, a character being
 *     one byte. What the library writes always ends in a NUL and is cut silently to fit. A text that the game
 *     fills to the last byte without a NUL is read to its end and no further; such a text is sent without its
 *     last byte, but the look-ups of Checkout and UserMoveTo use all of it. The library neither checks nor
 *     converts the encoding of a text: the game and the service agree on one. A cut can fall into the middle
 *     of a character of several bytes.
 *  3. Threads. Any thread may call any function at any time, and any number of threads may be inside any
 *     calls at once. The library does not put two calls for the same user into an order: make them one after
 *     the other.
 *  4. Requests block. A request call blocks its thread until the service has answered, at most 5000
 *     milliseconds from the sending. The sending itself can wait for another message that is being built. No
 *     call holds a lock of the library while it waits for its answer.
 *  5. Results. Each response record begins with its head, which is `nResult` (0 is success) or `bSuccess` (1
 *     is success, everything else failure), and has `szError`, the text that goes with it. After a success
 *     szError holds what the call's own comment says, the service's text or an empty one. After a failure
 *     only these two and the bExtra of a refusal are meaningful, and all handles in the record are null. A
 *     failure that the library finds itself is nResult -1 or bSuccess 0. Its text is one of these or one that
 *     the call's own comment names:
 *      - "Request or response arg is NULL." A pointer was null. Nothing was sent. With a null response record
 *        the call does nothing but log an error.
 *      - "Velkar Connector is not initialized." Nothing was sent. Call InitModule first.
 *      - "Velkar Connector is being terminated." UninitModule is at work. Nothing was sent.
 *      - "Failed to send a '...' msg." Nothing was sent, because there is no connection, because more is
 *        waiting to be sent than the connection may hold, or because a list handle of the request has no list
 *        any more. For lack of a connection, call again once the library has reconnected.
 *      - A text that ends in "because of timeout." No answer came: see 6.
 *      - "There is an exception because of some reasons." Memory has run out. The request may or may not have
 *        been sent: treat this text like a timeout.
 *      - Any other text is the service's own: the service has answered and refused. That text may be empty.
 *  6. A timeout means "unknown", not "failed". The service may have done what was asked. After a Checkin or
 *     CheckinEx that timed out the library undoes a late success by itself, also if the user has checked in
 *     again meanwhile: the later session stays. After any other call ask the service before you ask again.
 *     However fast an answer comes, the call that has asked gets it.
 *  7. A lost connection is made again by the library, which tries every RECONNECT_CYCLE seconds of the
 *     settings file. Until then every request fails at once with "Failed to send a '...' msg." and no user's
 *     term is ended by the library's own clock. The users who are known here stay known. Right after each
 *     accepted connection the library sends the service the checkouts that could not be sent before or were
 *     lost with the last connection, and then the list of all users who are known here and are not leaving.
 *     A checkout that could not be sent while the connection stood goes out with the next heartbeat. A
 *     connection to a service that has taken no byte of what waits to be sent for 30 seconds counts as lost.
 *  8. Threads of callbacks. Callbacks run on threads of the library: pool threads, and the charge thread (or
 *     the caller of Charge) for a user whose term has ended by the library's own clock in a charge pass (see
 *     Charge). While a callback runs on a pool thread, nothing else that the service sends is read; while
 *     pfnBillingEvent runs for such a user, no further charge is sent. So return quickly and post long work
 *     to a queue of your own. A lock that a callback takes must not be held while a thread of yours calls
 *     this library: on a pool thread the answer of that call could not be read until its timeout.
 *  9. Calls inside callbacks. The functions of result lists, GetBillingInfoForUserMove, GetBillingName and
 *     GetEventName may be called there. Make no request call: on a pool thread it can only run into its
 *     timeout, and on the charge thread it delays the charge. A Charge there reports the users who are
 *     charged, and leaves the users whose term has ended to the pass that has called. InitModule and
 *     UninitModule do nothing.
 * 10. Handles of result lists (_DATA_HANDLE*) that a call has returned or put into a response record are the
 *     caller's and end with DestroyHandle, once. A handle belongs to one thread at a time.
 * 11. Users. szUserID or szRecvUserID in a request is a user's identifier: a user number if the setting
 *     USE_USER_NUMBER is "true" or "TRUE", otherwise a user id. The setting is read afresh for each request.
 *     In what the service sends, a user's key or szUserID is the user's id, or the user's number where the
 *     message has no id. A user is "known here" while the library has the user in its table of checked-in
 *     users: from a successful Checkin, CheckinEx or UserMoveFrom to the end of the session. The key of the
 *     table is such a text, compared byte by byte; after a Checkin it comes from the service's answer, so
 *     that with USE_USER_NUMBER on the service has to leave the id in its answers empty.
 * 12. Passed on unread. Where a comment says "between game and service" or "passed on unread", the library
 *     carries the value from one to the other and gives it no meaning: neither a unit nor a set of values is
 *     defined here. Agree on both with the operator of the service. The same holds for every price, amount,
 *     count, level and order of sorting, for what a flag of the service means beyond 0 (no) and not 0 (yes),
 *     and for every date for which no format is given. An address of an image or a film is a text that the
 *     library never opens.
 * 13. Nothing throws across this boundary. A C++ exception out of a callback is caught and logged; out of a
 *     callback that has to answer, it leaves the service without an answer.
 * 14. The connection is neither encrypted nor authenticated. Use it inside a trusted network only.
 */
#ifndef VELKAR_CONNECTOR_H
#define VELKAR_CONNECTOR_H

#include <stddef.h>
#ifndef __cplusplus
#include <stdbool.h>
#endif

/* The version that this header belongs to, and the one place that says it: the build reads it from here. */
#define VELKAR_CONNECTOR_VERSION_MAJOR 0
#define VELKAR_CONNECTOR_VERSION_MINOR 1
#define VELKAR_CONNECTOR_VERSION_PATCH 0

/* The same as one number that grows with each release, for comparisons in #if: 0.1.0 is 100. */
#define VELKAR_CONNECTOR_VERSION                                                     \
    (VELKAR_CONNECTOR_VERSION_MAJOR * 10000 + VELKAR_CONNECTOR_VERSION_MINOR * 100 + \
     VELKAR_CONNECTOR_VERSION_PATCH)

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

/* All records below have the platform's usual alignment, whatever #pragma pack holds where the header is
 * included; what held before holds again behind it. */
#pragma pack(push, 8)

#ifdef __cplusplus
extern "C" {
#endif

/* ---- identity and callbacks -------------------------------------------------------------------- */

/* Who this connector is; agreed with the operator of the service. The three texts go to the service when a
 * connection is made, and the service accepts or refuses the connector by them. */
typedef struct _CONNECTOR_ID {
    char GID[21]; /* game */
    char SID[21]; /* server */
    char WID[21]; /* world */
} _CONNECTOR_ID;

/* A list of records behind a handle. The contents of this type are the library's; the game only carries the
 * pointer. See "result lists" below. */
typedef struct _DATA_HANDLE _DATA_HANDLE;

/*
 * What pfnBillingEvent gets: something has happened to a user's billing. By event code:
 *
 *  0 (BILLING_EXPIRE): the user's time is over. The library checks the user out by itself, so the game only
 *    puts the player out and does not call Checkout. The event has two sources. Sent by the service, it is
 *    told to the game first, and the checkout follows. Found by the library's own clock in a charge pass, the
 *    checkout is sent first, then the game is told; nSpecificCode is 0 and szParam empty then. In both cases
 *    the user is forgotten here once the callback has returned, unless the user has checked in again since.
 *  1 and 3: told with szUserIP; the user stays checked in. The settings file names their meaning.
 *  2 (FORCE_CHECKOUT): never comes here. The service has ended the user's session, and the library forgets
 *    the user without a word to the game. Ask now and then with GetBillingInfoForUserMove which of your
 *    players are still known.
 *  Every other code: told without szUserIP; the user stays checked in. The settings file names it.
 *
 * An event of the service is told also for a user who is not known here.
 */
typedef struct _BILLING_NOTI_INFO {
    char szUserKey[23]; /* the user: see convention 11 */
    char szUserIP[16];  /* dotted address of the user for event codes 0, 1 and 3, otherwise empty */
    int nEventCode;     /* see above; GetEventName gives the settings' name of it */
    int nSpecificCode;  /* a code within the event; between game and service; passed on unread */
    char szParam[1025]; /* text of the event; between game and service; passed on unread */
} _BILLING_NOTI_INFO;

/* What pfnNotifyStorageInfo gets: items have arrived in a storage box. Told for a user who is known here, and
 * for a notice that names no user; a notice for any other user is dropped. */
typedef struct _STORAGE_NOTI_INFO {
    char szUserKey[23];     /* whose box it is; empty if the service named no user */
    char szCharacterID[21]; /* the character; may be empty; passed on unread */
    int nItemCount;         /* number of items, as the service counts them */
} _STORAGE_NOTI_INFO;

/* What pfnQueryGameMoney and pfnQueryInventory get: whose money or items the service asks for. */
typedef struct _GAME_USER_REQ {
    char szGameID[21];      /* game that the service means; not compared with GID */
    char szServerID[21];    /* server that the service means; not compared with SID */
    char szUserKey[23];     /* the user, who need not be known here */
    char szCharacterID[21]; /* the character */
} _GAME_USER_REQ;

/* What pfnSpendGameMoney gets: the service orders game money to be taken. */
typedef struct _SPEND_GAME_MONEY_REQ {
    char szGameID[21];      /* game that the service means; not compared with GID */
    char szServerID[21];    /* server that the service means; not compared with SID */
    char szUserKey[23];     /* the user, who need not be known here */
    char szCharacterID[21]; /* the character */
    int nGameMoney;         /* amount to take, in the game's own money */
} _SPEND_GAME_MONEY_REQ;

/* What pfnQueryCharacter gets: the service looks for characters. */
typedef struct _QUERY_CHARACTER_REQ {
    char szGameID[21];      /* game that the service means; not compared with GID */
    char szServerID[21];    /* server that the service means; not compared with SID */
    char cSearchType;       /* says what szSearchValue is; between game and service; passed on unread */
    char szSearchValue[23]; /* a user id, a user number or a character's id, as cSearchType says */
} _QUERY_CHARACTER_REQ;

/* What pfnSaveInventory gets: the service orders items to be put into an inventory. */
typedef struct _SAVE_INVENTORY_REQ {
    char szGameID[21];          /* game that the service means; not compared with GID */
    int nOrderSeq;              /* number of the order; the game can tell a repeated order by it */
    char szUserKey[23];         /* the user, who need not be known here: of a gift, the giver */
    char szServerID[21];        /* that user's server */
    char szCharacterID[21];     /* that user's character */
    char szRecvUserKey[23];     /* receiver of a gift; empty if the service names none */
    char szRecvServerID[21];    /* the receiver's server */
    char szRecvCharacterID[21]; /* the receiver's character */
    char szGiftMessage[201];    /* what the giver writes to the receiver */
    int nPrice;                 /* price of the order */
    _DATA_HANDLE* pHandle;      /* the items, for GetSaveItemData; may be an empty list. Valid until the
                                 * callback returns, and not the game's to destroy */
} _SAVE_INVENTORY_REQ;

/* What the game answers in pfnQueryGameMoney and pfnSpendGameMoney. Zeroed before the callback, so that an
 * answer that nobody fills is a failure. */
typedef struct _GAME_MONEY_RES {
    unsigned char bSuccess; /* exactly 1: done. Every other value goes out as a failure */
    char szMessage[1025];   /* text of a failure; not sent with a success */
    int nGameMoney;         /* the user's game money, in the game's own money. Never -1 with a success: the
                             * service reads -1 as a failure, and the library sends -1 for each failure */
} _GAME_MONEY_RES;

/* What the game answers in pfnQueryInventory and pfnQueryCharacter. Zeroed before the callback but for
 * pHandle, so that an answer that nobody fills is a failure. */
typedef struct _GAME_DATA_RES {
    unsigned char bSuccess; /* not 0: done, also with an empty list. 0: the list is not sent */
    char szMessage[1025];   /* text of a failure; not sent with a success */
    _DATA_HANDLE* pHandle;  /* set before the callback: the list to fill, with SetInventoryItemData or
                             * SetCharacterData. Valid until the callback returns, and not the game's to
                             * destroy; with a null pointer put here a success goes out as a failure */
} _GAME_DATA_RES;

/* Response of Checkout, UserMoveTo, UserMoveFrom, Charge, ReadStorageInfo and of the three steps from the
 * storage box to the inventory; also what the game answers in pfnSaveInventory, zeroed before. */
typedef struct _RESULT_RES {
    unsigned char bSuccess; /* exactly 1: success, also as the game's answer. Everything else: failure */
    char szError[1025];     /* text of a failure; after a success what the call's comment says */
} _RESULT_RES;

/*
 * The game's side. Any entry may be null: an event without a callback is dropped, but a user whose time is
 * over is checked out all the same; a request of the service is then answered with a failure and the text
 * "Failed to load function pointer for call back operation.". The records belong to the library and end with
 * the callback: copy what you keep. Conventions 8, 9 and 13 say on which threads the callbacks run, what they
 * may call, and what an exception does.
 */
typedef struct _CONNECTOR_CALLBACKS {
    /* Tells of a user's billing. By event code the library acts by itself: see _BILLING_NOTI_INFO. */
    void (*pfnBillingEvent)(const _BILLING_NOTI_INFO*);
    /* Tells that items have arrived in a storage box; QueryStorageInfo, called later from a thread of your
     * own, shows them. */
    void (*pfnNotifyStorageInfo)(const _STORAGE_NOTI_INFO*);
    /* Asks how much game money a user's character has. */
    void (*pfnQueryGameMoney)(const _GAME_USER_REQ*, _GAME_MONEY_RES*);
    /* Takes game money from a user's character, at once. The money stays taken also if the answer is lost
     * on its way: nothing undoes it. */
    void (*pfnSpendGameMoney)(const _SPEND_GAME_MONEY_REQ*, _GAME_MONEY_RES*);
    /* Asks for the items of a user's character: one SetInventoryItemData for each. */
    void (*pfnQueryInventory)(const _GAME_USER_REQ*, _GAME_DATA_RES*);
    /* Puts the items of an order into an inventory, at once: GetDataSize and GetSaveItemData read them. The
     * answer can be lost on its way after the items have been saved: remember by nOrderSeq which orders
     * have been delivered, and answer a repeated one with success without delivering it again. */
    void (*pfnSaveInventory)(const _SAVE_INVENTORY_REQ*, _RESULT_RES*);
    /* Asks for characters: one SetCharacterData for each that matches. */
    void (*pfnQueryCharacter)(const _QUERY_CHARACTER_REQ*, _GAME_DATA_RES*);
} _CONNECTOR_CALLBACKS;

/* ---- start and stop ---------------------------------------------------------------------------- */

/*
 * Starts the library: reads VelkarConnectorConfig.tl2 beside the host executable, starts the log and the
 * library's threads, connects, registers, and blocks until the service has accepted this connector, at most
 * 5000 milliseconds for the connection and 5000 for the answer. Both blocks are copied. While it runs, every
 * request call and Charge report "Velkar Connector is not initialized.".
 *
 * pszError receives a text of at most nErrorSize - 1 characters and a NUL; nothing is written with a null
 * pszError or an nErrorSize below 1.
 *
 * True: the library is running. The text is empty, or "Failed to initialize a logger." (running without a
 * log), or "Velkar Connector is already initialized." (nothing was changed).
 *
 * False: nothing is left running, and InitModule may be called again. The text says why:
 *  - "Failed to find a TL2 file. FileName : ...", or another text about the file, a module, a group, a
 *    property or a value: the settings file is missing or wrong.
 *  - "[Comm Handler] Failed to connect to Velkar server. IP: ..., Port: ..., ErrorCode: ...": nobody accepts
 *    connections there. The error code is the operating system's.
 *  - "Failed to add connector to Velkar server.": connected, but no answer came in 5000 milliseconds.
 *  - "Connector id or callbacks arg is NULL.": pId or pCallbacks was null.
 *  - "Velkar Connector is being terminated.": see below.
 *  - "Velkar Connector does not work in a forked process.": the process was forked off one in which the
 * library was running. No call does anything there; a program that the process executes may start the
 * library.
 *  - "There is an exception because of some reasons.", or another text that begins with "[Comm Handler]":
 *    memory or threads have run out.
 *  - Any other text, which may be empty: the service has refused this connector.
 *
 * Threads: of two calls at once one starts the library, the other waits for it and then finds it initialised.
 * A call while UninitModule is at work finds the library still initialised and returns true with the text
 * above, until the last step of the stop; in that step it returns false with "Velkar Connector is being
 * terminated.". So call it after UninitModule has returned. Inside a callback it never starts anything: true
 * if the library is initialised, otherwise false with "Velkar Connector is not initialized." or "Velkar
 * Connector is being terminated.".
 */
VELKAR_API bool InitModule(const _CONNECTOR_ID* pId, const _CONNECTOR_CALLBACKS* pCallbacks, char* pszError,
                           int nErrorSize);

/*
 * Stops everything and empties the tables: users, failed checkouts, products, events, result lists. The users
 * who are still known are not checked out by it, so check them out before; a last charge pass may be sent. No
 * callback starts after it has returned; it waits for a callback that is running, and for nothing else longer
 * than about 5 seconds. Calls of other threads that are waiting for an answer end by their own timeout, with
 * the library stopped beneath them. Handles that the game still holds have lost their lists, and
 * DestroyHandle still has to end them. InitModule may follow.
 *
 * Without a successful InitModule it does nothing; of two calls at once one stops the library, the other
 * returns. Inside a callback it does nothing but log an error, and the library keeps running: call it from a
 * thread of your own. A process may exit without it; the service then learns of the users at the next
 * connection, and the operating system takes the rest.
 */
VELKAR_API void UninitModule(void);

/* ---- session calls ------------------------------------------------------------------------------ */

/* Request of most session calls. */
typedef struct _USER_REQ {
    char szUserID[23]; /* the user: see convention 11. This text is the key by which the user is known here */
    char szUserIP[16]; /* the user's address as dotted text, "10.0.0.1"; Checkout does not use it. A user
                        * without an address cannot be kept as a failed checkout: fill it in */
} _USER_REQ;

/*
 * Response of Checkin and QueryBillingInfo.
 *
 * nResult is made from the code that the service sends:
 *
 *   code of the service     nResult     bExtra
 *   0                       0           0         success
 *   90006                   0           1         success, with the extra flag
 *   2 to 30005              -1          0         refused
 *   30006                   -1          1         refused, with the extra flag
 *   any other code          that code   0         refused; among them 1 and all negative codes
 *
 * A failure that the library finds itself is -1 as well: szError tells which it is (convention 5). What the
 * extra flag asks of the game is agreed with the operator of the service.
 */
typedef struct _CHECKIN_RES {
    int nResult;              /* 0 success; see above for all others */
    unsigned char bExtra;     /* 1 for the service's codes 90006 (success) and 30006 (refused) */
    char szError[1025];       /* after a success the text that the service sent with it; may be empty */
    int nBillingID;           /* Checkin: how the product is billed, by the settings file: 1 a fixed term that
                               * ends at szEndDate, 2 metered, 3 metered within a term, 0 a product that the
                               * settings file does not have; other values are neither ended nor charged here.
                               * QueryBillingInfo: the service's own bill type instead, which is passed on unread
                               * and need not be the same number */
    int nProductID;           /* the billing product in use; GetBillingName gives the settings' name of it */
    long long nRemainMinutes; /* minutes that remain: the low 32 bits of the service's value, as a number from
                               * 0 to 4294967295; a service's -1 is 4294967295 */
    char szCRMCode[16];       /* CRM code of the user; between game and service; passed on unread */
    char szEndDate[15];       /* end of the term: YYYYMMDDhhmmss, 14 digits, local time of this machine. With
                               * nBillingID 1 or 3 the user is checked out by the first charge pass after
                               * that second; missing digits count as 0, so an empty date has passed */
    unsigned char bPCCafe;    /* QueryBillingInfo: not 0 if the user plays in a PC cafe. Checkin: 0 */
} _CHECKIN_RES;

/* Response of CheckinEx and QueryBillingInfoEx: the fields of _CHECKIN_RES, with the same meaning for
 * CheckinEx as for Checkin and for QueryBillingInfoEx as for QueryBillingInfo, and the user's other
 * billings. */
typedef struct _CHECKIN_EX_RES {
    int nResult;                /* by the table at _CHECKIN_RES */
    unsigned char bExtra;       /* by the table at _CHECKIN_RES */
    char szError[1025];         /* after a success the text that the service sent with it; may be empty */
    int nBillingID;             /* of the billing in use; QueryBillingInfoEx: the service's own bill type */
    int nProductID;             /* of the billing in use */
    long long nRemainMinutes;   /* of the billing in use; the low 32 bits of the service's value */
    char szCRMCode[16];         /* of the billing in use */
    char szEndDate[15];         /* of the billing in use: YYYYMMDDhhmmss */
    unsigned char bPCCafe;      /* always 0 */
    _DATA_HANDLE* hBillingData; /* list of _BILL_INFO for GetBillingData: the other billings. Never null on
                                 * success, but the list may be empty; null on failure; yours to destroy */
} _CHECKIN_EX_RES;

/* What a user takes along to another game server: filled by GetBillingInfoForUserMove on the old server,
 * carried by the game, given to UserMoveFrom on the new one. Carry every field unchanged. */
typedef struct _USER_MOVE_INFO {
    int nBillType;        /* the billing id, as nBillingID of _CHECKIN_RES after Checkin */
    int nProductID;       /* billing product */
    int nSeqNo;           /* number that the service gave to the checkin; 0: none */
    unsigned char bFirst; /* 1: has not been charged yet since the checkin, otherwise 0 */
    char szCRMCode[16];   /* CRM code; passed on unread, and sent back in the lists of users (convention 7) */
    char szEndDate[15];   /* end of the term: YYYYMMDDhhmmss, as in _CHECKIN_RES */
    unsigned char bFree;  /* Free mark of the checkin: a character such as 'Y' or 'N', not a flag of 0 and 1;
                           * passed on unread, and sent back in the lists of users (convention 7) */
} _USER_MOVE_INFO;

/*
 * Checks the user in: asks the service whether the user may play, and begins the session that is billed.
 * Blocks up to 5000 milliseconds; any thread but a callback's.
 *
 *  - nResult 0: let the user play. The user is known to this library until Checkout, UserMoveTo, event 0 or
 *    2, the end of the term or UninitModule. A record of the same user from an earlier Checkin is replaced.
 *  - Any other nResult with a text of the service: refused, nothing has changed. Show szError.
 *  - Timeout: unknown; the user may try again. A success that arrives later is undone by a checkout that the
 *    library sends by itself.
 *  - "Failed to send a 'XC2S_CheckInReq' msg.": not checked in; try again after the reconnection.
 */
VELKAR_API void Checkin(const _USER_REQ* pReq, _CHECKIN_RES* pRes);

/*
 * Checks the user out and ends the session. Only szUserID is used. Blocks up to 5000 milliseconds; any thread
 * but a callback's. Each outcome of this list leaves the user unknown to this library, so that nothing
 * remains to be called:
 *
 *  - "This user is not checkined.": the user is not known here, and the service was not asked.
 *  - bSuccess 1: checked out. szError holds the text that the service sent with it, which may be empty.
 *  - Any other bSuccess with a text of the service: the service has refused the checkout.
 *  - Timeout: unknown. If the connection is lost before the service has the checkout, the library delivers
 *    the checkout again after the next connection. A user whose address is empty is left to the list of users
 *    that is sent then: that list does not have the user.
 *  - "Failed to send a 'XC2S_CheckOutReq' msg.": the checkout is kept as a failed checkout, and delivered
 *    right after the next connection, or with the next heartbeat if the connection stands; UninitModule gives
 *    it up. A user whose address is empty is not kept.
 *
 * The other texts of convention 5 that say "Nothing was sent" leave the user known; after "There is an
 * exception because of some reasons." GetBillingInfoForUserMove tells. If another thread checks the user in
 * again during the call, that new session stays.
 */
VELKAR_API void Checkout(const _USER_REQ* pReq, _RESULT_RES* pRes);

/*
 * Checks the user in like Checkin, with the same outcomes, and brings the user's other billings as a list of
 * _BILL_INFO behind hBillingData: read it with GetDataSize and GetBillingData, and end it with DestroyHandle.
 * A list whose answer came too late is freed by the library. Blocks up to 5000 milliseconds; any thread but a
 * callback's.
 */
VELKAR_API void CheckinEx(const _USER_REQ* pReq, _CHECKIN_EX_RES* pRes);

/*
 * Asks what the user may play, without checking in; the users known here do not change. nBillingID is the
 * service's own bill type. Blocks up to 5000 milliseconds; any thread but a callback's. Outcomes: nResult 0,
 * the record is filled; any other nResult, refused or failed. After a timeout simply ask again.
 */
VELKAR_API void QueryBillingInfo(const _USER_REQ* pReq, _CHECKIN_RES* pRes);

/*
 * Asks like QueryBillingInfo, with the same outcomes, and brings the user's other billings as a list of
 * _BILL_INFO behind hBillingData: read it with GetDataSize and GetBillingData, and end it with DestroyHandle.
 * nBillingID of the record is the service's own bill type, nBillingID in the list is the settings file's.
 * Blocks up to 5000 milliseconds; any thread but a callback's.
 */
VELKAR_API void QueryBillingInfoEx(const _USER_REQ* pReq, _CHECKIN_EX_RES* pRes);

/*
 * Lets a user go to another game server. A move has three steps. On the old server: call
 * GetBillingInfoForUserMove for the record, then UserMoveTo. On the new one: UserMoveFrom with the record,
 * which the game carries there. Blocks up to 5000 milliseconds; any thread but a callback's. Each outcome of
 * this list leaves the user unknown to this library:
 *
 *  - "This user is not checkined.": the user is not known here, and the service was not asked.
 *  - bSuccess 1: the move has begun; send the record to the new server. szError holds the text that the
 *    service sent with it, which may be empty.
 *  - Any other bSuccess with a text of the service: refused. The user is gone here; Checkin starts anew.
 *  - Timeout: unknown. Let the new server try UserMoveFrom; if that is refused, Checkin there.
 *  - "Failed to send a 'XC2S_UserMoveToReq' msg.": no move. The user is kept as a failed checkout and checked
 *    out right after the next connection; Checkin on the new server. A user whose address was empty at the
 *    Checkin is not kept.
 *
 * The other texts of convention 5 that say "Nothing was sent" leave the user known; after "There is an
 * exception because of some reasons." GetBillingInfoForUserMove tells.
 */
VELKAR_API void UserMoveTo(const _USER_REQ* pReq, _RESULT_RES* pRes);

/*
 * Takes over a user who comes from another game server; pInfo is the record from there (see UserMoveTo).
 * Blocks up to 5000 milliseconds; any thread but a callback's.
 *
 *  - bSuccess 1: the user is known here as after a Checkin, with the billing of pInfo. szError holds the text
 *    that the service sent with it, which may be empty.
 *  - Any other bSuccess with a text of the service: refused; the user is not known here. Use Checkin.
 *  - Timeout: unknown. The user is not known here, though the service may have moved the user: look with
 *    QueryBillingInfo, then use Checkin.
 *  - "Failed to send a 'XC2S_UserMoveFromReq' msg.": not known here. The user, whom the other server has let
 *    go, is kept as a failed checkout and checked out right after the next connection, unless szUserIP is
 *    empty.
 *  - "Request or response or billinfo arg is NULL.": one of the three pointers was null.
 */
VELKAR_API void UserMoveFrom(const _USER_REQ* pReq, const _USER_MOVE_INFO* pInfo, _RESULT_RES* pRes);

/*
 * Copies the record of a user who is known here; pszUserKey is the text that was szUserID in Checkin. Also
 * the way to ask whether a user is still known: a user may be forgotten by event 2 without a word. Asks
 * nobody and waits for nothing; works from any thread, inside callbacks too, and does not ask whether the
 * library is initialised. False, with the record left alone, if the user is not known or a pointer is null.
 */
VELKAR_API bool GetBillingInfoForUserMove(const char* pszUserKey, _USER_MOVE_INFO* pInfo);

/*
 * Runs a charge pass over all products of the settings file at once, as the library does by itself every
 * CHARGE_CYCLE seconds while it is connected: users whose term has ended (billing ids 1 and 3) are checked
 * out and told to pfnBillingEvent on this thread; the others on metered billing (billing ids 2 and 3) are
 * reported to the service. Waits for no answer, but for the callbacks of the users that it ends. Inside a
 * callback see convention 9.
 *
 *  - bSuccess 1: at least one product was sent, or had nobody to be charged. szError is left as it was.
 *  - "Failed to send a 'XC2S_ChargeReq' msg.": there is no connection, or the settings file has no product.
 *    The next charge pass looks at all users anew.
 *  - The texts of convention 5 for a library that is not initialised or being terminated, and for an
 *    exception. A null pRes does nothing but log an error.
 */
VELKAR_API void Charge(_RESULT_RES* pRes);

/* Returns the settings file's name of a billing product (nProductID of a billing record), in UTF-8 if the
 * file is; an empty text if there is no such product, before the first InitModule and after UninitModule.
 * Never null. The text stays good and unchanged as long as the library is loaded, also across a reload of the
 * settings and UninitModule: it is the library's, do not free it. Any thread, callbacks too. */
VELKAR_API const char* GetBillingName(int nProductID);

/* Returns the settings file's name of an event code (nEventCode of _BILLING_NOTI_INFO), in UTF-8 if the file
 * is; an empty text if there is no such code, before the first InitModule and after UninitModule. Never null.
 * The text stays good and unchanged as long as the library is loaded, also across a reload of the settings
 * and UninitModule: it is the library's, do not free it. Any thread, callbacks too. */
VELKAR_API const char* GetEventName(int nEventCode);

/* ---- records of result lists --------------------------------------------------------------------- */
/* What stands behind a handle: any number of records of one of these kinds. The comment of each record names
 * the function that reads or adds it. Fields are passed on unread (convention 12) unless a comment says more.
 * nValidTerm, a number, and szValidTerm, a text of at most 14 characters, need not tell the term in the same
 * unit or format; what 0 or an empty text means in a period, a number of uses or a term is between game and
 * service. How a discount's rate and its amount go together is so, too. */

/* A billing of a user, for GetBillingData: of CheckinEx or QueryBillingInfoEx. */
typedef struct _BILL_INFO {
    int nBillingID;           /* by the settings file for the product, as in _CHECKIN_RES after Checkin */
    int nProductID;           /* billing product; GetBillingName gives the settings' name of it */
    long long nRemainMinutes; /* minutes that remain; all 64 bits of the service's value */
    char szCRMCode[16];       /* CRM code; between game and service; passed on unread */
    char szEndDate[15];       /* end of the term: YYYYMMDDhhmmss, 14 digits */
} _BILL_INFO;

/* A branch of the shop's menu tree, for GetMenuData: of QueryMenuList. */
typedef struct _MENU_INFO {
    char szBranchID[21];      /* goes into _PRODUCT_LIST_REQ */
    char szBranchName[41];    /* for people */
    char szSuperBranchID[21]; /* szBranchID of the parent branch */
    int nBranchDepth;         /* depth in the tree; which depth the roots have is the service's choice */
    int nSortOrder;           /* place among the branches */
    int nProductCount;        /* products under the branch */
} _MENU_INFO;

/* A product on sale, for GetProductData: of QueryProductList. The three dates have at most 14 characters,
 * enough for YYYYMMDDhhmmss; their format is the service's. */
typedef struct _PROD_LIST_INFO {
    char szBranchID[21];          /* the branch that the product is under */
    char szProductID[21];         /* goes into _PRODUCT_DETAIL_REQ, _USER_PRODUCT_REQ and _PURCHASE_REQ */
    char szProductName[41];       /* for people */
    char szMoneyCode[21];         /* the kind of money of nPrice; between game and service */
    int nPrice;                   /* price in that money */
    int nDiscountRate;            /* rate of the discount; its unit is between game and service */
    char szRegDate[15];           /* date of entry into the shop */
    char szStartDate[15];         /* start of the sale */
    char szEndDate[15];           /* end of the sale */
    char szProductDesc[501];      /* description, for people */
    unsigned char bGift;          /* not 0: may be given as a gift */
    char szImageURL[101];         /* address of the picture */
    int nTotalSellingCount;       /* copies sold so far */
    int nLevel;                   /* a level; between game and service */
    unsigned char bDuplicateSell; /* not 0: the same user may buy it more than once */
    char szUnitName[51];          /* name of the unit that is sold, for people */
    char szIconImageURL[101];     /* address of the icon */
    int nDisplayOrder;            /* place in a display */
    char szDiscountInfo[21];      /* text about the discount; between game and service */
    char szClassName[41];         /* name of a class of products; between game and service */
} _PROD_LIST_INFO;

/* One of the things that a product consists of, for GetChildProductData: of QueryProductDetailInfo. */
typedef struct _CHILDPROD_INFO {
    char szChildProductID[21]; /* id of the thing */
    int nPrice;                /* price; its kind of money is between game and service */
    char szUnitName[51];       /* name of the unit, for people */
    int nValidTerm;            /* term of validity; its unit is between game and service */
    int nPossibleLevel;        /* usable from this level of the character */
    int nUseCount;             /* number of uses; between game and service */
    int nPeriod;               /* period of use; its unit is between game and service */
    int nRuvCoinPrice;         /* price in Ruv coin, the service's own money (QueryRuvCoinInfo) */
    int nGameMoneyPrice;       /* price in game money, the game's own */
    char szClassName[41];      /* name of a class of things; between game and service */
} _CHILDPROD_INFO;

/* A condition of sale of a product, for GetConditionData: of QueryProductDetailInfo. */
typedef struct _CONDITION_INFO {
    char cConditionType;        /* one character: what kind; between game and service */
    char szConditionValue[101]; /* its value; between game and service */
} _CONDITION_INFO;

/* An option that a buyer may choose, for GetOptionData: of QueryProductDetailInfo. Code and value of the
 * chosen option go into a purchase (see _PURCHASE_REQ). */
typedef struct _OPTION_INFO {
    char szOptionCode[21];  /* code of the option */
    char szOptionValue[21]; /* value of the option */
    char szOptionName[21];  /* name of the option, for people */
} _OPTION_INFO;

/* A discount on a product, for GetDiscountData: of QueryDiscountList. */
typedef struct _DISCOUNT_INFO {
    char szCondition[101]; /* whom or what it is for; between game and service */
    int nDiscountRate;     /* rate of the discount; its unit is between game and service */
    int nDiscountAmt;      /* amount of the discount; its unit is between game and service */
    unsigned char bUse;    /* not 0: in use; between game and service */
} _DISCOUNT_INFO;

/* A tag of the shop, for GetTagData: of QueryTagList. */
typedef struct _TAG_INFO {
    char szTag[101]; /* text of the tag */
} _TAG_INFO;

/* A coupon of a user, for GetCouponData: of QueryCouponList. Its two ids go into a purchase (see
 * _USE_COUPON_INFO). */
typedef struct _COUPON_INFO {
    char szCouponUseID[21]; /* id of the coupon's use; goes into _USE_COUPON_INFO */
    char szCouponCode[21];  /* code of the coupon; goes into _USE_COUPON_INFO */
    char szCouponName[41];  /* for people */
    int nDiscountRate;      /* rate of the discount; its unit is between game and service */
    int nDiscountAmt;       /* amount of the discount; its unit is between game and service */
    char szUseEndDate[9];   /* last day of use: the first 8 characters of the service's date, so YYYYMMDD of a
                             * date in 14 digits */
} _COUPON_INFO;

/* A group of special offers, for GetSpecialProductData: of QuerySpecialProductList. */
typedef struct _SPECIAL_PRODUCT_LIST_INFO {
    char szExposeCode[21]; /* expose code: the group's id, for _SPECIAL_PRODUCT_REQ */
    char szExposeName[41]; /* the group's name, for people */
    char szIconUrl[101];   /* address of the icon */
    char szBannerUrl[101]; /* address of the banner */
} _SPECIAL_PRODUCT_LIST_INFO;

/* A product of a group of special offers, for GetSpecialProductDetailData: of QuerySpecialProductInfo. */
typedef struct _SPECIAL_PRODUCT_INFO {
    char szExposeCode[21]; /* expose code: the group's id */
    char szProductID[21];  /* the product, for QueryProductDetailInfo */
    char szImageUrl[101];  /* address of the picture */
    int nSortOrder;        /* place in the group */
} _SPECIAL_PRODUCT_INFO;

/* An entry of a storage box, for GetStorageItemData: of QueryStorageInfo. The three dates have at most 14
 * characters, enough for YYYYMMDDhhmmss; their format is the service's. */
typedef struct _STORAGE_INFO {
    int nStorageSeq;          /* number of the entry: names it in all calls of the storage box */
    int nOrderSeq;            /* number of the order that the entry comes from (nOrderSeq of _PURCHASE_RES) */
    char szItemID[21];        /* the item, as the game knows it */
    char szItemName[41];      /* for people */
    unsigned char bBonus;     /* not 0: the item is a bonus */
    char szSenderUserID[23];  /* giver of a gift: the user id, or the number if the id is empty */
    char szUserID[23];        /* owner of the entry: the user id, or the number if the id is empty */
    char szServerID[21];      /* the owner's server */
    char szCharacterID[21];   /* the owner's character */
    char szGiftMessage[201];  /* what the giver writes to the owner */
    int nCount;               /* number of pieces */
    int nRemainCount;         /* number of pieces that remain */
    char szValidTerm[15];     /* term of validity; its format is between game and service */
    int nPossibleLevel;       /* usable from this level of the character */
    int nUseCount;            /* number of uses; between game and service */
    int nPeriod;              /* period of use; its unit is between game and service */
    char szOptionCode[101];   /* option of the item; between game and service */
    char szOptionValue[101];  /* value of the option; between game and service */
    char szUseStartDate[15];  /* first day of use */
    char szValidDate[15];     /* date until which the entry is valid */
    char szBuyDate[15];       /* date of the purchase */
    char szSetName[41];       /* name of the set that the item belongs to, for people */
    char szListImageUrl[101]; /* address of the picture in a list */
    char szIconImageUrl[101]; /* address of the icon */
    char szDirection[201];    /* directions for use, for people */
    unsigned char bRead;      /* not 0: marked as read (ReadStorageInfo) */
    unsigned char bNew;       /* not 0: new; until when is between game and service */
} _STORAGE_INFO;

/* An item of a character's inventory: added with SetInventoryItemData in pfnQueryInventory, read with
 * GetSaveItemData in pfnSaveInventory. */
typedef struct _INVENTORY_ITEM_INFO {
    char szItemID[21];       /* the item, as the game knows it */
    int nCount;              /* pieces */
    int nUseCount;           /* number of uses; between game and service */
    int nPeriod;             /* period of use; its unit is between game and service */
    int nPossibleLevel;      /* usable from this level of the character */
    char szValidTerm[15];    /* term of validity; its format is between game and service */
    char cUseStatus;         /* one character; between game and service; passed on unread from the game, and
                              * always 0 in an item to be saved, whatever the service sends */
    char szOptionCode[101];  /* option of the item; between game and service; passed on unread */
    char szOptionValue[101]; /* value of the option; between game and service; passed on unread */
} _INVENTORY_ITEM_INFO;

/* A character of the game, added with SetCharacterData in pfnQueryCharacter. */
typedef struct _CHARACTER_INFO {
    char szUserID[23];      /* the character's user: see convention 11 */
    char szServerID[21];    /* the character's server */
    char szCharacterID[21]; /* the character */
    int nCharacterValue;    /* a number of the character; between game and service; passed on unread */
} _CHARACTER_INFO;

/* A coupon to be used in a purchase, added with SetUseCouponData: the two texts of _COUPON_INFO. */
typedef struct _USE_COUPON_INFO {
    char szCouponUseID[21]; /* of _COUPON_INFO */
    char szCouponCode[21];  /* of _COUPON_INFO */
} _USE_COUPON_INFO;

/* An option chosen for a purchase, added with SetUseOptionData: two texts of _OPTION_INFO. Read what
 * _PURCHASE_REQ says of its two handles before you use it. */
typedef struct _USE_OPTION_INFO {
    char szOptionCode[21];  /* of _OPTION_INFO */
    char szOptionValue[21]; /* of _OPTION_INFO */
} _USE_OPTION_INFO;

/* An entry of the storage box to be reserved, added with SetUseStorageItemData: three fields of
 * _STORAGE_INFO. */
typedef struct _USE_STORAGE_INFO {
    int nStorageSeq;   /* of _STORAGE_INFO */
    int nOrderSeq;     /* of _STORAGE_INFO */
    char szItemID[21]; /* of _STORAGE_INFO */
} _USE_STORAGE_INFO;

/* An entry of the storage box to be confirmed or given back. No call takes this record:
 * SetConfirmUseStorageItemData and SetCancelUseStorageItemData take the number itself. */
typedef struct _CONFIRM_USE_STORAGE_INFO {
    int nStorageSeq; /* of _STORAGE_INFO */
} _CONFIRM_USE_STORAGE_INFO;

/* ---- result lists --------------------------------------------------------------------------------- */
/*
 * The usual order for a list that an answer brings: GetDataSize, the Get function of its records for each
 * index from 0, DestroyHandle. For a list that a request takes: a GetHandleFor function, its Set function for
 * each record, the request, DestroyHandle. In callbacks the handle is in the record that comes, and it is not
 * the game's to destroy or to keep.
 *
 * None of these asks whether the library is initialised, asks the service, or writes to the log; none waits
 * for anything but a short lock. Any thread may call them, callbacks too, each handle on one thread at a
 * time. Each failure copies at most errorSize - 1 bytes of its text into errorText and ends it with a NUL; on
 * success the buffer is left alone. Nothing is written with a null errorText or an errorSize of 0. A failure
 * may be repeated without harm. "There is an exception because of some reasons." is a failure of memory.
 *
 * A handle whose list is gone (UninitModule has emptied the tables) is an unknown one: it reads as "There is
 * no data.", "Failed to find a data node for getting data." or "... for setting data.". A handle that has
 * been destroyed, or a pointer that never was a handle, is the caller's fault and cannot be recognised: its
 * use is undefined, as with any freed memory.
 */

/* Returns the number of records behind any handle. 0 with "Data handle is NULL." for a null handle, and 0
 * with "There is no data." for an unknown or an empty one: an empty list is no fault. */
VELKAR_API size_t GetDataSize(const _DATA_HANDLE* handle, char* errorText, size_t errorSize);

/* Frees the list and its handle. Null does nothing. Call it once for each handle that is yours, also for
 * those whose lists UninitModule has emptied, and never for the handle of a callback's record. */
VELKAR_API void DestroyHandle(_DATA_HANDLE* handle);

/*
 * The Get functions copy the record at index, counted from 0, and return true; on false the record is left as
 * it was. Reading allocates nothing and changes nothing in the list. Each of them returns false with:
 *  - "Data handle or ... arg is NULL.", the record's name without its first underscore in place of the dots:
 *    the handle or the record is null. A null handle is what a failed call and an empty list of
 *    QueryProductDetailInfo leave.
 *  - "Data handle type doesn't refer to ...": the handle has another kind of list. Each comment has the text.
 *  - "Failed to find a data node for getting data.": the handle is unknown.
 *  - "The index number is not valid.": index is at or past GetDataSize.
 */

/* Reads a billing of the list in hBillingData of CheckinEx or QueryBillingInfoEx. A handle of another list:
 * "Data handle type doesn't refer to billing info." */
VELKAR_API bool GetBillingData(const _DATA_HANDLE* handle, size_t index, _BILL_INFO* record, char* errorText,
                               size_t errorSize);

/* Reads a branch of the list in hData of QueryMenuList. A handle of another list: "Data handle type doesn't
 * refer to menu info." */
VELKAR_API bool GetMenuData(const _DATA_HANDLE* handle, size_t index, _MENU_INFO* record, char* errorText,
                            size_t errorSize);

/* Reads a product of the list in hData of QueryProductList. A handle of another list: "Data handle type
 * doesn't refer to product list info." */
VELKAR_API bool GetProductData(const _DATA_HANDLE* handle, size_t index, _PROD_LIST_INFO* record,
                               char* errorText, size_t errorSize);

/* Reads one of the things that a product consists of, from the list in hChildProduct of
 * QueryProductDetailInfo. A handle of another list: "Data handle type doesn't refer to child product
 * info." */
VELKAR_API bool GetChildProductData(const _DATA_HANDLE* handle, size_t index, _CHILDPROD_INFO* record,
                                    char* errorText, size_t errorSize);

/* Reads a condition of sale of the list in hCondition of QueryProductDetailInfo. A handle of another list:
 * "Data handle type doesn't refer to condition info." */
VELKAR_API bool GetConditionData(const _DATA_HANDLE* handle, size_t index, _CONDITION_INFO* record,
                                 char* errorText, size_t errorSize);

/* Reads an option of the list in hOption of QueryProductDetailInfo. A handle of another list: "Data handle
 * type doesn't refer to child product info.", the same text as GetChildProductData has. */
VELKAR_API bool GetOptionData(const _DATA_HANDLE* handle, size_t index, _OPTION_INFO* record, char* errorText,
                              size_t errorSize);

/* Reads a discount of the list in hData of QueryDiscountList. A handle of another list: "Data handle type
 * doesn't refer to discount info." */
VELKAR_API bool GetDiscountData(const _DATA_HANDLE* handle, size_t index, _DISCOUNT_INFO* record,
                                char* errorText, size_t errorSize);

/* Reads a tag of the list in hData of QueryTagList. A handle of another list: "Data handle type doesn't refer
 * to tag info." */
VELKAR_API bool GetTagData(const _DATA_HANDLE* handle, size_t index, _TAG_INFO* record, char* errorText,
                           size_t errorSize);

/* Reads a coupon of the list in hData of QueryCouponList. A handle of another list: "Data handle type doesn't
 * refer to coupon list info." */
VELKAR_API bool GetCouponData(const _DATA_HANDLE* handle, size_t index, _COUPON_INFO* record, char* errorText,
                              size_t errorSize);

/* Reads a group of special offers of the list in hData of QuerySpecialProductList. A handle of another list:
 * "Data handle type doesn't refer to special product list info." */
VELKAR_API bool GetSpecialProductData(const _DATA_HANDLE* handle, size_t index,
                                      _SPECIAL_PRODUCT_LIST_INFO* record, char* errorText, size_t errorSize);

/* Reads a product of a group, of the list in hData of QuerySpecialProductInfo. A handle of another list:
 * "Data handle type doesn't refer to special product info." */
VELKAR_API bool GetSpecialProductDetailData(const _DATA_HANDLE* handle, size_t index,
                                            _SPECIAL_PRODUCT_INFO* record, char* errorText, size_t errorSize);

/* Reads an entry of the storage box, of the list in hData of QueryStorageInfo. A handle of another list:
 * "Data handle type doesn't refer to storage item info." */
VELKAR_API bool GetStorageItemData(const _DATA_HANDLE* handle, size_t index, _STORAGE_INFO* record,
                                   char* errorText, size_t errorSize);

/* Reads an item to be saved, of the list in pHandle of _SAVE_INVENTORY_REQ, inside pfnSaveInventory. A null
 * handle or record: "Data handle or SAVE_ITEM_INFO arg is NULL." A handle of another list: "Data handle type
 * doesn't refer to item info for saving to inventory." */
VELKAR_API bool GetSaveItemData(const _DATA_HANDLE* handle, size_t index, _INVENTORY_ITEM_INFO* record,
                                char* errorText, size_t errorSize);

/*
 * The GetHandleFor functions make an empty list for a request and return its handle, which is the caller's to
 * destroy. The list lives until DestroyHandle or UninitModule. Requests read it and leave it as it is: a
 * handle can serve several requests. Null on failure, with "There is an exception because of some reasons.",
 * with "Failed to insert a data node to the velkar's data pool.", or without a text if memory has run out; do
 * not make the request then, since a purchase without its list is another purchase.
 */

/* Makes an empty list of _USE_COUPON_INFO for hUseCoupon of _PURCHASE_REQ; SetUseCouponData fills it. */
VELKAR_API _DATA_HANDLE* GetHandleForUseCouponInfo(char* errorText, size_t errorSize);

/* Makes an empty list of _USE_OPTION_INFO for hUseOption of _PURCHASE_REQ; SetUseOptionData fills it. Read
 * what _PURCHASE_REQ says of its two handles before you use it. */
VELKAR_API _DATA_HANDLE* GetHandleForUseOptionInfo(char* errorText, size_t errorSize);

/* Makes an empty list of _USE_STORAGE_INFO for StorageToInventory; SetUseStorageItemData fills it. */
VELKAR_API _DATA_HANDLE* GetHandleForUseStorageItemInfo(char* errorText, size_t errorSize);

/* Makes an empty list of entry numbers for ConfirmStorageToInventory. SetConfirmUseStorageItemData fills the
 * list. */
VELKAR_API _DATA_HANDLE* GetHandleForConfirmUseStorageItemInfo(char* errorText, size_t errorSize);

/* Makes an empty list of entry numbers for CancelStorageToInventory; SetCancelUseStorageItemData fills it. */
VELKAR_API _DATA_HANDLE* GetHandleForCancelUseStorageItemInfo(char* errorText, size_t errorSize);

/*
 * The Set functions append a copy of the record to the list and return true; on false the list is as it was.
 * Each of them returns false with:
 *  - "Data handle is NULL.": the handle is null.
 *  - "Data handle type doesn't refer to ...": the handle has another kind of list. Each comment has the text.
 *  - "Data record is NULL.": the record is null, which is possible from C only.
 *  - "Failed to find a data node for setting data.": the handle is unknown.
 */

/* Adds an item to the list in pHandle of _GAME_DATA_RES, inside pfnQueryInventory. A handle of another list:
 * "Data handle type doesn't refer to inventory item info." */
VELKAR_API bool SetInventoryItemData(const _DATA_HANDLE* handle,
                                     VELKAR_BY_REFERENCE(_INVENTORY_ITEM_INFO) record, char* errorText,
                                     size_t errorSize);

/* Adds a character to the list in pHandle of _GAME_DATA_RES, inside pfnQueryCharacter. A handle of another
 * list: "Data handle type doesn't refer to character info." */
VELKAR_API bool SetCharacterData(const _DATA_HANDLE* handle, VELKAR_BY_REFERENCE(_CHARACTER_INFO) record,
                                 char* errorText, size_t errorSize);

/* Adds a coupon to the list of GetHandleForUseCouponInfo. A handle of another list: "Data handle type doesn't
 * refer to use coupon info." */
VELKAR_API bool SetUseCouponData(const _DATA_HANDLE* handle, VELKAR_BY_REFERENCE(_USE_COUPON_INFO) record,
                                 char* errorText, size_t errorSize);

/* Adds an option to the list of GetHandleForUseOptionInfo. A handle of another list: "Data handle type
 * doesn't refer to use option info." */
VELKAR_API bool SetUseOptionData(const _DATA_HANDLE* handle, VELKAR_BY_REFERENCE(_USE_OPTION_INFO) record,
                                 char* errorText, size_t errorSize);

/* Adds an entry to be reserved to the list of GetHandleForUseStorageItemInfo. A handle of another list: "Data
 * handle type doesn't refer to storage use item info." */
VELKAR_API bool SetUseStorageItemData(const _DATA_HANDLE* handle,
                                      VELKAR_BY_REFERENCE(_USE_STORAGE_INFO) record, char* errorText,
                                      size_t errorSize);

/* Adds the number of an entry to be confirmed (nStorageSeq of _STORAGE_INFO) to the list of
 * GetHandleForConfirmUseStorageItemInfo. A handle of another list: "Data handle type doesn't refer to storage
 * confirm use item info." */
VELKAR_API bool SetConfirmUseStorageItemData(const _DATA_HANDLE* handle, int nStorageSeq, char* errorText,
                                             size_t errorSize);

/* Adds the number of an entry to be given back (nStorageSeq of _STORAGE_INFO) to the list of
 * GetHandleForCancelUseStorageItemInfo. A handle of another list: "Data handle type doesn't refer to storage
 * confirm use item info.", the same text as SetConfirmUseStorageItemData has. */
VELKAR_API bool SetCancelUseStorageItemData(const _DATA_HANDLE* handle, int nStorageSeq, char* errorText,
                                            size_t errorSize);

/* ---- the shop --------------------------------------------------------------------------------------- */
/*
 * Queries of the catalogue, of a user's coupons and of a user's balance. They change nothing at the library.
 * What they have in common:
 *  - Each blocks up to 5000 milliseconds and may be called from any thread but a callback's.
 *  - bSuccess 1: the record is filled and szError is empty. A list comes as a handle in the response, to be
 *    read with GetDataSize and the Get function that the call's comment names, and ended with DestroyHandle.
 *  - bSuccess 0: every handle is null and szError tells why: a text of convention 5, the service's own text,
 *    which may be empty, or the call's text for an empty list. An empty list is a failure here, with a text
 *    that begins with "There is no": treat it as an answer with nothing in it.
 *  - Timeout: a query changes nothing, so ask again. A list that comes too late is freed by the library, but
 *    for QueryProductDetailInfo.
 */

/* Request of QueryMenuList, QueryTagList and QuerySpecialProductList. */
typedef struct _GAME_REQ {
    char szGameID[21]; /* game whose shop is asked for; the library does not compare it with GID */
} _GAME_REQ;

/* Request of QueryProductList. */
typedef struct _PRODUCT_LIST_REQ {
    char szGameID[21];      /* game, as in _GAME_REQ */
    char szBranchID[21];    /* branch to list, of _MENU_INFO */
    char cSearchType;       /* what to search by; between game and service; passed on unread, not logged */
    char szSearchValue[23]; /* what to search for; between game and service; passed on unread, not logged */
    int nRow;               /* products on a page; its limits are between game and service */
    int nPage;              /* number of the page; whether 0 or 1 is the first is between game and service */
} _PRODUCT_LIST_REQ;

/* Request of QueryProductDetailInfo. */
typedef struct _PRODUCT_DETAIL_REQ {
    char szGameID[21];    /* game, as in _GAME_REQ */
    char szProductID[21]; /* product to describe, of _PROD_LIST_INFO */
} _PRODUCT_DETAIL_REQ;

/* Request of QueryDiscountList and QueryCouponList. */
typedef struct _USER_PRODUCT_REQ {
    char szGameID[21];      /* game, as in _GAME_REQ */
    char szServerID[21];    /* server that the user plays on */
    char szUserID[23];      /* the user, who need not be checked in here: see convention 11 */
    char szUserIP[16];      /* the user's address as dotted text */
    char szCharacterID[21]; /* the user's character */
    char szProductID[21];   /* product asked about, of _PROD_LIST_INFO */
    int nLevel;             /* the character's level */
} _USER_PRODUCT_REQ;

/* Request of QuerySpecialProductInfo. */
typedef struct _SPECIAL_PRODUCT_REQ {
    char szGameID[21];     /* game, as in _GAME_REQ */
    char szExposeCode[21]; /* expose code: id of the group to list, of _SPECIAL_PRODUCT_LIST_INFO */
} _SPECIAL_PRODUCT_REQ;

/* Request of QueryRuvCoinInfo. */
typedef struct _RUVCOIN_REQ {
    char szUserID[23]; /* the user, who need not be checked in here: see convention 11 */
} _RUVCOIN_REQ;

/* Response of the queries that bring one list: QueryMenuList, QueryDiscountList, QueryTagList,
 * QueryCouponList, QuerySpecialProductList, QuerySpecialProductInfo and QueryStorageInfo. */
typedef struct _LIST_RES {
    unsigned char bSuccess; /* 1: success, 0: failure or empty list */
    char szError[1025];     /* text of a failure or an empty list; empty on success */
    _DATA_HANDLE* hData;    /* the records; null on failure; yours to destroy */
    int nPrice;             /* QueryDiscountList: the product's price. 0 elsewhere */
} _LIST_RES;

/* Response of QueryProductList. */
typedef struct _PRODUCT_LIST_RES {
    unsigned char bSuccess; /* 1: success, 0: failure or empty list */
    char szError[1025];     /* text of a failure or an empty list; empty on success */
    int nListValue1;        /* a number of the whole list; between game and service; passed on unread */
    int nListValue2;        /* likewise */
    int nListValue3;        /* likewise */
    _DATA_HANDLE* hData;    /* the products of the page; null on failure; yours to destroy */
} _PRODUCT_LIST_RES;

/* Response of QueryProductDetailInfo: one product and its three lists. */
typedef struct _PRODUCT_DETAIL_RES {
    unsigned char bSuccess;         /* 1: success, 0: failure or a product without children */
    char szError[1025];             /* text of a failure; empty on success */
    char szBranchID[21];            /* the branch that the product is under */
    char szProductID[21];           /* the product */
    char szProductName[41];         /* for people */
    char szProductDetailDesc[2001]; /* description, for people */
    char szImageURL[101];           /* address of the picture */
    char szMovieURL[201];           /* address of the film */
    char szDirection[201];          /* directions for use, for people */
    char cCouponUseType;            /* one character: use of coupons; between game and service */
    char cDiscountType;             /* one character: kind of discount; between game and service */
    _DATA_HANDLE* hChildProduct;    /* list of _CHILDPROD_INFO; never null on success; yours to destroy */
    _DATA_HANDLE* hCondition;       /* list of _CONDITION_INFO; null if there are none; yours to destroy */
    _DATA_HANDLE* hOption;          /* list of _OPTION_INFO; null if there are none; yours to destroy */
} _PRODUCT_DETAIL_RES;

/* Response of QueryRuvCoinInfo. */
typedef struct _RUVCOIN_RES {
    unsigned char bSuccess; /* 1: success, 0: failure */
    char szError[1025];     /* text of a failure; empty on success */
    int nRuvCoin;           /* the balance in Ruv coin, the service's own money; not below 0 on success */
} _RUVCOIN_RES;

/* Brings the branches of the shop's menu: a list of _MENU_INFO in hData, for GetMenuData. Empty list: "There
 * is no menu list info in 'XS2C_QueryMenuListAns' msg." Outcomes and blocking as told at the head of the
 * shop. */
VELKAR_API void QueryMenuList(const _GAME_REQ* pReq, _LIST_RES* pRes);

/* Brings a page of the products of a branch: a list of _PROD_LIST_INFO in hData, for GetProductData, and
 * three numbers of the whole list. Empty list: "There is no product list info in 'XS2C_QueryProductListAns'
 * msg." Outcomes and blocking as told at the head of the shop. */
VELKAR_API void QueryProductList(const _PRODUCT_LIST_REQ* pReq, _PRODUCT_LIST_RES* pRes);

/*
 * Brings all about one product. Three lists: hChildProduct for GetChildProductData, hCondition for
 * GetConditionData, hOption for GetOptionData; each that is not null is ended with DestroyHandle. A product
 * that consists of nothing is a failure: "There is no product list info in 'queryProductDetailInfoAnsMsg'
 * msg." An answer that comes after the caller's time is over leaves its lists in the library until
 * UninitModule: ask for details sparingly on a slow link. Other outcomes and blocking as told at the head of
 * the shop.
 */
VELKAR_API void QueryProductDetailInfo(const _PRODUCT_DETAIL_REQ* pReq, _PRODUCT_DETAIL_RES* pRes);

/* Brings the discounts that a user has on a product: a list of _DISCOUNT_INFO in hData, for GetDiscountData,
 * and the product's price in nPrice. Empty list: "There is no discount info in 'XS2C_QueryDiscountAns' msg.",
 * and the price is not told then. Outcomes and blocking as told at the head of the shop. */
VELKAR_API void QueryDiscountList(const _USER_PRODUCT_REQ* pReq, _LIST_RES* pRes);

/* Brings the tags of the shop: a list of _TAG_INFO in hData, for GetTagData. Empty list: "There is no tag
 * info in 'XS2C_QueryTagAns' msg." Outcomes and blocking as told at the head of the shop. */
VELKAR_API void QueryTagList(const _GAME_REQ* pReq, _LIST_RES* pRes);

/* Brings the coupons that a user has for a product: a list of _COUPON_INFO in hData, for GetCouponData. Empty
 * list: "There is no coupon list info in 'XS2C_QueryCoupontAns' msg." Outcomes and blocking as told at the
 * head of the shop. */
VELKAR_API void QueryCouponList(const _USER_PRODUCT_REQ* pReq, _LIST_RES* pRes);

/* Brings the groups of special offers: a list of _SPECIAL_PRODUCT_LIST_INFO in hData, for
 * GetSpecialProductData. Empty list: "There is no special product list info in
 * 'XS2C_QuerySpecialProductListAns' msg." Outcomes and blocking as told at the head of the shop. */
VELKAR_API void QuerySpecialProductList(const _GAME_REQ* pReq, _LIST_RES* pRes);

/* Brings the products of one group of special offers: a list of _SPECIAL_PRODUCT_INFO in hData, for
 * GetSpecialProductDetailData. Empty list: "There is no special product info in 'XS2C_QuerySpecialProductAns'
 * msg." Outcomes and blocking as told at the head of the shop. */
VELKAR_API void QuerySpecialProductInfo(const _SPECIAL_PRODUCT_REQ* pReq, _LIST_RES* pRes);

/* Brings a user's balance in Ruv coin. No list. A balance below 0 is a failure with the service's text, which
 * may be empty. Other outcomes and blocking as told at the head of the shop. */
VELKAR_API void QueryRuvCoinInfo(const _RUVCOIN_REQ* pReq, _RUVCOIN_RES* pRes);

/* ---- storage box and purchase ------------------------------------------------------------------------ */
/*
 * What a user buys waits in a storage box at the service. Entries go into a character's inventory in three
 * steps: StorageToInventory reserves them; the game puts the items into the inventory; then
 * ConfirmStorageToInventory ends it, or CancelStorageToInventory gives them back. The library keeps nothing
 * between the steps. Each step has its own kind of handle (GetHandleForUseStorageItemInfo, ...Confirm...,
 * ...Cancel...), filled before the call, unchanged during it, and the caller's to destroy; a list without
 * records is sent as it is.
 *
 * What all calls here have in common: each blocks up to 5000 milliseconds, and may be called from any thread
 * but a callback's. bSuccess is 1 or 0. With 0, szError is a text of convention 5, a text that the call's
 * comment names, or the service's own text of a refusal, which may be empty.
 */

/* Request of QueryStorageInfo. */
typedef struct _STORAGE_SEARCH_REQ {
    char szGameID[21];      /* game, as in _GAME_REQ */
    char szServerID[21];    /* server that the user plays on */
    char szUserID[23];      /* owner of the box, who need not be checked in here: see convention 11 */
    char szCharacterID[21]; /* the user's character */
    char cSearchType;       /* what to search by; between game and service; passed on unread, not logged */
    char szSearchValue[23]; /* what to search for; between game and service; passed on unread, not logged */
} _STORAGE_SEARCH_REQ;

/* Request of ReadStorageInfo. */
typedef struct _STORAGE_READ_REQ {
    char szGameID[21];      /* game, as in _GAME_REQ */
    char szServerID[21];    /* server that the user plays on */
    char szUserID[23];      /* owner of the box, who need not be checked in here: see convention 11 */
    char szCharacterID[21]; /* the user's character */
    int nStorageSeq;        /* the entry that has been read, of _STORAGE_INFO */
    unsigned char bDelete;  /* 1: delete the entry, 0: keep it */
} _STORAGE_READ_REQ;

/* Request of StorageToInventory, ConfirmStorageToInventory and CancelStorageToInventory. */
typedef struct _STORAGE_USE_REQ {
    char szGameID[21];         /* game, as in _GAME_REQ */
    char szServerID[21];       /* server that the user plays on */
    char szUserID[23];         /* owner of the box, who need not be checked in here: see convention 11 */
    char szCharacterID[21];    /* character whose inventory the items are for */
    _DATA_HANDLE* hUseStorage; /* the entries: a handle of the kind that the call's comment names */
} _STORAGE_USE_REQ;

/*
 * Request of PurchaseProduct.
 *
 * Both handles may be null; the request then carries no coupon and no option. How the two are read is
 * unusual:
 *  - hUseCoupon alone: its records are the coupons used.
 *  - Both: the records behind hUseCoupon are sent twice, as the coupons used and as the options chosen (the
 *    use id as the code, the coupon code as the value). The records behind hUseOption are not looked at. So
 *    to send options, put them into the list of hUseCoupon too, and any handle into hUseOption.
 *  - hUseOption alone is not allowed: the call fails with "There is an exception because of some reasons.",
 *    and nothing is sent.
 */
typedef struct _PURCHASE_REQ {
    char szGameID[21];          /* game, as in _GAME_REQ */
    char szProductID[21];       /* product to buy, of _PROD_LIST_INFO */
    char szUserID[23];          /* the buyer, who need not be checked in here: see convention 11 */
    char szServerID[21];        /* the buyer's server */
    char szCharacterID[21];     /* the buyer's character */
    char szRecvUserID[23];      /* the receiver of a gift (convention 11); empty if it is none */
    char szRecvServerID[21];    /* the receiver's server; empty if it is no gift */
    char szRecvCharacterID[21]; /* the receiver's character; empty if it is no gift */
    int nLevel;                 /* the character's level */
    int nCount;                 /* how many of the product */
    char szGiftMessage[201];    /* what the receiver is told */
    char szUserIP[16];          /* the buyer's address as dotted text */
    char szPassWD[21];          /* the buyer's pass word; travels in plain; the log shows it as stars */
    _DATA_HANDLE* hUseCoupon;   /* of GetHandleForUseCouponInfo, or null; unchanged during the call */
    _DATA_HANDLE* hUseOption;   /* of GetHandleForUseOptionInfo, or null */
} _PURCHASE_REQ;

/* Response of PurchaseProduct. */
typedef struct _PURCHASE_RES {
    unsigned char bSuccess; /* 1: bought, 0: failure */
    char szError[1025];     /* text of a failure; after a success the service's message, which may be empty */
    int nOrderSeq;          /* number of the order; only with bSuccess 1 */
    int nBuyPrice;          /* the price paid; only with bSuccess 1 */
} _PURCHASE_RES;

/*
 * Brings the entries of a user's storage box: a list of _STORAGE_INFO in hData, for GetStorageItemData; end
 * it with DestroyHandle. Changes nothing. On success szError is empty. An empty box is a failure with "There
 * is no item info in 'XS2C_SearchStorageAns' msg." After a timeout ask again; a list that comes too late is
 * freed by the library. Blocking and other failures as told at the head of the storage box.
 */
VELKAR_API void QueryStorageInfo(const _STORAGE_SEARCH_REQ* pReq, _LIST_RES* pRes);

/*
 * Marks one entry of the storage box as read and, with bDelete 1, deletes it. No list. bSuccess 1: done;
 * szError holds the service's message, which may be empty. Timeout: the entry may have been marked or
 * deleted; QueryStorageInfo shows whether it has. Blocking and other failures as told at the head of the
 * storage box.
 */
VELKAR_API void ReadStorageInfo(const _STORAGE_READ_REQ* pReq, _RESULT_RES* pRes);

/*
 * First step of the way into the inventory: reserves entries of the storage box. hUseStorage is a handle of
 * GetHandleForUseStorageItemInfo. Do not give out any item before this call has succeeded.
 *
 *  - bSuccess 1: reserved; put the items into the inventory, then confirm, or give them back with
 *    CancelStorageToInventory. szError holds the service's message, which may be empty.
 *  - A text of the service: refused. Give out nothing.
 *  - Timeout: the entries may or may not be reserved, and the library does not follow it up. Give out
 *    nothing; look with QueryStorageInfo before you try again, or give them back with
 *    CancelStorageToInventory.
 *  - "Handle for using storage items is NULL.", "Data handle type doesn't refer to using storage items info."
 *    or "There is no data about using storage items info.": hUseStorage is null, of another kind, or has no
 *    list any more. Nothing was sent.
 *
 * Blocking and other failures as told at the head of the storage box.
 */
VELKAR_API void StorageToInventory(const _STORAGE_USE_REQ* pReq, _RESULT_RES* pRes);

/*
 * Last step of the way into the inventory: tells the service that the items are in the inventory, so that it
 * takes the reserved entries out of the box. hUseStorage is a handle of
 * GetHandleForConfirmUseStorageItemInfo.
 *
 *  - bSuccess 1: done; the way into the inventory is complete. szError holds the service's message, which may
 *    be empty.
 *  - A text of the service: refused, so the entries may still be in the box. Remember in the game which
 *    nStorageSeq has been given out, so that no entry is given out twice.
 *  - Timeout: unknown. The items stay in the inventory; look with QueryStorageInfo whether the entries are
 *    still there, and confirm again if they are.
 *  - "Failed to send a 'XC2S_ConfirmUseStorageReq' msg.": not confirmed; confirm after the reconnection.
 *  - "Handle for confirmming to use storage items is NULL.", "Data handle type doesn't refer to confirmming
 *    to use storage items info." or "There is no data about confirmming to use storage items info.":
 *    hUseStorage is null, of another kind, or has no list any more. Nothing was sent.
 *
 * Blocking and other failures as told at the head of the storage box.
 */
VELKAR_API void ConfirmStorageToInventory(const _STORAGE_USE_REQ* pReq, _RESULT_RES* pRes);

/*
 * The other last step: gives reserved entries back to the storage box, because the items did not get into the
 * inventory. hUseStorage is a handle of GetHandleForCancelUseStorageItemInfo.
 *
 *  - bSuccess 1: done; the entries are given back. szError holds the service's message, which may be empty.
 *  - A text of the service: refused. Look with QueryStorageInfo.
 *  - Timeout: unknown. Look with QueryStorageInfo, and give back again if it is needed.
 *  - "Failed to send a 'XC2S_CancelUseStorageReq' msg.": not given back; give back after the reconnection.
 *  - "Handle for canceling to use storage items is NULL.", "Data handle type doesn't refer to canceling to
 *    use storage items info." or "There is no data about canceling to use storage items info.": hUseStorage
 *    is null, of another kind, or has no list any more. Nothing was sent.
 *
 * Blocking and other failures as told at the head of the storage box.
 */
VELKAR_API void CancelStorageToInventory(const _STORAGE_USE_REQ* pReq, _RESULT_RES* pRes);

/*
 * Buys a product: the service takes the price from the buyer, and what was bought waits in the storage box of
 * the buyer or, for a gift, of the receiver. The library keeps nothing of an order, and nothing in a request
 * marks it as a repetition: calling twice can buy, and take the price, twice.
 *
 *  - bSuccess 1: bought. nOrderSeq is the order's number and nBuyPrice the price paid; keep both in the
 *    game's own log. szError holds the service's message, which may be empty.
 *  - A text of the service: refused. nOrderSeq and nBuyPrice hold what the answer had and mean nothing.
 *  - Timeout: the product may have been bought and the price taken; the order's number is not known. Do not
 *    call again until QueryStorageInfo (is there a new entry?) and QueryRuvCoinInfo (is the money gone?) have
 *    shown that nothing was bought; a request on its way can still be carried out shortly after the timeout.
 *  - "Failed to send a 'XC2S_PurchaseProductReq' msg.": nothing was bought. There is no connection, or
 *    hUseCoupon has no list of coupons or options; see convention 5.
 *  - "There is an exception because of some reasons.": with hUseOption but no hUseCoupon nothing was bought;
 *    otherwise treat it like a timeout.
 *
 * Both handles stay the caller's: end them with DestroyHandle after the call. Blocking and other failures as
 * told at the head of the storage box.
 */
VELKAR_API void PurchaseProduct(const _PURCHASE_REQ* pReq, _PURCHASE_RES* pRes);

/* ---- status ----------------------------------------------------------------------------------------- */

/* What has become of one kind of message that the library sends. The counts go on from the loading of the
 * library to the end of the process, through stops and starts. */
typedef struct _MESSAGE_STATUS {
    char szName[40];                /* name of the message on the wire, such as "XC2S_CheckInReq" */
    long long nSent;                /* accepted by a connection */
    long long nRefused;             /* not sent: no connection, too much waiting, or a list without records */
    long long nAnswered;            /* the call that waited has got the service's answer, also a refusal */
    long long nTimedOut;            /* no answer came while the call waited */
    long long nLatencyMicroseconds; /* from the call to its answer, all answers together */
    long long arrLatency[17]; /* answers by that time: the first counts those up to 100 microseconds, each
                               * other one those beyond the one before up to twice its limit, the last
                               * all beyond 3.2768 seconds */
} _MESSAGE_STATUS;

/* What GetConnectorStatus fills. */
typedef struct _CONNECTOR_STATUS {
    int nSize;                  /* set before the call: sizeof(_CONNECTOR_STATUS) as the game knows it */
    int nLinkState;             /* 0: not started, 1: no connection, the library tries to make one, 2:
                                 * connected and not accepted by the service yet, 3: accepted */
    long long nLinkSince;       /* when this state began: milliseconds since 1970, UTC; 0 before the first
                                 * start. The clock is the machine's and may have been set since */
    long long nConnectAttempts; /* connections tried; this and the next two count like _MESSAGE_STATUS */
    long long nConnects;        /* of those, accepted by the service */
    long long nLinkLosses;      /* of those, lost again; an UninitModule is no loss */
    long long nUsers;           /* users known here (convention 11) */
    long long nWaiters;         /* calls that wait for an answer */
    long long nQueuedBytes;     /* bytes that wait to be sent */
    long long nFailedCheckouts; /* checkouts that wait for a connection or for the next heartbeat */
    int nMessages;              /* how many records of arrMessages are filled */
    int nReserved;              /* 0 */
    _MESSAGE_STATUS arrMessages[40]; /* always in the same order */
} _CONNECTOR_STATUS;

/*
 * Tells how the library is doing: the same figures that the status file has (docs/operate.md). Set nSize
 * before the call; no other field is read. True: the record is filled, up to nSize bytes of it. A record of
 * an older header, or the beginning of a record, is filled as far as it goes; in a record of a newer header
 * the fields that this library does not know are 0. False, and nothing is changed: pStatus is null, or nSize
 * is below 16 or above 65536.
 *
 * Never blocks and takes no lock. Any thread may call it at any time: also before InitModule, when
 * nLinkState is 0, after UninitModule, and inside callbacks. Each figure is right by itself, but two of them
 * need not be of the same moment.
 */
VELKAR_API bool GetConnectorStatus(_CONNECTOR_STATUS* pStatus);

#ifdef __cplusplus
}
#endif

#pragma pack(pop)

#endif /* VELKAR_CONNECTOR_H */

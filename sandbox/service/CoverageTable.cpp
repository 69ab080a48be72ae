// The table behind Coverage: what there is to meet, and the one sentence on how. A call, a result or a case
// more is a row here.
#include "sandbox/service/BillingEvents.h"
#include "sandbox/service/Coverage.h"
#include "sandbox/service/Refusal.h"
#include "sandbox/wire/AnyMessage.h"
#include "wirova/messages/AllMessages.h"

namespace Sandbox {
namespace {

using Wirova::ClassInfo;
using Wirova::int32;

constexpr char kCalls[] = "calls", kRefusals[] = "refusals", kUnanswered[] = "unanswered",
               kCallbacks[] = "callbacks", kSessions[] = "sessions", kLinks[] = "links";
constexpr int kRefusedExtra = 30006;  // a refusal with which the game gets an extra flag

// The results that the service knows: what they say, and when it gives them; without that only a fault does.
struct Known {
    int nResult;
    const char* pszWhat;
    const char* pszWhen;
};
constexpr Known kKnown[] = {
    {kUnknownUser, "no such user", "for a user whom the service does not know"},
    {kElsewhere, "in on another game server", "for a user who is in on another game server"},
    {kTermOver, "the term has ended", "for a user of a fixed term whom POST /users/stop has stopped"},
    {kNoMinutes, "no minutes left", "for a metered user whom POST /users/stop has stopped"},
    {kNoUserNamed, "no user named", "with an empty user id"},
    {kStoreFailed, "the service's database has failed", nullptr},
    {kUnknownGame, "no shop of this game", "for a game id that has no shop"},
    {kUnknownProduct, "no such product", "for a product that DELETE /products has taken away"},
    {kUnknownBranch, "no such branch", "for a branch that the menu does not have"},
    {kUnknownGroup, "no such special group", "for a group that the list does not have"},
    {kBadSearch, "unknown search type", "with the search type X"},
    {kBadPage, "no such page", "for page 0"},
    {kUnknownReceiver, "no such receiver", "as a gift for a user whom the service does not know"},
    {kTextTooLong, "a text is too long", nullptr},
    {kTooManyRows, "too many or no rows", nullptr},
    {kNotOnSale, "not on sale now", "for a product whose endDate PATCH /products has put into the past"},
    {kBadCount, "a bad count", "with the count 0"},
    {kLevelTooLow, "the level is too low", "with a level below the product's"},
    {kConditionFails, "a condition is not met", "at a level that the product's condition does not allow"},
    {kNoGift, "not to be given away", "as a gift of a product whose gift PATCH /products has set to false"},
    {kSoldOnce, "sold once only", "twice for a product that is sold once"},
    {kWrongPassWord, "wrong pass word", "with a wrong pass word of a user who has one"},
    {kUnknownOption, "no such option", "with an option that the product does not have"},
    {kUnknownCoupon, "no such coupon", "with a coupon that the user does not have"},
    {kCouponUsed, "the coupon is used", "with the same coupon a second time"},
    {kCouponExpired, "the coupon has expired", "with a coupon whose useEndDate is in the past"},
    {kCouponOfOther, "a coupon of another product", "with a coupon whose productId is another one"},
    {kCouponsNotTaken, "coupons are not taken", "with a coupon for a product whose couponUseType is N"},
    {kNotEnoughCoin, "not enough Ruv coin", "after POST /balance has set the buyer's ruvCoin to 0"},
    {kPriceTooHigh, "the price is too high", "for so many pieces that they cost more than 2147483647"},
    {kUnknownEntry, "no such entry", "for a storage number that the box does not have"},
    {kWrongItem, "the entry is of another item", "with another item id than the entry's"},
    {kEntryReserved, "the entry is reserved", "for an entry that is reserved and not confirmed"},
    {kEntryUsed, "the entry has been used", "for an entry that has been confirmed before"},
    {kNotReserved, "the entry is not reserved", "for an entry that waits"},
    {kReservedForOther, "reserved for another character", "for another character than the one that reserved"},
    {kEntryExpired, "the entry has expired", "for an entry whose validDate is in the past"},
    {kNamedTwice, "named twice", "with the same row twice"},
    {kRefusedExtra, "refused with the extra flag", nullptr},
};

// A call of the library that asks the service. Refusals of an answer that only says yes or no have no result.
struct Call {
    const char* pszName;
    const char* pszWith;  // what makes it succeed
    int32 nRequest;
    bool bChanges;  // the service changes something, so that a late answer is not the same as none
    std::vector<int> vecResults;
};
const std::vector<int> kMoves = {kUnknownUser, kNoUserNamed,      kStoreFailed,  kUnknownGame,
                                 kTextTooLong, kTooManyRows,      kUnknownEntry, kNotReserved,
                                 kEntryUsed,   kReservedForOther, kNamedTwice};
const std::vector<int> kCheckins = {kUnknownUser, kElsewhere,   kTermOver,    kNoMinutes,
                                    kNoUserNamed, kStoreFailed, kRefusedExtra};
const std::vector<int> kOfProduct = {kUnknownUser, kNoUserNamed, kStoreFailed, kUnknownGame, kUnknownProduct};
const Call kAllCalls[] = {
    {"Checkin", " for a user of GET /users", XC2S_CheckInReq::kMsgID, true, kCheckins},
    {"CheckinEx", " for a user of GET /users", XC2S_CheckInExReq::kMsgID, true, kCheckins},
    {"Checkout", " for a user who is in", XC2S_CheckOutReq::kMsgID, true, {}},
    {"QueryBillingInfo",
     " for a user of GET /users",
     XC2S_QueryBillingInfoReq::kMsgID,
     false,
     {kUnknownUser, kNoUserNamed, kStoreFailed}},
    {"QueryBillingInfoEx",
     " for a user of GET /users",
     XC2S_QueryBillingInfoExReq::kMsgID,
     false,
     {kUnknownUser, kNoUserNamed, kStoreFailed}},
    {"UserMoveTo", " for a user who is in", XC2S_UserMoveToReq::kMsgID, true, {}},
    {"UserMoveFrom",
     " on another game server, within 60 seconds of UserMoveTo",
     XC2S_UserMoveFromReq::kMsgID,
     true,
     {}},
    {"Charge", " while a metered user is in", XC2S_ChargeReq::kMsgID, false, {}},
    {"QueryMenuList",
     " for a game that GET /shop shows",
     XC2S_QueryMenuListReq::kMsgID,
     false,
     {kStoreFailed, kUnknownGame}},
    {"QueryProductList",
     " for a branch of the menu",
     XC2S_QueryProductListReq::kMsgID,
     false,
     {kStoreFailed, kUnknownGame, kUnknownBranch, kBadSearch, kBadPage}},
    {"QueryProductDetailInfo",
     " for a product of the list",
     XC2S_QueryProductDetailReq::kMsgID,
     false,
     {kStoreFailed, kUnknownGame, kUnknownProduct}},
    {"QueryDiscountList", " for a user and a product of the list", XC2S_QueryDiscountReq::kMsgID, false,
     kOfProduct},
    {"QueryTagList",
     " for a game that GET /shop shows",
     XC2S_QueryTagReq::kMsgID,
     false,
     {kStoreFailed, kUnknownGame}},
    {"QueryCouponList", " for a user and a product of the list", XC2S_QueryCoupontReq::kMsgID, false,
     kOfProduct},
    {"QuerySpecialProductList",
     " for a game that GET /shop shows",
     XC2S_QuerySpecialProductListReq::kMsgID,
     false,
     {kStoreFailed, kUnknownGame}},
    {"QuerySpecialProductInfo",
     " for a group of QuerySpecialProductList",
     XC2S_QuerySpecialProductReq::kMsgID,
     false,
     {kStoreFailed, kUnknownGame, kUnknownGroup}},
    {"QueryRuvCoinInfo",
     " for a user of GET /users",
     XC2S_QueryRuvcoinReq::kMsgID,
     false,
     {kUnknownUser, kNoUserNamed, kStoreFailed}},
    {"QueryStorageInfo",
     " for a user of GET /users",
     XC2S_SearchStorageReq::kMsgID,
     false,
     {kUnknownUser, kNoUserNamed, kStoreFailed, kUnknownGame, kBadSearch, kTextTooLong}},
    {"ReadStorageInfo",
     " for an entry of the box; POST /storage/entry makes one",
     XC2S_ConfirmReadStorageReq::kMsgID,
     true,
     {kUnknownUser, kNoUserNamed, kStoreFailed, kUnknownGame, kTextTooLong, kUnknownEntry, kEntryReserved}},
    {"StorageToInventory",
     " for an entry that waits; POST /storage/entry makes one",
     XC2S_RequestUseStorageReq::kMsgID,
     true,
     {kUnknownUser, kNoUserNamed, kStoreFailed, kUnknownGame, kTextTooLong, kTooManyRows, kUnknownEntry,
      kWrongItem, kEntryReserved, kEntryUsed, kEntryExpired, kNamedTwice}},
    {"ConfirmStorageToInventory", " within 60 seconds of StorageToInventory",
     XC2S_ConfirmUseStorageReq::kMsgID, true, kMoves},
    {"CancelStorageToInventory", " within 60 seconds of StorageToInventory", XC2S_CancelUseStorageReq::kMsgID,
     true, kMoves},
    {"PurchaseProduct",
     " for a product of the list and a user with enough Ruv coin",
     XC2S_PurchaseProductReq::kMsgID,
     true,
     {kUnknownUser,   kNoUserNamed,   kStoreFailed,     kUnknownGame,   kUnknownProduct, kUnknownReceiver,
      kTextTooLong,   kTooManyRows,   kNotOnSale,       kBadCount,      kLevelTooLow,    kConditionFails,
      kNoGift,        kSoldOnce,      kWrongPassWord,   kUnknownOption, kUnknownCoupon,  kCouponUsed,
      kCouponExpired, kCouponOfOther, kCouponsNotTaken, kNotEnoughCoin, kPriceTooHigh,   kNamedTwice}},
};

// A callback of the game: the message that brings it about, the trigger, and what makes the game refuse.
struct Callback {
    const char* pszName;
    int32 nRequest;
    const char* pszTrigger;
    const char* pszRefusal;
};
constexpr Callback kAllCallbacks[] = {
    {"pfnQueryGameMoney", XS2C_QueryGameMoneyReq::kMsgID, "query-game-money user=USER characterId=CHARACTER",
     "query-game-money user=USER characterId=NOBODY"},
    {"pfnSpendGameMoney", XS2C_SpendGameMoneyReq::kMsgID,
     "spend-game-money user=USER characterId=CHARACTER gameMoney=1",
     "spend-game-money user=USER characterId=CHARACTER gameMoney=2000000000"},
    {"pfnQueryInventory", XS2C_QueryInventoryReq::kMsgID, "query-inventory user=USER characterId=CHARACTER",
     "query-inventory user=USER characterId=NOBODY"},
    {"pfnSaveInventory", XS2C_SaveInventoryReq::kMsgID,
     "save-inventory user=USER characterId=CHARACTER orderSeq=1 inventory='[{\"itemId\": \"ITEM\", "
     "\"count\": 1}]'",
     "save-inventory user=USER characterId=NOBODY orderSeq=2 inventory='[{\"itemId\": \"ITEM\", \"count\": "
     "1}]'"},
    {"pfnQueryCharacter", XS2C_QueryCharacterReq::kMsgID,
     "query-character user=USER searchType=U searchValue=USER",
     "query-character user=USER searchType=X searchValue=USER"},
};

using Items = std::vector<CoverageItem>;

std::string FaultOf(const ClassInfo& info, const std::string& strKind)
{
    return "POST /fault {\"class\": \"" + std::string(info.pszName) + "\", \"kind\": " + strKind + "}";
}

void AddCall(Items& items, const Call& call)
{
    const std::string strName = call.pszName, strLet = "Let the game call " + strName;
    items.push_back({strName, kCalls, strName + " is done", strLet + call.pszWith + ".", Sign::Done,
                     AnswerOf(*Wirova::FindClass(call.nRequest))->nMsgID, 0});
}

void AddRefusals(Items& items, const Call& call)
{
    const std::string strName = call.pszName, strLet = "let the game call " + strName;
    const ClassInfo& answer = *AnswerOf(*Wirova::FindClass(call.nRequest));
    for (const int nResult : call.vecResults) {
        const Known& known = *std::ranges::find(kKnown, nResult, &Known::nResult);
        const std::string strCode = std::to_string(nResult);
        const std::string strFault = FaultOf(answer, "\"refuse\", \"code\": " + strCode);
        items.push_back({strName + "/refused/" + strCode, kRefusals,
                         strName + " is refused with " + strCode + ", " + known.pszWhat,
                         known.pszWhen != nullptr ? "Let the game call " + strName + ' ' + known.pszWhen +
                                                        ", or order " + strFault + '.'
                                                  : "Order " + strFault + " and " + strLet + '.',
                         Sign::Result, answer.nMsgID, nResult});
    }
    if (call.vecResults.empty() && SetRefused(*answer.pfnMake(), 1, "")) {
        items.push_back({strName + "/refused", kRefusals, strName + " is refused",
                         "Order " + FaultOf(answer, "\"refuse\", \"code\": 1") + " and " + strLet + '.',
                         Sign::Refused, answer.nMsgID, 0});
    }
    if (call.nRequest == XC2S_CheckInReq::kMsgID || call.nRequest == XC2S_CheckInExReq::kMsgID) {
        items.push_back({strName + "/extra", kRefusals, strName + " is done with the extra flag",
                         "Let the game call " + strName +
                             " for a user whose result POST or PATCH /users has set to 90006.",
                         Sign::Result, answer.nMsgID, kAcceptedExtra});
    }
}

void AddUnanswered(Items& items, const Call& call)
{
    const std::string strName = call.pszName, strLet = " and let the game call " + strName + '.';
    const ClassInfo& answer = *AnswerOf(*Wirova::FindClass(call.nRequest));
    if (!GetReqID(*answer.pfnMake()))
        return;  // nobody waits
    items.push_back({strName + "/timeout", kUnanswered, strName + " gets no answer",
                     "Order " + FaultOf(answer, "\"drop\"") + strLet, Sign::Dropped, call.nRequest, 0});
    if (!call.bChanges)
        return;
    items.push_back({strName + "/late", kUnanswered, strName + " is answered too late",
                     "Order " + FaultOf(answer, "\"delay\", \"ms\": 6000") + strLet, Sign::Late,
                     call.nRequest, 0});
    items.push_back({strName + "/cut", kUnanswered, strName + " waits when the link is lost",
                     "Order " + FaultOf(answer, "\"cut\", \"bytes\": 0") + strLet, Sign::LinkLost,
                     call.nRequest, 0});
}

void AddCallbacks(Items& items)
{
    constexpr char kEvent[] = "Run velkar-sandbox trigger billing-event user=USER eventCode=";
    const struct {
        int nCode;
        const char *pszWhat, *pszMore;
    } kEvents[] = {{kBillingExpire, "the time is over", ""},
                   {kWarning, "a warning", " param=Soon"},
                   {kForceCheckout, "a checkout by force, of which only the library hears", ""}};
    for (const auto& event : kEvents) {
        const std::string strCode = std::to_string(event.nCode);
        items.push_back({"pfnBillingEvent/" + strCode, kCallbacks,
                         "pfnBillingEvent: event " + strCode + ", " + event.pszWhat,
                         kEvent + strCode + event.pszMore + " for a user who is in.", Sign::Event,
                         XS2C_BillingEventNotice::kMsgID, event.nCode});
    }
    items.push_back({"pfnNotifyStorageInfo", kCallbacks, "pfnNotifyStorageInfo: items have arrived",
                     "Run velkar-sandbox trigger storage-info user=USER itemCnt=1 for a user who is in.",
                     Sign::Passed, XS2C_NotifyStorageInfo::kMsgID, 0});
    for (const Callback& callback : kAllCallbacks) {
        const std::string strName = callback.pszName, strRun = "Run velkar-sandbox trigger ";
        const int32 nAnswer = AnswerOf(*Wirova::FindClass(callback.nRequest))->nMsgID;
        items.push_back({strName, kCallbacks, strName + " is done", strRun + callback.pszTrigger + '.',
                         Sign::Done, nAnswer, 0});
        items.push_back({strName + "/refused", kCallbacks, strName + " is refused by the game",
                         strRun + callback.pszRefusal + ", or whatever else the game refuses.", Sign::Refused,
                         nAnswer, 0});
    }
}

constexpr struct {
    const char *pszID, *pszGroup, *pszWhat, *pszNext;
    int nCase;
} kCases[] = {
    {"save-twice", kCallbacks, "pfnSaveInventory: the same order twice",
     "Run velkar-sandbox trigger save-inventory twice with the same orderSeq: the items may be given once "
     "only.",
     Coverage::kSavedTwice},
    {"checked-in-twice", kSessions, "a user is checked in who is in here already",
     "Let the game call Checkin twice for the same user without a Checkout.", Coverage::kCheckedInTwice},
    {"own-expiry", kSessions, "a term ends, and the library checks the user out",
     "Make a user with POST /users and a termSeconds of 5, check the user in and wait for the next charge "
     "pass.",
     Coverage::kOwnExpiry},
    {"time-over", kSessions, "the service says that the time is over, and the library checks the user out",
     "Call POST /users/stop for a user who is in.", Coverage::kTimeOver},
    {"late-checkin", kSessions, "a checkin that succeeds too late is taken back",
     "Order POST /fault {\"class\": \"XS2C_CheckInAns\", \"kind\": \"delay\", \"ms\": 6000} and check a user "
     "in.",
     Coverage::kLateUndone},
    {"box-after-purchase", kSessions, "after a purchase without an answer, the game looks into the box",
     "Order POST /fault {\"class\": \"XS2C_PurchaseProductAns\", \"kind\": \"drop\"}, buy, and have the game "
     "call "
     "QueryStorageInfo for the order.",
     Coverage::kBoxLookedAt},
    {"reconnected", kLinks, "the link is lost, and the library comes back",
     "Order POST /outage {\"kind\": \"cut\"} and wait for a reconnect cycle.", Coverage::kReconnected},
    {"service-back", kLinks, "the service is down, and the library comes back later",
     "Order POST /outage {\"kind\": \"refuse\", \"seconds\": 10} and then POST /outage {\"kind\": \"cut\"}.",
     Coverage::kServiceBack},
    {"user-list", kLinks, "the library comes back with users who play on",
     "Order POST /outage {\"kind\": \"cut\"} while a user is in.", Coverage::kUserList},
    {"failed-checkouts", kLinks, "a checkout that failed is delivered later",
     "Order POST /outage {\"kind\": \"refuse\", \"seconds\": 10} and {\"kind\": \"cut\"}, and check a user "
     "out meanwhile.",
     Coverage::kFailedCheckOuts},
    {"half-open", kLinks, "the service has lost the link, and the library does not see it",
     "Order POST /outage {\"kind\": \"half-open\", \"seconds\": 10} while a call is made.",
     Coverage::kHalfOpen},
    {"frozen", kLinks, "the link stands still", "Order POST /outage {\"kind\": \"freeze\", \"seconds\": 10}.",
     Coverage::kFrozen},
    {"slow", kLinks, "the link is slow",
     "Order POST /outage {\"kind\": \"slow\", \"bytesPerSecond\": 1000, \"seconds\": 30}.", Coverage::kSlow},
};

Items MakeItems()
{
    Items items;
    for (const Call& call : kAllCalls)
        AddCall(items, call);
    for (const Call& call : kAllCalls)
        AddRefusals(items, call);
    for (const Call& call : kAllCalls)
        AddUnanswered(items, call);
    AddCallbacks(items);
    for (const auto& row : kCases)
        items.push_back({row.pszID, row.pszGroup, row.pszWhat, row.pszNext, Sign::Told, 0, row.nCase});
    const int32 nConnect = XS2C_VelkarConnectAns::kMsgID;
    items.push_back(
        {"registered", kLinks, "InitModule registers", "Start the game server.", Sign::Done, nConnect, 0});
    items.push_back({"registration-refused", kLinks, "the registration is refused",
                     "Order " + FaultOf(*Wirova::FindClass(nConnect), "\"refuse\", \"code\": 4") +
                         " and start the game server.",
                     Sign::Refused, nConnect, 0});
    return items;
}

}  // namespace

const std::vector<std::string>& CoverageGroups()
{
    static const std::vector<std::string> kGroups = {kCalls,     kRefusals, kUnanswered,
                                                     kCallbacks, kSessions, kLinks};
    return kGroups;
}

const std::vector<CoverageItem>& CoverageItems()
{
    static const Items kItems = MakeItems();
    return kItems;
}

}  // namespace Sandbox

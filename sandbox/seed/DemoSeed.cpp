// The seed "demo", which is taken if the command line names none: users for every billing case, and a small
// shop that shows every key of a seed file.
#include "sandbox/seed/Seed.h"

namespace Sandbox {

// 30 days are 2592000 seconds.
const char* const kDemoSeed = R"json({
"users": [
  {"userId": "alice", "userNo": "10001", "billType": 1, "crmCode": "CRM-1", "termSeconds": 2592000,
   "ruvCoin": 5000, "coupons": [
     {"couponUseId": "ALICE-10", "couponCode": "SPRING10", "couponName": "Spring, 10 percent", "discountRate": 10},
     {"couponUseId": "ALICE-SWORD", "couponCode": "SWORD200", "couponName": "200 off a sword",
      "discountAmt": 200, "productId": "SWORD"},
     {"couponUseId": "ALICE-OLD", "couponCode": "XMAS50", "couponName": "Christmas, long ago",
      "discountRate": 50, "useEndDate": "20201231235959"}]},
  {"userId": "bob", "userNo": "10002", "billType": 2, "remainMinutes": 600, "crmCode": "CRM-2",
   "ruvCoin": 1000, "passWord": "bobs-secret"},
  {"userId": "carol", "userNo": "10003", "billType": 3, "remainMinutes": 300, "crmCode": "CRM-3",
   "termSeconds": 2592000, "ruvCoin": 300, "otherBillings": [
     {"billType": 1, "productId": 1001, "crmCode": "CRM-1"},
     {"billType": 2, "productId": 1002, "remainMinutes": 45, "crmCode": "CRM-2"}]},
  {"userId": "dave", "userNo": "10004", "billType": 1, "crmCode": "CRM-1", "termSeconds": 2592000,
   "ruvCoin": 100000, "fillStorage": 25},
  {"userId": "erin", "userNo": "10005", "billType": 2, "remainMinutes": 600, "crmCode": "CRM-2"},
  {"userId": "expires-in-20s", "userNo": "10010", "billType": 1, "crmCode": "CRM-1", "termSeconds": 20},
  {"userId": "term-is-over", "userNo": "10011", "billType": 1, "crmCode": "CRM-1", "endDate": "20200101000000"},
  {"userId": "two-minutes-left", "userNo": "10012", "billType": 2, "remainMinutes": 2, "crmCode": "CRM-2"},
  {"userId": "no-minutes-left", "userNo": "10013", "billType": 2, "crmCode": "CRM-2"},
  {"userId": "pc-cafe", "userNo": "10014", "billType": 1, "crmCode": "CRM-1", "termSeconds": 2592000,
   "free": true, "pcCafe": true},
  {"userId": "warned-90006", "userNo": "10021", "billType": 1, "crmCode": "CRM-1", "termSeconds": 2592000,
   "result": 90006, "resultText": "Checked in, with a warning."},
  {"userId": "refused-30006", "userNo": "10022", "billType": 1, "crmCode": "CRM-1", "termSeconds": 2592000,
   "result": 30006, "resultText": "Refused with the special code."},
  {"userId": "refused-5", "userNo": "10023", "billType": 1, "crmCode": "CRM-1", "termSeconds": 2592000,
   "result": 5, "resultText": "This user is refused with code 5."},
  {"userId": "refused-1", "userNo": "10024", "billType": 1, "crmCode": "CRM-1", "termSeconds": 2592000,
   "result": 1, "resultText": "This user is refused with code 1."},
  {"userId": "refused-40000", "userNo": "10025", "billType": 1, "crmCode": "CRM-1", "termSeconds": 2592000,
   "result": 40000, "resultText": "This user is refused with code 40000."}
],
"shops": [{
  "gameId": "DEMOGAME",
  "menu": [
    {"branchId": "GEAR", "branchName": "Gear", "sortOrder": 1},
    {"branchId": "SUPPLIES", "branchName": "Supplies", "sortOrder": 2},
    {"branchId": "WEAPONS", "branchName": "Weapons", "superBranchId": "GEAR", "sortOrder": 1},
    {"branchId": "ARMOUR", "branchName": "Armour", "superBranchId": "GEAR", "sortOrder": 2}],
  "products": [
    {"productId": "SWORD", "branchId": "WEAPONS", "productName": "Sword of the North", "price": 1200,
     "productDesc": "Cold, sharp and well balanced.", "detailDesc": "Forged beyond the ice. +12 to attack.",
     "imageUrl": "http://shop.invalid/sword.png", "iconImageUrl": "http://shop.invalid/sword-icon.png",
     "movieUrl": "http://shop.invalid/sword.mp4", "direction": "Take it out of the box with both hands.",
     "level": 10, "unitName": "1 piece", "displayOrder": 1, "discountInfo": "from level 50", "className": "weapon",
     "tags": ["new", "steel"],
     "children": [
       {"childProductId": "ITEM-SWORD", "price": 1200, "unitName": "1 piece", "possibleLevel": 10,
        "ruvCoinPrice": 1200, "className": "weapon"},
       {"childProductId": "ITEM-WHETSTONE", "itemName": "Whetstone", "unitName": "3 pieces", "count": 3,
        "useCount": 5, "validTerm": 30, "bonus": true, "listImageUrl": "http://shop.invalid/whetstone.png"}],
     "options": [
       {"optionCode": "COLOUR", "optionValue": "BLUE", "optionName": "Blue hilt"},
       {"optionCode": "COLOUR", "optionValue": "RED", "optionName": "Red hilt"},
       {"optionCode": "RUNE", "optionValue": "FROST", "optionName": "Rune of frost"}],
     "discounts": [
       {"condition": "Level 50 and above", "discountRate": 20, "minLevel": 50},
       {"condition": "Level 20 to 49", "discountAmt": 100, "minLevel": 20, "maxLevel": 49}]},
    {"productId": "SHIELD", "branchId": "ARMOUR", "productName": "Round shield", "price": 800, "discountRate": 25,
     "displayOrder": 2, "className": "armour", "tags": ["sale"], "couponUseType": "O",
     "children": [{"childProductId": "ITEM-SHIELD", "price": 800, "ruvCoinPrice": 600}],
     "conditions": [{"conditionType": "H", "conditionValue": "60"},
                    {"conditionType": "T", "conditionValue": "Only as long as stocks last"}]},
    {"productId": "CROWN", "branchId": "ARMOUR", "productName": "Crown of the first day", "price": 100,
     "displayOrder": 3, "className": "armour", "duplicateSell": false, "gift": false, "couponUseType": "N",
     "discountType": "N", "tags": ["new"],
     "children": [{"childProductId": "ITEM-CROWN", "price": 100, "ruvCoinPrice": 100, "period": 7}]},
    {"productId": "POTION", "branchId": "SUPPLIES", "productName": "Healing potions", "price": 10,
     "displayOrder": 4, "unitName": "5 bottles", "className": "supplies", "tags": ["sale"],
     "children": [{"childProductId": "ITEM-POTION", "price": 10, "unitName": "5 bottles", "count": 5,
                   "useCount": 1, "ruvCoinPrice": 10}]},
    {"productId": "TICKET", "branchId": "SUPPLIES", "productName": "Arena ticket", "price": 50, "displayOrder": 5,
     "className": "supplies", "saveOnPurchase": true,
     "children": [{"childProductId": "ITEM-TICKET", "price": 50, "ruvCoinPrice": 50, "period": 1}],
     "conditions": [{"conditionType": "L", "conditionValue": "5"}]},
    {"productId": "LANTERN", "branchId": "SUPPLIES", "productName": "Lantern of last year", "price": 30,
     "displayOrder": 6, "regDate": "20190601000000", "startDate": "20191201000000", "endDate": "20200106235959",
     "totalSellingCount": 731, "moneyCode": "RUV",
     "children": [{"childProductId": "ITEM-LANTERN", "price": 30, "gameMoneyPrice": 3000}]}],
  "tags": ["new", "sale", "steel"],
  "specialGroups": [
    {"exposeCode": "HOT", "exposeName": "Hot this week", "iconUrl": "http://shop.invalid/hot.png",
     "bannerUrl": "http://shop.invalid/hot-banner.png", "products": [
       {"productId": "SWORD", "imageUrl": "http://shop.invalid/hot-sword.png", "sortOrder": 1},
       {"productId": "POTION", "sortOrder": 2}]},
    {"exposeCode": "FIRST", "exposeName": "For your first day", "products": [{"productId": "CROWN"}]}]
}]})json";

}  // namespace Sandbox

#include "sandbox/seed/SeedArguments.h"

#include <climits>

#include "sandbox/base/DateText.h"
#include "sandbox/seed/SeedRecords.h"
#include "sandbox/store/Store.h"

namespace Sandbox {

const Names kMenuWorkedOut = {"branchDepth", "productCount"};
const Names kDiscountWorkedOut = {"use"};
const Names kGroupProductWorkedOut = {"exposeCode"};
const Names kEntryWorkedOut = {"storageSeq", "orderSeq", "userId", "userNo", "remainCount", "new"};

namespace {

constexpr char kMoneyCode[] = "RUV";  // Ruv coin, which is all that the shops take
constexpr int kMaxTag = 100;          // bytes
constexpr int kMaxFill = 100'000;     // entries

std::string InQuotes(const char* pszText) { return '"' + std::string(pszText) + '"'; }

Argument Tags()
{
    Argument tags{.strName = "tags", .type = Argument::Type::Texts, .nMin = 1, .nMax = kMaxTag};
    return std::move(tags).Default("[]");
}

Arguments BillingArguments()
{
    return {Argument::Number("billType", kFixedTerm, kBoth, "1 fixed term, 2 metered, 3 both").Default("1"),
            Argument::Number("productId", 1, INT_MAX, "1000 and the bill type, unless given"),
            Argument::Number("remainMinutes", 0, INT64_MAX, "minutes of bill types 2 and 3").Default("0"),
            Argument::Text("crmCode", 15, "").Default(InQuotes("")),
            Argument::Date("endDate", "end of the term of bill types 1 and 3").Default(InQuotes(kNoEnd))};
}

Arguments MakeProduct()
{
    XProductListContents row;
    row.strMoneyCode = kMoneyCode;
    row.strRegDate = row.strStartDate = "20260101000000";
    row.strEndDate = kNoEnd;
    row.bGift = row.bDuplicateSell = true;
    Arguments product = DescribeRecord(row, {"productId", "productName", "branchId", "price"});
    for (Argument& argument : product) {
        if (argument.strName == "moneyCode")
            argument.vecChoices = {kMoneyCode};
    }
    XChildProduct child;
    XProductCondition condition;
    XProductOption option;
    XDiscountInfo discount;
    const Arguments children = DescribeRecord(child, {"childProductId"}) +
                               Arguments{Argument::Text("itemName", 40, "the product's name, unless given"),
                                         Argument::Text("listImageUrl", 100, "").Default(InQuotes("")),
                                         Argument::Number("count", 1, INT_MAX, "pieces").Default("1"),
                                         Argument::Flag("bonus", "a present on top")};
    const Arguments discounts =
        DescribeRecord(discount, {}, kDiscountWorkedOut) +
        Arguments{Argument::Number("minLevel", INT_MIN, INT_MAX, "").Default("0"),
                  Argument::Number("maxLevel", INT_MIN, INT_MAX, "").Default(std::to_string(INT_MAX)),
                  Argument::Text("serverId", 20, "empty: on all servers").Default(InQuotes(""))};
    return product +
           Arguments{
               Argument::Text("detailDesc", 2000, "").Default(InQuotes("")),
               Argument::Text("movieUrl", 200, "").Default(InQuotes("")),
               Argument::Text("direction", 200, "").Default(InQuotes("")),
               Argument::Text("couponUseType", 1, "coupons in one purchase: Y any number, O one, N none")
                   .OneOf({"Y", "O", "N"})
                   .Default(InQuotes("Y")),
               Argument::Text("discountType", 1, "N: neither rate nor discounts count")
                   .OneOf({"Y", "N"})
                   .Default(InQuotes("Y")),
               Argument::Flag("saveOnPurchase", "the game is asked to save the items"),
               Argument::Objects("children", children, "what is in it, one at least"),
               Argument::Objects("conditions", DescribeRecord(condition, {"conditionType", "conditionValue"}),
                                 ""),
               Argument::Objects("options", DescribeRecord(option, {"optionCode", "optionValue"}), ""),
               Argument::Objects("discounts", discounts, ""),
               Tags()};
}

Arguments MakeBranch()
{
    XMenuContents menu;
    return DescribeRecord(menu, {"branchId"}, kMenuWorkedOut);
}

Arguments MakeShop()
{
    XSpecialProductListContent group;
    XSpecialProduct grouped;
    return {Argument::Text("gameId", kMaxGameID, "").Required(),
            Argument::Objects("menu", BranchArguments(), ""),
            Argument::Objects("products", ProductArguments(), ""), Tags(),
            Argument::Objects(
                "specialGroups",
                DescribeRecord(group, {"exposeCode"}) +
                    Arguments{Argument::Objects(
                        "products", DescribeRecord(grouped, {"productId"}, kGroupProductWorkedOut), "")},
                "")};
}

Arguments MakeUser()
{
    return Arguments{Argument::Text("userId", kMaxKey, "unique").Required(),
                     Argument::Text("userNo", kMaxKey, "unique").Required()} +
           BillingArguments() +
           Arguments{
               Argument::Number("termSeconds", 0, INT_MAX,
                                "above 0: the term begins at each checkin, and endDate does not count")
                   .Default("0"),
               Argument::Flag("free", "plays free of charge"),
               Argument::Flag("pcCafe", ""),
               Argument::Number("result", INT_MIN, INT_MAX, "of all checkins, if it is not 0").Default("0"),
               Argument::Text("resultText", 1024, "").Default(InQuotes("")),
               Argument::Objects("otherBillings", BillingArguments(), "further billings"),
               Argument::Number("ruvCoin", 0, INT_MAX, "the balance").Default("0"),
               Argument::Text("passWord", 20, "of purchases; empty: none is asked for").Default(InQuotes("")),
               Argument::Number("fillStorage", 0, kMaxFill, "made-up entries of the box").Default("0"),
               Argument::Objects("coupons", CouponArguments(), "")};
}

}  // namespace

const Arguments& CouponArguments()
{
    static const Arguments kArguments = [] {
        XCouponInfo row;
        row.strUseEndDate = kNoEnd;
        return DescribeRecord(row, {"couponUseId", "couponCode"}) +
               Arguments{Argument::Text("productId", 20, "empty: for any product").Default(InQuotes(""))};
    }();
    return kArguments;
}

const Arguments& EntryArguments()
{
    static const Arguments kArguments = [] {
        XStorageInfo row;
        row.nCount = 1;
        row.strValidTerm = "0";
        row.strValidDate = row.strBuyDate = row.strUseStartDate = kNoEnd;
        return ForChange(DescribeRecord(row, {}, kEntryWorkedOut));
    }();
    return kArguments;
}

const Arguments& BranchArguments()
{
    static const Arguments kArguments = MakeBranch();
    return kArguments;
}

const Arguments& ShopArguments()
{
    static const Arguments kArguments = MakeShop();
    return kArguments;
}

const Arguments& ProductArguments()
{
    static const Arguments kArguments = MakeProduct();
    return kArguments;
}

const Arguments& UserArguments()
{
    static const Arguments kArguments = MakeUser();
    return kArguments;
}

const Arguments& SeedArguments()
{
    static const Arguments kArguments = {
        Argument::Objects("users", UserArguments(), ""),
        ForChange({Argument::Objects("shops", ShopArguments(), "")}).front()};
    return kArguments;
}

}  // namespace Sandbox

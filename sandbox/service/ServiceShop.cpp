// The lists of the shop: menu, products, discounts, coupons, tags, special groups, and the balance.
// docs/sandbox-shop.md tells the same rules in prose.
#include "sandbox/base/DateText.h"
#include "sandbox/service/Cashier.h"
#include "sandbox/service/Service.h"

namespace Sandbox {
namespace {

constexpr int kMaxPageRows = 1000;

}  // namespace

void Service::RequireGame(const std::string& strGameID)
{
    if (!m_catalogue.HasGame(strGameID))
        throw Refusal(kUnknownGame, "There is no shop of the game " + Quoted(strGameID) + ".");
}

void Service::RequireProduct(const std::string& strGameID, const std::string& strProductID, Product& product)
{
    RequireGame(strGameID);
    if (!m_catalogue.FindProduct({strGameID, strProductID}, product))
        throw Refusal(kUnknownProduct, "There is no product " + Quoted(strProductID) + ".");
}

void Service::QueryMenuList(Call&, const XC2S_QueryMenuListReq& req, XS2C_QueryMenuListAns& ans)
{
    RequireGame(req.strGameID);
    m_catalogue.GetMenu(req.strGameID, FormatDate(m_clock.Now()), ans.vecMenu);
}

// A page behind the last one is answered as an empty list.
void Service::QueryProductList(Call&, const XC2S_QueryProductListReq& req, XS2C_QueryProductListAns& ans)
{
    RequireGame(req.strGameID);
    if (!req.strBranchID.empty() && m_catalogue.DepthOf(req.strGameID, req.strBranchID) == 0)
        throw Refusal(kUnknownBranch, "There is no branch " + Quoted(req.strBranchID) + ".");
    if (req.nRow < 1 || req.nRow > kMaxPageRows || req.nPage < 1)
        throw Refusal(kBadPage,
                      "A page has 1 to " + std::to_string(kMaxPageRows) + " rows, the first is page 1.");
    const ProductSearch search{req.strGameID, req.strBranchID, SearchType(req.cSearchType, "ANIT"),
                               req.strSearchValue, FormatDate(m_clock.Now())};
    ans.nListValue1 = m_catalogue.CountProducts(search);
    ans.nListValue2 = (ans.nListValue1 + req.nRow - 1) / req.nRow;
    ans.nListValue3 = req.nPage;
    m_catalogue.GetProducts(search, req.nRow, (std::int64_t{req.nPage} - 1) * req.nRow, ans.vecProduct);
}

void Service::QueryProductDetail(Call&, const XC2S_QueryProductDetailReq& req,
                                 XS2C_QueryProductDetailAns& ans)
{
    Product product;
    RequireProduct(req.strGameID, req.strProductID, product);
    ans.strBranchID = product.row.strBranchID;
    ans.strProductID = product.row.strProductID;
    ans.strProductName = product.row.strProductName;
    ans.strProductDetailDesc = product.strDetailDesc;
    ans.strImageURL = product.row.strImageURL;
    ans.strMovieURL = product.strMovieURL;
    ans.strDirection = product.strDirection;
    ans.cCouponUseType = product.cCouponUse;
    ans.cDiscountType = product.cDiscount;
    const ProductKey key{req.strGameID, req.strProductID};
    for (const Child& child : m_catalogue.GetChildren(key))
        CopyFields(child.row, ans.vecChildProduct.Add());
    m_catalogue.GetConditions(key, ans.vecCondition);
    m_catalogue.GetOptions(key, ans.vecOption);
}

void Service::QueryDiscount(Call&, const XC2S_QueryDiscountReq& req, XS2C_QueryDiscountAns& ans)
{
    Product product;
    RequireProduct(req.strGameID, req.strProductID, product);
    RequireUser(KeyOf(req));
    auto listDiscounts = m_catalogue.GetDiscounts({req.strGameID, req.strProductID});
    ans.nPrice = PieceAfterDiscount(product, listDiscounts, req.nLevel, req.strServerID);
    for (const Discount& discount : listDiscounts)
        CopyFields(discount.row, ans.vecDiscount.Add());
}

// The coupons that a purchase of the product would take.
void Service::QueryCoupont(Call&, const XC2S_QueryCoupontReq& req, XS2C_QueryCoupontAns& ans)
{
    Product product;
    RequireProduct(req.strGameID, req.strProductID, product);
    const std::string strNow = FormatDate(m_clock.Now());
    for (const Coupon& coupon : m_ledger.GetCoupons(RequireUser(KeyOf(req)).nID)) {
        if (product.cCouponUse != 'N' && coupon.nOrderSeq == 0 && coupon.row.strUseEndDate >= strNow &&
            (coupon.strProductID.empty() || coupon.strProductID == req.strProductID))
            CopyFields(coupon.row, ans.vecCoupon.Add());
    }
}

void Service::QueryTag(Call&, const XC2S_QueryTagReq& req, XS2C_QueryTagAns& ans)
{
    RequireGame(req.strGameID);
    ans.vecTag = m_catalogue.GetTags(req.strGameID);
}

void Service::QuerySpecialProductList(Call&, const XC2S_QuerySpecialProductListReq& req,
                                      XS2C_QuerySpecialProductListAns& ans)
{
    RequireGame(req.strGameID);
    m_catalogue.GetGroups(req.strGameID, ans.vecSpecialProductList);
}

void Service::QuerySpecialProduct(Call&, const XC2S_QuerySpecialProductReq& req,
                                  XS2C_QuerySpecialProductAns& ans)
{
    RequireGame(req.strGameID);
    if (!m_catalogue.HasGroup(req.strGameID, req.strExposeCode))
        throw Refusal(kUnknownGroup, "There is no group " + Quoted(req.strExposeCode) + ".");
    m_catalogue.GetGroupProducts(req.strGameID, req.strExposeCode, ans.vecSpecialProduct);
}

void Service::QueryRuvcoin(Call&, const XC2S_QueryRuvcoinReq& req, XS2C_QueryRuvcoinAns& ans)
{
    ans.nRuvCoin = m_ledger.GetWallet(RequireUser(KeyOf(req)).nID).nRuvCoin;
}

}  // namespace Sandbox

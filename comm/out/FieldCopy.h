// Copies fields between the public records and the wire classes, in both directions. Both sides name their
// fields alike: szItemID of a record is strItemID of a message, nPrice is nPrice on both sides. So a field is
// copied because its name stands in one of the two lists below and both types have it. A new field whose name
// is missing in the lists stays zero. Exceptions, such as the user's key, are filled in by the callers.
#pragma once

#include <string>

#include "base/TextField.h"
#include "wirova/WirovaBase.h"

// clang-format off
// The names of text fields without their prefix sz or str, and the names of all other fields.
#define VELKAR_SAME_TEXTS(X)                                                                                  \
    X(BranchID) X(BranchName) X(BuyDate) X(CharacterID) X(ChildProductID) X(ClassName) X(Condition)            \
    X(ConditionValue) X(CouponCode) X(CouponName) X(CouponUseID) X(CRMCode) X(Direction) X(DiscountInfo)       \
    X(EndDate) X(ExposeCode) X(ExposeName) X(GameID) X(GiftMessage) X(IconImageURL) X(IconImageUrl) X(IconUrl) \
    X(BannerUrl) X(ImageURL) X(ImageUrl) X(ItemID) X(ItemName) X(ListImageUrl) X(MoneyCode) X(MovieURL)        \
    X(OptionCode) X(OptionName) X(OptionValue) X(PassWD) X(ProductDesc) X(ProductDetailDesc) X(ProductID)      \
    X(ProductName) X(RecvCharacterID) X(RecvServerID) X(RegDate) X(SearchValue) X(ServerID) X(SetName)         \
    X(StartDate) X(SuperBranchID) X(UnitName) X(UseEndDate) X(UserIP) X(UseStartDate) X(ValidDate) X(ValidTerm)
#define VELKAR_SAME_VALUES(X)                                                                                 \
    X(nBranchDepth) X(nBuyPrice) X(nCharacterValue) X(nCount) X(nDiscountAmt) X(nDiscountRate)                 \
    X(nDisplayOrder) X(nGameMoney) X(nGameMoneyPrice) X(nLevel) X(nListValue1) X(nListValue2) X(nListValue3)   \
    X(nOrderSeq) X(nPage) X(nPeriod) X(nPossibleLevel) X(nPrice) X(nProductCount) X(nProductID)                \
    X(nRemainCount) X(nRemainMinutes) X(nRow) X(nRuvCoin) X(nRuvCoinPrice) X(nSortOrder) X(nStorageSeq)        \
    X(nTotalSellingCount) X(nUseCount) X(nValidTerm) X(cConditionType) X(cCouponUseType) X(cDiscountType)      \
    X(cSearchType) X(cUseStatus) X(bBonus) X(bDelete) X(bDuplicateSell) X(bGift) X(bNew) X(bRead) X(bUse)
// clang-format on

// The text of a field that the game has filled, at most N - 1 bytes: where the NUL is missing, the last byte
// is taken for it.
template <std::size_t N>
std::string_view CutText(const char (&szField)[N])
{
    return FieldText(szField).substr(0, N - 1);
}

// Copies one value between the type of a record and the type of the wire. A flag keeps its byte, so that a 2
// is still a 2 on the other side.
inline void CopyValue(unsigned char& to, const Wirova::boolean& from) { to = from.nByte; }
inline void CopyValue(Wirova::boolean& to, unsigned char from) { to = Wirova::boolean::FromByte(from); }
template <class T>
void CopyValue(T& to, const T& from)
{
    to = from;
}
inline void CopyValue(long long& to, const Wirova::int64& from) { to = static_cast<long long>(from); }

// Copies every field of the two lists that both types have, and leaves all others of `to` as they are. Texts
// are cut to the record's width less one. The tests for the fields are made by the compiler.
template <class To, class From>
void CopySameNames(To& to, const From& from)
{
#define VELKAR_COPY(name)                                                   \
    if constexpr (requires { to.str##name.clear(), from.sz##name[0]; })     \
        to.str##name = CutText(from.sz##name);                              \
    else if constexpr (requires { to.sz##name[0], from.str##name.size(); }) \
        CopyText(to.sz##name, from.str##name);
    VELKAR_SAME_TEXTS(VELKAR_COPY)
#undef VELKAR_COPY
#define VELKAR_COPY(name)                           \
    if constexpr (requires { to.name, from.name; }) \
        CopyValue(to.name, from.name);
    VELKAR_SAME_VALUES(VELKAR_COPY)
#undef VELKAR_COPY
}

// Puts a NUL into the last byte of every text field, so that the record of a game that has filled a field to
// its end can be logged with "%s".
template <class Record>
void EndTexts(Record& record)
{
#define VELKAR_END(name)                            \
    if constexpr (requires { record.sz##name[0]; }) \
        record.sz##name[sizeof(record.sz##name) - 1] = '\0';
    VELKAR_SAME_TEXTS(VELKAR_END)
    VELKAR_END(UserID) VELKAR_END(RecvUserID)
#undef VELKAR_END
}

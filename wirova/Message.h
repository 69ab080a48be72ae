// What makes a wire class of a list of fields. A new message is one such list in wirova/messages/; size,
// save, load, clear and the walk over its fields follow from the list:
//
//     struct XC2S_CheckInReq final : Wirova::IMessage {
//         WIROVA_MESSAGE(XC2S_CheckInReq, 4143642,
//             (int32,  nReqID)               // the answer echoes it
//             (string, strUserID))           // [22] empty when USE_USER_NUMBER is on
//     };
//
// This declares the fields in wire order, the eight operations of IMessage, the constant
// kMsgID, the walk ForEachField and kFields, the names and forms of the fields as data. The fields are public
// and used directly. A number in brackets in a field's comment is the most bytes that this system keeps of a
// text, or puts into it; the wire itself has no limit.
#pragma once

#include "wirova/Codec.h"

namespace Wirova {

// What kFields says of a field. The last element of kFields has no name.
struct FieldInfo {
    const char* pszName = nullptr;
    FieldType type = FieldType::Byte;
};

// Bytes that SaveTo would write now: the id, unless the message is nested, and the fields. A sum that does
// not fit is given as the largest int32; writing such a message fails.
template <class M>
int32 SizeOf(const M& msg)
{
    int64 nLength = msg.bNested ? 0 : 4;
    M::ForEachField(msg, [&](const char*, const auto& f) {
        nLength += CodecOf<decltype(f)>::Size(f);
        return true;
    });
    return static_cast<int32>(std::min<int64>(nLength, std::numeric_limits<int32>::max()));
}

// Writes the id and the fields in wire order, up to the first that fails.
template <class M>
bool SaveTo(Stream* s, const M& msg)
{
    return (msg.bNested || Codec<int32>::Save(s, msg.nMsgID)) &&
           M::ForEachField(msg, [&](const char*, const auto& f) { return CodecOf<decltype(f)>::Save(s, f); });
}

// Reads the id and the fields in wire order, up to the first that fails. The id is stored unchecked: the
// dispatch has chosen the class by it.
template <class M>
bool LoadFrom(Stream* s, M& msg)
{
    return (msg.bNested || Codec<int32>::Load(s, msg.nMsgID)) &&
           M::ForEachField(msg, [&](const char*, auto& f) { return CodecOf<decltype(f)>::Load(s, f); });
}

// Makes every field zero or empty.
template <class M>
void ClearAll(M& msg)
{
    M::ForEachField(msg, [](const char*, auto& f) {
        CodecOf<decltype(f)>::Clear(f);
        return true;
    });
}

}  // namespace Wirova

// clang-format off: the macros below read as tables.
// These macros walk a list (type, name)(type, name)... of any length. Each element is expanded by A or B, and
// the result ends in the name of the other one, which takes the next element; a macro cannot expand itself.
// At the end of the list that name gets _END pasted to it and vanishes. FIELD declares the fields, VISIT
// calls a function for each of them, LEAST sums their smallest sizes, INFO lists their names and forms.
#define WIROVA_CAT_(a, b) a##b
#define WIROVA_CAT(a, b) WIROVA_CAT_(a, b)
#define WIROVA_END_(...) __VA_ARGS__##_END
#define WIROVA_END(...) WIROVA_END_(__VA_ARGS__)
#define WIROVA_FIELD_A(type, name) \
    type name{};                   \
    WIROVA_FIELD_B
#define WIROVA_FIELD_B(type, name) \
    type name{};                   \
    WIROVA_FIELD_A
#define WIROVA_FIELD_A_END
#define WIROVA_FIELD_B_END
#define WIROVA_VISIT_A(type, name) &&visit(#name, self.name) WIROVA_VISIT_B
#define WIROVA_VISIT_B(type, name) &&visit(#name, self.name) WIROVA_VISIT_A
#define WIROVA_VISIT_A_END
#define WIROVA_VISIT_B_END
#define WIROVA_LEAST_A(type, name) +Wirova::Codec<type>::kMinSize WIROVA_LEAST_B
#define WIROVA_LEAST_B(type, name) +Wirova::Codec<type>::kMinSize WIROVA_LEAST_A
#define WIROVA_LEAST_A_END
#define WIROVA_LEAST_B_END
#define WIROVA_INFO_A(type, name) {#name, Wirova::Codec<type>::kType}, WIROVA_INFO_B
#define WIROVA_INFO_B(type, name) {#name, Wirova::Codec<type>::kType}, WIROVA_INFO_A
#define WIROVA_INFO_A_END
#define WIROVA_INFO_B_END

// The declaration of a wire class: its name, its id, its fields in wire order. The assertion on the id finds
// slips of the pen: all ids of the protocol are positive, below 2 to the power 28, and end in the hexadecimal
// digit A. The operations that walk the fields are compiled once, by WIROVA_MESSAGE_OPERATIONS in
// messages/Operations.cpp, and not by every source that uses the class.
#define WIROVA_MESSAGE(cls, id, fields)                                                                   \
    static constexpr Wirova::int32 kMsgID = id;                                                           \
    static_assert(kMsgID > 0 && kMsgID < (1 << 28) && (kMsgID & 0xF) == 0xA, "mistyped id");              \
    bool bNested = false;                                                                                 \
    Wirova::int32 nMsgID = kMsgID;                                                                        \
    WIROVA_CAT(WIROVA_FIELD_A fields, _END)                                                               \
    [[maybe_unused]] static constexpr Wirova::int32 kMinSize = 0 WIROVA_CAT(WIROVA_LEAST_A fields, _END); \
    static constexpr Wirova::FieldInfo kFields[] = {WIROVA_END(WIROVA_INFO_A fields){}};                  \
    cls();                                                                                                \
    ~cls() override;                                                                                      \
    void Clear() override;                                                                                \
    Wirova::int32 GetMsgID() const override;                                                              \
    const char* GetMsgName() const override;                                                              \
    Wirova::int32 GetSize() const override;                                                               \
    bool Save(Wirova::Stream* s) const override;                                                          \
    bool Load(Wirova::Stream* s) override;                                                                \
    void SetNested(bool b) override;                                                                      \
    bool IsNested() const override;                                                                       \
    template <class Self, class Visit>                                                                    \
    static bool ForEachField([[maybe_unused]] Self& self, [[maybe_unused]] Visit visit)                   \
    {                                                                                                     \
        return true WIROVA_CAT(WIROVA_VISIT_A fields, _END);                                              \
    }

// The operations of a class, once for each class in the whole program.
#define WIROVA_MESSAGE_OPERATIONS(cls)                                           \
    cls::cls() = default;                                                        \
    cls::~cls() = default;                                                       \
    void cls::Clear() { Wirova::ClearAll(*this); }                               \
    Wirova::int32 cls::GetMsgID() const { return kMsgID; }                       \
    const char* cls::GetMsgName() const { return #cls; }                         \
    Wirova::int32 cls::GetSize() const { return Wirova::SizeOf(*this); }         \
    bool cls::Save(Wirova::Stream* s) const { return Wirova::SaveTo(s, *this); } \
    bool cls::Load(Wirova::Stream* s) { return Wirova::LoadFrom(s, *this); }     \
    void cls::SetNested(bool b) { bNested = b; }                                 \
    bool cls::IsNested() const { return bNested; }
// clang-format on

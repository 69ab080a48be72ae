#include "comm/in/RowPlan.h"

#include <algorithm>

namespace {

// An integer of the wire into a field of the same width.
template <class T>
bool ReadInteger(Wirova::StreamWindow& in, const PlannedField& field, Packed::RecordWriter& out)
{
    struct {
        T n;
        unsigned char padding[Packed::RecordWriter::kPadding];
    } value{};
    if (!in.TakeInteger(value.n))
        return false;
    if (field.nWidth != 0 && value.n != 0)
        out.Put(field.nPlace, &value, sizeof(T));
    return true;
}

bool ReadByte(Wirova::StreamWindow& in, const PlannedField& field, Packed::RecordWriter& out)
{
    const unsigned char* const p = in.Take(1);
    if (p != nullptr && field.nWidth != 0 && *p != 0)
        out.Put(field.nPlace, p, 1);
    return p != nullptr;
}

bool ReadText(Wirova::StreamWindow& in, const PlannedField& field, Packed::RecordWriter& out)
{
    Wirova::int32 nClaimed = 0;
    if (!in.TakeInteger(nClaimed))
        return false;
    if (nClaimed < 1)
        return true;  // an empty text, as a negative length is, too
    const auto nSize = static_cast<std::size_t>(nClaimed);
    const std::size_t nKept = field.nWidth == 0 ? 0 : std::min<std::size_t>(nSize, field.nWidth - 1u);
    const unsigned char* const p = in.Take(nKept);
    if (p == nullptr)
        return false;
    out.Put(field.nPlace, p, nKept);
    return nKept == nSize || in.Skip(nSize - nKept);
}

}  // namespace

static_assert(Wirova::StreamWindow::kPadding >= Packed::RecordWriter::kPadding);

// A loop of its own, in which each of the functions is called once and so becomes a part of it.
bool ReadRow(Wirova::StreamWindow& in, RowPlan plan, Packed::RecordWriter& out)
{
    using Wirova::FieldType;
    for (const PlannedField& field : plan) {
        bool bRead = false;
        if (field.type == FieldType::Text)
            bRead = ReadText(in, field, out);
        else if (field.type == FieldType::Int32)
            bRead = ReadInteger<Wirova::int32>(in, field, out);
        else if (field.type == FieldType::Int64)
            bRead = ReadInteger<Wirova::int64>(in, field, out);
        else
            bRead = ReadByte(in, field, out);
        if (!bRead)
            return false;
    }
    return true;
}

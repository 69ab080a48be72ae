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

bool ReadRow(Wirova::StreamWindow& in, RowPlan plan, Packed::RecordWriter& out)
{
    using Wirova::FieldType;
    return std::all_of(plan.begin(), plan.end(), [&](const PlannedField& field) {
        switch (field.type) {
            case FieldType::Int32:
                return ReadInteger<Wirova::int32>(in, field, out);
            case FieldType::Int64:
                return ReadInteger<Wirova::int64>(in, field, out);
            case FieldType::Byte:
                return ReadByte(in, field, out);
            default:
                return ReadText(in, field, out);
        }
    });
}

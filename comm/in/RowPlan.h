// How a row of a received list becomes a public record, as data: for each field of the wire, in its order,
// the place of the record's field that takes it. The compiler makes the plan of a wire class and a record out
// of the wire class's list of fields and the names of FieldCopy.h. A pair of fields that differ in their
// form, or stand in another order in the record, does not compile.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <span>
#include <string_view>

#include "comm/out/FieldCopy.h"
#include "datapool/PackedRecord.h"
#include "wirova/Message.h"
#include "wirova/StreamWindow.h"

// One field of the wire.
struct PlannedField {
    Wirova::FieldType type = Wirova::FieldType::Byte;
    std::uint16_t nPlace = 0;  // where the record's field begins
    std::uint16_t nWidth = 0;  // its bytes; 0 if the record takes nothing of this field
};
using RowPlan = std::span<const PlannedField>;

// Reads one row and packs the record. False if the bytes end before the row does. A text is cut to the
// width of its field less one, and its other bytes are left out.
bool ReadRow(Wirova::StreamWindow& in, RowPlan plan, Packed::RecordWriter& out);

namespace RowPlans {

// A field of a record under the name that it has on the wire.
struct Target {
    std::string_view name;
    std::size_t nPlace = 0;
    std::size_t nWidth = 0;
};
#define VELKAR_TARGET(wire, Record, field) \
    RowPlans::Target { wire, offsetof(Record, field), sizeof(Record::field) }

// What a record takes from a wire class apart from the fields with the same name. A target stands here under
// the wire's name and is preferred to the record's field of that name; a target of no width takes nothing.
template <class Record, class Row>
inline constexpr std::array<Target, 0> kExceptions{};

// The text str... of the wire and sz... of a record have the same name.
template <class Record>
constexpr Target FindAlike(std::string_view name)
{
#define VELKAR_FIND(field)                                         \
    if constexpr (requires(Record & r) { r.sz##field[0]; }) {      \
        if (name == "str" #field)                                  \
            return VELKAR_TARGET("str" #field, Record, sz##field); \
    }
    VELKAR_SAME_TEXTS(VELKAR_FIND)
#undef VELKAR_FIND
#define VELKAR_FIND(field)                               \
    if constexpr (requires(Record & r) { r.field; }) {   \
        if (name == #field)                              \
            return VELKAR_TARGET(#field, Record, field); \
    }
    VELKAR_SAME_VALUES(VELKAR_FIND)
#undef VELKAR_FIND
    return {};
}

template <class Record, class Row>
constexpr Target Find(std::string_view name)
{
    for (const Target& exception : kExceptions<Record, Row>) {
        if (exception.name == name)
            return exception;
    }
    return FindAlike<Record>(name);
}

// The width of a field that takes that form of the wire; 0 for a text, which may have any.
constexpr std::size_t WidthOf(Wirova::FieldType type)
{
    switch (type) {
        case Wirova::FieldType::Int32:
            return 4;
        case Wirova::FieldType::Int64:
            return 8;
        case Wirova::FieldType::Byte:
            return 1;
        case Wirova::FieldType::Text:
            return 0;
        default:
            throw "a row holds no lists";
    }
}

template <class Record, class Row>
consteval auto Make()
{
    std::array<PlannedField, std::size(Row::kFields) - 1> plan;
    std::size_t nPlace = 0;
    for (std::size_t n = 0; n < plan.size(); ++n) {
        const Target target = Find<Record, Row>(Row::kFields[n].pszName);
        const std::size_t nWidth = WidthOf(Row::kFields[n].type);
        if (target.nWidth != 0 && nWidth != 0 && nWidth != target.nWidth)
            throw "the two fields of a name differ in their form";
        if (target.nWidth != 0 && target.nPlace < nPlace)
            throw "the record's fields stand in another order than those of the wire";
        nPlace = target.nWidth == 0 ? nPlace : target.nPlace;
        plan[n] = {Row::kFields[n].type, static_cast<std::uint16_t>(target.nPlace),
                   static_cast<std::uint16_t>(target.nWidth)};
    }
    return plan;
}

template <class Record, class Row>
inline constexpr auto kPlan = Make<Record, Row>();
// A row that is a bare text fills the record's first field.
template <class Record>
inline constexpr std::array<PlannedField, 1> kPlan<Record, std::string> = {
    {{Wirova::FieldType::Text, 0, sizeof(Record)}}};

}  // namespace RowPlans

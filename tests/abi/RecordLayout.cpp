// Games are built against these layouts: the same numbers on 64-bit Windows and Linux, for ever.
#include <cstddef>
#include <type_traits>

#include "VelkarConnector.h"

namespace {

constexpr std::size_t AlignedUp(std::size_t n, std::size_t nAlignment)
{
    return (n + nAlignment - 1) / nAlignment * nAlignment;
}

// Each field stands where the list says. The gaps between the listed fields are those of alignment, so that
// no field of a record is missing in the list.
// clang-format off
#define RECORD(name, size, fields)                                                                        \
    constexpr bool Check##name()                                                                          \
    {                                                                                                     \
        using T = name;                                                                                   \
        std::size_t nEnd = 0;                                                                             \
        bool bListed = true;                                                                              \
        RECORD_CAT(FIELD_A fields, _END)                                                                  \
        return bListed && AlignedUp(nEnd, alignof(T)) == sizeof(T);                                       \
    }                                                                                                     \
    static_assert(std::is_trivially_copyable_v<name> && std::is_standard_layout_v<name>, #name);          \
    static_assert(sizeof(name) == (size) && Check##name(), #name);
#define FIELD(f, offset)                                                                                  \
    static_assert(offsetof(T, f) == (offset), #f);                                                        \
    bListed = bListed && AlignedUp(nEnd, alignof(decltype(T::f))) == (offset);                            \
    nEnd = (offset) + sizeof(T::f);
#define FIELD_A(f, offset) FIELD(f, offset) FIELD_B
#define FIELD_B(f, offset) FIELD(f, offset) FIELD_A
#define FIELD_A_END
#define FIELD_B_END
// clang-format on
#include "tests/abi/RecordFields.h"

}  // namespace

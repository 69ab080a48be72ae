// How each field type stands on the wire: one Codec for each type, with size, save, load and clear. A field
// of any other type does not compile. A length or a count on the wire is the peer's claim: memory is taken
// only for bytes that have arrived. Sizes are summed in 64 bits, so that texts of gigabytes make Save fail
// instead of overflowing.
//
// Each Codec has: kType, the form of the field; kMinSize, the fewest bytes that a field can take; Size, the
// bytes that Save would write now; Save and Load, which return false when the stream fails and do not undo
// what they have done by then; and Clear, except for records, which stand in vectors only.
#pragma once

#include <algorithm>
#include <concepts>
#include <limits>
#include <stdexcept>
#include <utility>

#include "wirova/BigEndian.h"
#include "wirova/WirovaBase.h"

namespace Wirova {

// The most bytes of a text, and elements of a vector, that a count on the wire can hold.
inline constexpr std::size_t kMaxCount = std::numeric_limits<int32>::max();

// Makes the record leave out its id for the length of the scope, and puts the record back into its former
// state at the end, also after a failure or an exception.
class NestedScope {
public:
    explicit NestedScope(IMessage& rec) : m_rec(rec), m_bWas(rec.IsNested()) { rec.SetNested(true); }
    ~NestedScope() { m_rec.SetNested(m_bWas); }
    NestedScope(const NestedScope&) = delete;
    NestedScope& operator=(const NestedScope&) = delete;

private:
    IMessage& m_rec;
    bool m_bWas;
};

// The forms in which fields stand on the wire.
enum class FieldType : unsigned char { Int32, Int64, Byte, Text, Record, Vector };

template <class T>
struct Codec;
template <class T>
using CodecOf = Codec<std::remove_cvref_t<T>>;

// Integers: big-endian, two's complement, without gaps.
template <class T>
    requires std::same_as<T, int32> || std::same_as<T, int64>
struct Codec<T> {
    static constexpr FieldType kType = sizeof(T) == 4 ? FieldType::Int32 : FieldType::Int64;
    static constexpr int32 kMinSize = sizeof(T);
    static int64 Size(const T&) { return sizeof(T); }
    static bool Save(Stream* s, const T& v)
    {
        unsigned char bytes[sizeof(T)];
        PutBigEndian(v, bytes);
        return Strova::Write(s, bytes, sizeof(T)) == static_cast<int>(sizeof(T));
    }
    static bool Load(Stream* s, T& v)
    {
        unsigned char bytes[sizeof(T)];
        if (Strova::Read(s, bytes, sizeof(T)) != static_cast<int>(sizeof(T)))
            return false;
        v = GetBigEndian<T>(bytes);
        return true;
    }
    static void Clear(T& v) { v = 0; }
};

// One byte, as it is in both directions.
template <class T>
    requires std::same_as<T, char> || std::same_as<T, boolean>
struct Codec<T> {
    static_assert(sizeof(T) == 1);
    static constexpr FieldType kType = FieldType::Byte;
    static constexpr int32 kMinSize = 1;
    static int64 Size(const T&) { return 1; }
    static bool Save(Stream* s, const T& v) { return Strova::Write(s, &v, 1) == 1; }
    static bool Load(Stream* s, T& v) { return Strova::Read(s, &v, 1) == 1; }
    static void Clear(T& v) { v = T(); }
};

// A text: its length in bytes as an int32, then the bytes, without a NUL. The bytes are not looked at.
template <>
struct Codec<string> {
    static constexpr FieldType kType = FieldType::Text;
    static constexpr int32 kMinSize = 4;
    static int64 Size(const string& v) { return 4 + static_cast<int64>(v.size()); }
    static bool Save(Stream* s, const string& v)
    {
        if (v.size() > kMaxCount)
            return false;
        const auto nSize = static_cast<int32>(v.size());
        return Codec<int32>::Save(s, nSize) && (nSize < 1 || Strova::Write(s, v.data(), nSize) == nSize);
    }
    static bool Load(Stream* s, string& v)
    {
        int32 nSize = 0;
        if (!Codec<int32>::Load(s, nSize))
            return false;
        if (nSize < 1)
            return true;  // an empty text, or a negative length: the string stays as it is
        // Space for the bytes that are there only; if they are fewer than claimed, the load fails.
        const int nArrived = std::min(nSize, Strova::GetLength(s));
        v.resize(static_cast<std::size_t>(std::max(nArrived, 0)));
        return Strova::Read(s, v.data(), nArrived) == nSize;
    }
    static void Clear(string& v) { v.clear(); }
};

// A record inside a vector: its fields without its id, because the type of the vector says the class.
template <std::derived_from<IMessage> T>
struct Codec<T> {
    static constexpr FieldType kType = FieldType::Record;
    static constexpr int32 kMinSize = T::kMinSize;
    static int64 Size(T& rec)
    {
        NestedScope nested(rec);
        return rec.GetSize();
    }
    static bool Save(Stream* s, T& rec)
    {
        NestedScope nested(rec);
        return rec.Save(s);
    }
    static bool Load(Stream* s, T& rec)
    {
        NestedScope nested(rec);
        return rec.Load(s);
    }
};

// The element behind an iterator: a vector of records holds pointers, any other vector holds values.
template <class T>
T& Element(T* rec)
{
    return *rec;
}
template <class T>
const T& Element(const T& value)
{
    return value;
}
// Reads one element and appends it. An element that fails is not appended.
template <class T>
bool LoadElement(Stream* s, std::vector<T>& v)
{
    T element{};
    if (!Codec<T>::Load(s, element))
        return false;
    v.push_back(std::move(element));
    return true;
}
template <class T>
bool LoadElement(Stream* s, RecordVector<T>& v)
{
    auto rec = std::make_unique<T>();
    if (!Codec<T>::Load(s, *rec))
        return false;
    v.Add(std::move(rec));
    return true;
}

// A vector: the number of its elements as an int32, then the elements.
template <class V>
    requires requires(V& v) { LoadElement(nullptr, v); }
struct Codec<V> {
    using Sample = decltype(Element(*std::declval<const V&>().begin()));
    static constexpr int32 kMinElement = CodecOf<Sample>::kMinSize;
    static constexpr FieldType kType = FieldType::Vector;
    static constexpr int32 kMaxReserve = 256;  // elements reserved at once; more make the vector grow
    static constexpr int32 kMinSize = 4;
    static int64 Size(const V& v)
    {
        int64 nLength = 4;
        for (const auto& e : v)
            nLength += CodecOf<decltype(Element(e))>::Size(Element(e));
        return nLength;
    }
    static bool Save(Stream* s, const V& v)
    {
        return v.size() <= kMaxCount && Codec<int32>::Save(s, static_cast<int32>(v.size())) &&
               std::all_of(v.begin(), v.end(),
                           [&](const auto& e) { return CodecOf<decltype(Element(e))>::Save(s, Element(e)); });
    }
    static bool Load(Stream* s, V& v)
    {
        int32 nSize = 0;
        if (!Codec<int32>::Load(s, nSize))
            return false;
        if (nSize < 0)
            throw std::length_error("negative element count");  // the guard around every handler logs it
        // Elements without any byte would let a few bytes of the wire claim 2^31 elements.
        static_assert(kMinElement > 0);
        const int32 nPossible = std::max(Strova::GetLength(s), 0) / kMinElement;
        v.reserve(v.size() + static_cast<std::size_t>(std::min({nSize, nPossible, kMaxReserve})));
        for (int32 i = 0; i < nSize; ++i) {
            if (!LoadElement(s, v))
                return false;
        }
        return true;
    }
    static void Clear(V& v) { v.clear(); }
};

}  // namespace Wirova

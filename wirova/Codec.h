// One block for each field type of the wire: size, save, load and clear. Any other type does not
// compile. A length or count on the wire is a claim: memory is committed only for what has arrived.
// Sizes are summed in 64 bits, so that texts of gigabytes end in a failed Save and not in an overflow.
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

// While it lives the record leaves its id out; then the record is as it was, also after a failure.
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

template <class T>
struct Codec;
template <class T>
using CodecOf = Codec<std::remove_cvref_t<T>>;

template <class T>
    requires std::same_as<T, int32> || std::same_as<T, int64>
struct Codec<T> {
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

template <class T>
    requires std::same_as<T, char> || std::same_as<T, boolean>
struct Codec<T> {
    static_assert(sizeof(T) == 1);
    static constexpr int32 kMinSize = 1;
    static int64 Size(const T&) { return 1; }
    static bool Save(Stream* s, const T& v) { return Strova::Write(s, &v, 1) == 1; }
    static bool Load(Stream* s, T& v) { return Strova::Read(s, &v, 1) == 1; }
    static void Clear(T& v) { v = T(); }
};

template <>
struct Codec<string> {
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
            return true;  // and the string stays as it stands
        const int nArrived = std::min(nSize, Strova::GetLength(s));
        v.resize(static_cast<std::size_t>(std::max(nArrived, 0)));
        return Strova::Read(s, v.data(), nArrived) == nSize;
    }
    static void Clear(string& v) { v.clear(); }
};

// A record: its fields without its id.
template <std::derived_from<IMessage> T>
struct Codec<T> {
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

// Vectors of records hold pointers, the others values.
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

template <class V>
    requires requires(V& v) { LoadElement(nullptr, v); }
struct Codec<V> {
    using Sample = decltype(Element(*std::declval<const V&>().begin()));
    static constexpr int32 kMinElement = CodecOf<Sample>::kMinSize;
    static constexpr int32 kMaxReserve = 256;  // beyond that a vector grows with what has arrived
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
            throw std::length_error("negative element count");  // for the guard around every handler
        // A record without a field would let a few bytes claim 2^31 records.
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

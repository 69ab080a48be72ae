// A list of plain records of the public header: the rows of an answer, or the rows that the game has put
// together for a request. The data pool keeps it under the id of a handle.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <vector>

#include "datapool/PackedBytes.h"
#include "datapool/PackedRecord.h"

// A list without its record type, so that the pool can hold all kinds in one map.
class CDataBaseNode {
public:
    CDataBaseNode() = default;
    virtual ~CDataBaseNode() = default;
    virtual std::size_t GetSize() const { return 0; }

    CDataBaseNode(const CDataBaseNode&) = delete;
    CDataBaseNode& operator=(const CDataBaseNode&) = delete;
};

// The list of records T. Records are copied in and out, so the list does not depend on the message that it
// came from. They are kept without their runs of zero bytes, because most bytes of the fixed text fields are
// unused: a list takes about as much memory as it took on the wire. Reading allocates nothing. One thread at
// a time: the game must not change a list while a call uses it.
template <class T>
class CDataNode final : public CDataBaseNode {
    static_assert(std::is_trivially_copyable_v<T>);

public:
    std::size_t GetSize() const override { return m_records.GetCount(); }
    // Throws std::bad_alloc without memory, and has then added nothing.
    void Add(const T& record) { m_records.Add(&record, sizeof(T)); }
    // The records as they are kept, for a writer that packs them itself.
    CPackedBytes& GetPacked() { return m_records; }
    static constexpr std::size_t GetRecordSize()
    {
        static_assert(Packed::LongestPacked(sizeof(T)) <= Packed::RecordWriter::kMostBytes);
        return sizeof(T);
    }
    // False at or past the end; out is then left alone.
    bool Get(T& out, std::size_t nIndex) const { return m_records.Get(nIndex, &out, sizeof(T)); }
    // visit(record) for each record in order.
    template <class Visit>
    void ForEach(Visit visit) const
    {
        T record;
        for (std::size_t n = 0; Get(record, n); ++n)
            visit(record);
    }

private:
    CPackedBytes m_records;
};

// Lists of plain records, filed in the data pool under a handle's id.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <vector>

#include "datapool/PackedBytes.h"

class CDataBaseNode {
public:
    CDataBaseNode() = default;
    virtual ~CDataBaseNode() = default;
    virtual std::size_t GetSize() const { return 0; }

    CDataBaseNode(const CDataBaseNode&) = delete;
    CDataBaseNode& operator=(const CDataBaseNode&) = delete;
};

// Records are copied in and out, so that the list outlives the message it came from. They are kept without
// their empty bytes, since most of a record's fixed fields is unused: a list takes about as much memory as it
// took on the wire. Reading allocates nothing. One thread at a time.
template <class T>
class CDataNode final : public CDataBaseNode {
    static_assert(std::is_trivially_copyable_v<T>);

public:
    std::size_t GetSize() const override { return m_records.GetCount(); }
    void Add(const T& record) { m_records.Add(&record, sizeof(T)); }
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

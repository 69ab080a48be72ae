// Lists of plain records, filed in the data pool under a handle's id.
#pragma once

#include <cstddef>
#include <vector>

class CDataBaseNode {
public:
    CDataBaseNode() = default;
    virtual ~CDataBaseNode() = default;
    virtual std::size_t GetSize() const { return 0; }

    CDataBaseNode(const CDataBaseNode&) = delete;
    CDataBaseNode& operator=(const CDataBaseNode&) = delete;
};

// Records are copied in and out, so that the list outlives the message it came from. One thread at a time.
template <class T>
class CDataNode final : public CDataBaseNode {
public:
    std::size_t GetSize() const override { return m_vecRecords.size(); }
    void Reserve(std::size_t nCount) { m_vecRecords.reserve(nCount); }
    void Add(const T& record) { m_vecRecords.push_back(record); }
    // False at or past the end; out is then left alone.
    bool Get(T& out, std::size_t nIndex) const
    {
        if (nIndex >= m_vecRecords.size())
            return false;
        out = m_vecRecords[nIndex];
        return true;
    }
    const std::vector<T>& GetRecords() const { return m_vecRecords; }

private:
    std::vector<T> m_vecRecords;
};

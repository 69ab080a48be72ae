// The body of a received message, from the stream into the message and its lists. What a body costs is
// bounded here, whatever it holds and whatever it claims: texts are cut, lists go row by row into nodes of
// the data pool, and a list with more rows than any real answer has is refused.
#pragma once

#include <string>
#include <type_traits>

#include "comm/in/RowPlan.h"
#include "datapool/DataNode.h"
#include "wirova/Codec.h"

// The most rows of a list.
inline constexpr Wirova::int32 kMaxRows = 1 << 18;
// The most bytes that are kept of a text of the message itself; the public records keep 2000 at most.
inline constexpr Wirova::int32 kMaxText = 64 << 10;

// Where the rows of a message's vector<Row> go.
template <class Row, class Record>
struct RowsInto {
    using RowType = Row;
    static constexpr RowPlan Plan() { return RowPlans::kPlan<Record, Row>; }
    CDataNode<Record>& node;
};

// Lives no longer than the handler. The stream is the link's and has the message's id at its front.
class MsgBody {
public:
    explicit MsgBody(Wirova::Stream* pStream) : m_pStream(pStream) {}

    // Reads the message. The rows of its vectors go to `lists`, one for each vector; the vectors stay empty.
    // False, after a line in the log, if the message does not load: it and the lists may hold a part then.
    // Throws std::length_error for a negative number of rows, and std::bad_alloc.
    template <class Message, class... Lists>
    bool Load(Message& msg, const Lists&... lists)
    {
        const bool bLoaded =
            Wirova::Codec<Wirova::int32>::Load(m_pStream, msg.nMsgID) &&
            Message::ForEachField(msg, [&](const char*, auto& field) { return LoadField(field, lists...); });
        if (!bLoaded)
            LogFailure(msg);
        return bLoaded;
    }

private:
    template <class Field, class... Lists>
    bool LoadField(Field& field, const Lists&... lists)
    {
        if constexpr (std::is_same_v<Field, std::string>) {
            return LoadText(field);
        } else if constexpr (requires { typename Field::value_type; }) {
            using Row = typename Field::value_type;
            static_assert((std::is_same_v<Row, typename Lists::RowType> + ... + 0) == 1);
            return (LoadVector<Row>(lists) && ...);
        } else {
            return Wirova::Codec<Field>::Load(m_pStream, field);
        }
    }
    template <class Row, class List>
    bool LoadVector(const List& list)
    {
        if constexpr (std::is_same_v<Row, typename List::RowType>)
            return LoadRows(List::Plan(), list.node.GetRecordSize(), list.node.GetPacked());
        else
            return true;
    }
    bool LoadText(std::string& str);
    bool LoadRows(RowPlan plan, std::size_t nRecordSize, CPackedBytes& list);
    void LogFailure(const Wirova::IMessage& msg) const;

    Wirova::Stream* const m_pStream;
    Wirova::int32 m_nRefusedRows = 0;  // what a list has claimed that is too long
};

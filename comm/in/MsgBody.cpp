#include "comm/in/MsgBody.h"

#include <algorithm>
#include <numeric>
#include <stdexcept>

#include "base/LastErrorCode.h"
#include "base/Logger.h"

namespace {

// The fewest bytes of a row.
std::size_t LeastOf(RowPlan plan)
{
    return std::accumulate(plan.begin(), plan.end(), std::size_t{0},
                           [](std::size_t n, const PlannedField& field) {
                               const std::size_t nWidth = RowPlans::WidthOf(field.type);
                               return n + (nWidth == 0 ? sizeof(Wirova::int32) : nWidth);
                           });
}

}  // namespace

bool MsgBody::LoadText(std::string& str)
{
    Wirova::int32 nSize = 0;
    if (!Wirova::Codec<Wirova::int32>::Load(m_pStream, nSize))
        return false;
    if (nSize < 1)
        return true;  // an empty text, as a negative length is, too
    if (Strova::GetLength(m_pStream) < nSize)
        return false;
    const Wirova::int32 nKept = std::min(nSize, kMaxText);
    str.resize(static_cast<std::size_t>(nKept));
    return Strova::Read(m_pStream, str.data(), nKept) == nKept &&
           (nKept == nSize || Strova::RemoveLeft(m_pStream, nSize - nKept) == nSize - nKept);
}

bool MsgBody::LoadRows(RowPlan plan, std::size_t nRecordSize, CPackedBytes& list)
{
    Wirova::StreamWindow in(m_pStream, Strova::GetLength(m_pStream));
    Wirova::int32 nRows = 0;
    if (!in.TakeInteger(nRows))
        return false;
    if (nRows < 0)
        throw std::length_error("negative number of rows");  // the guard around every handler logs it
    if (nRows > kMaxRows) {
        m_nRefusedRows = nRows;
        return false;
    }
    if (static_cast<std::size_t>(nRows) > in.GetLeft() / LeastOf(plan))
        return false;
    list.Reserve(list.GetCount() + static_cast<std::size_t>(nRows));
    Packed::RecordWriter record;
    for (Wirova::int32 n = 0; n < nRows; ++n) {
        record.Begin();
        if (!ReadRow(in, plan, record))
            return false;
        record.End(nRecordSize);
        list.AddPacked(record.GetBytes(), record.GetCount());
    }
    return in.Close();
}

// No waiter is woken, so the caller of the request runs into the timeout.
void MsgBody::LogFailure(const Wirova::IMessage& msg) const
{
    if (m_nRefusedRows == 0)
        Log::ErrorFmt("[Comm Handler] Failed to load a '%s' msg from a recv stream. [Error code: %d]",
                      msg.GetMsgName(), LastErrorCode());
    else
        Log::ErrorFmt(
            "[Comm Handler] Failed to load a '%s' msg from a recv stream. [Error code: %d] "
            "A list claims %d rows, and %d are the most.",
            msg.GetMsgName(), LastErrorCode(), m_nRefusedRows, kMaxRows);
}

// Wire records as rows of a table: the table has columns of its own, and behind them one for each field of
// the record, under the field's wire name. A new field of a record needs nothing here.
#pragma once

#include <concepts>
#include <string>
#include <type_traits>
#include <vector>

namespace Sandbox {

template <class Rec>
concept WireRecord = requires(const Rec& rec)
{
    {
        rec.IsNested()
        } -> std::same_as<bool>;
    Rec::kMsgID;
};

// Copies a record field by field, because wire records cannot be copied as a whole. For records without
// lists.
template <WireRecord Rec>
void CopyFields(const Rec& from, Rec& to)
{
    std::vector<void*> vecTargets;
    Rec::ForEachField(to, [&](const char*, auto& field) {
        vecTargets.push_back(&field);
        return true;
    });
    auto itTarget = vecTargets.begin();
    Rec::ForEachField(from, [&](const char*, const auto& field) {
        *static_cast<std::remove_cvref_t<decltype(field)>*>(*itTarget++) = field;
        return true;
    });
}

template <WireRecord Rec>
int CountColumns()
{
    int nColumns = 0;
    const Rec rec;
    Rec::ForEachField(rec, [&](const char*, const auto&) { return ++nColumns > 0; });
    return nColumns;
}

// SQL that makes a table of its own columns, the record's, and strRest. strOwn ends with a comma and strRest
// begins with one, unless they are empty.
template <WireRecord Rec>
std::string CreateSql(const std::string& strTable, const std::string& strOwn, const std::string& strRest = "")
{
    std::string strColumns;
    const Rec rec;
    Rec::ForEachField(rec, [&](const char* pszName, const auto& field) {
        strColumns += strColumns.empty() ? "" : ", ";
        strColumns += pszName;
        strColumns +=
            std::same_as<decltype(field), const std::string&> ? " TEXT NOT NULL" : " INTEGER NOT NULL";
        return true;
    });
    return "CREATE TABLE " + strTable + " (" + strOwn + strColumns + strRest + ");";
}

// The names of the record's columns, separated by commas.
template <WireRecord Rec>
std::string ListColumns()
{
    std::string strColumns;
    const Rec rec;
    Rec::ForEachField(rec, [&](const char* pszName, const auto&) {
        strColumns += strColumns.empty() ? "" : ", ";
        strColumns += pszName;
        return true;
    });
    return strColumns;
}

// SQL that inserts a row of nOwn columns and a record.
template <WireRecord Rec>
std::string InsertSql(const std::string& strTable, int nOwn)
{
    std::string strPlaces = "?";
    for (int i = 1; i < nOwn + CountColumns<Rec>(); ++i)
        strPlaces += ", ?";
    return "INSERT INTO " + strTable + " VALUES (" + strPlaces + ")";
}

}  // namespace Sandbox

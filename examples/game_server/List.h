// The lists that stand behind the connector's handles.
#pragma once

#include <cstdio>

#include "VelkarConnector.h"

// Destroys the list at the end of its scope, as the game must do with every list that it has got or made. A
// null handle is allowed.
struct List {
    explicit List(_DATA_HANDLE* p) : pHandle(p) {}
    ~List() { DestroyHandle(pHandle); }
    List(const List&) = delete;
    List& operator=(const List&) = delete;
    _DATA_HANDLE* const pHandle;
};

// Calls show(record) for each record of a response's list, with get as the call that reads this kind of
// record. False, after a line on the console, if a record could not be read.
template <class Record, class Show>
bool ForEachRecord(const List& list,
                   bool (*get)(const _DATA_HANDLE*, std::size_t, Record*, char*, std::size_t), Show show)
{
    char szError[256] = "";
    const std::size_t nCount =
        list.pHandle == nullptr ? 0 : GetDataSize(list.pHandle, szError, sizeof(szError));
    for (std::size_t i = 0; i < nCount; ++i) {
        Record record{};
        if (!get(list.pHandle, i, &record, szError, sizeof(szError))) {
            std::printf("%s\n", szError);
            return false;
        }
        show(record);
    }
    return true;
}

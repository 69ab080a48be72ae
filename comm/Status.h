// The figures of the library as one record, and as the text of the status file.
#pragma once

#include <string>

#include "VelkarConnector.h"

// Fills the whole record as this version of the library knows it. Takes no lock and no memory.
void TakeStatus(_CONNECTOR_STATUS& status) noexcept;

// Who a status belongs to, and when it was taken: milliseconds since 1970, UTC.
struct StatusOwner {
    _CONNECTOR_ID id;
    long long nTime;
};
// The text format of Prometheus, or one JSON object with the same content. Throws std::bad_alloc.
std::string StatusText(const _CONNECTOR_STATUS& status, const StatusOwner& owner, bool bJson);

// Tells the logger's service to look after the requests and to write the status file, if it is configured;
// and which answers are slow. After the start of the logger, before the first connection. Without a log,
// nothing of it happens.
void StartReporting();

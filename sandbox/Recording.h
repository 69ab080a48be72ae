// A recording that "velkar-sandbox --record" has written, as "velkar-sandbox replay" reads it.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "sandbox/Options.h"
#include "sandbox/base/Json.h"

namespace Sandbox {

// One line of the file.
struct Recorded {
    std::int64_t ms = 0;     // since the start of the sandbox
    std::string strLink;     // of a message: the connector, or the peer's address before the registration
    std::string strClass;    // of a message; empty: an HTTP request
    bool bIn = false;        // the message came from the connector
    Json fields{};           // of the message
    std::string strRequest;  // "POST /fault", with what stands behind the path
    std::string strBody;
    int nStatus = 200;
};

struct Recording {
    Options options;  // those that the recorded sandbox had, as far as they matter
    std::vector<Recorded> vecLines;
    bool bTruncated = false;  // the last line is incomplete and left out
};

// Throws JsonError for a file that is no recording; the text names the line.
Recording ReadRecording(const std::string& strPath);

}  // namespace Sandbox

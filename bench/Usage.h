// What a client's process has used since its start.
#pragma once

namespace Bench {

struct Usage {
    double dSwitches = 0;      // context switches, voluntary or not
    double dMicroseconds = 0;  // of processors, the system's work for the process included
};

}  // namespace Bench

// What a program needs of the system, beside what the library needs. The library itself uses none of this.
#pragma once

#include <cstddef>
#include <ctime>
#include <functional>
#include <vector>

namespace Host {

// To be called first. Returns the program's arguments, its name included, which stay valid; on Windows they
// are UTF-8, whatever the code page is, and a console shows UTF-8 from then on.
std::vector<const char*> BeginProgram(int argc, char** argv);

// A write to a pipe that nobody reads any more fails from then on; elsewhere than on Windows it would end the
// process.
void IgnoreBrokenPipes();

// The calendar of the machine's own time zone.
std::tm LocalCalendar(std::time_t time);

// How many files and sockets the process may have open.
std::size_t GetMaxOpenFiles();

// Has the function called, on a thread of the system, when the program is to end for a reason that is no
// signal: Ctrl+Break, a console that is closed, the end of the session. The system gives the process five
// seconds then. An empty function ends that, and no call is under way any more. Does nothing where all of
// these are signals.
void OnSessionEnd(std::function<void()> stop);

}  // namespace Host

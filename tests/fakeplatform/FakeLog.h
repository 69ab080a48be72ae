// What the library has logged. Lines are kept in memory in the order of the calls; Logova's
// configuration file has to be there, but nothing in it counts.
#pragma once

#include <initializer_list>
#include <string>
#include <vector>

namespace Fake::Journal {

enum class Level { Emerg, Alert, Fatal, Error, Warning, Notice, Info, Debug, Trace };

struct Line {
    Level level;
    std::string strText;
    bool bFormatted;  // came through a Fmt function
};
std::vector<Line> Lines();

// Whether a line of that level holds the text.
bool Logged(Level level, const std::string& strPart);
int Count(Level level, const std::string& strPart = "");
// Whether lines that hold these texts stand in this order, with any others between.
bool LoggedInOrder(std::initializer_list<const char*> listParts);
// Waits for such a line, at most ten seconds of real time.
bool WaitFor(Level level, const std::string& strPart);
// All lines as one text, for the message of a failing test.
std::string Text();
void Clear();

// While set, every log call throws.
void ThrowOnWrite(bool bThrow);

// Arguments of the last Initialize and GetLogger; whether the service runs.
std::string Service();
std::string ConfigurationFile();
std::string Logger();
bool Runs();

void Reset();

}  // namespace Fake::Journal

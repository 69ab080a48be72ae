// What the library has logged. Lines are kept in memory in the order of the calls; Logova's
// configuration file has to be there, but nothing in it counts.
#pragma once

#include <string>
#include <vector>

namespace Fake::Journal {

#define FAKE_LEVELS(X) X(Emerg) X(Alert) X(Fatal) X(Error) X(Warning) X(Notice) X(Info) X(Debug) X(Trace)
#define FAKE_LEVEL(level) level,
enum class Level { FAKE_LEVELS(FAKE_LEVEL) };
#undef FAKE_LEVEL

struct Line {
    Level level;
    std::string strText;
    bool bFormatted;  // came through a Fmt function
};
std::vector<Line> Lines();

// Whether a line of that level holds the text.
int Count(Level level, const std::string& strPart = "");
inline bool Logged(Level level, const std::string& strPart) { return Count(level, strPart) > 0; }
// Waits for such a line, at most ten seconds of real time.
bool WaitFor(Level level, const std::string& strPart);
// All lines as one text, for the message of a failing test.
std::string Text();
void Clear();

// While set, every log call throws.
void ThrowOnWrite(bool bThrow);

void Reset();

}  // namespace Fake::Journal

// What the check has to say: one entry for each mistake, with its place and its cure. One thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Check {

enum class Weight {
    Note,     // something to know
    Warning,  // the library works, but not as the file says or the operator may expect
    Error     // the library does not start
};

struct Entry {
    Weight weight = Weight::Note;
    std::string strFile;  // a path of platform/Host.h; empty where no file is meant
    int nLine = 0;        // from 1; 0 where no line is meant
    std::string strSentence;
    std::string strCure;  // what to do; may be empty
};

class Report {
public:
    void Add(Entry entry) { m_vecEntries.push_back(std::move(entry)); }
    bool Has(Weight weight) const { return Count(weight) > 0; }
    int Count(Weight weight) const;
    // Writes the entries to standard output, those of a file in the order of their lines, and a last line
    // with the sum.
    void Print();
    // 0 if there is neither a warning nor an error, 1 with warnings, 2 with errors.
    int ExitCode() const;

private:
    std::vector<Entry> m_vecEntries;
};

// A text of a file or of the service in quotation marks, as it can be shown anywhere: at most 60 characters
// of UTF-8. Control characters and what is no UTF-8 become \xNN.
std::string Quote(std::string_view text);

}  // namespace Check

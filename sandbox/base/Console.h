// The lines that the operator sees: one line for each event, with the time in front. Used by one thread at a
// time.
#pragma once

#include <functional>
#include <string>

namespace Sandbox {

enum class Verbosity { Quiet, Normal, Verbose };

class Console {
public:
    using Sink = std::function<void(const std::string& strLine)>;  // the line without its line end

    Console(Verbosity verbosity, Sink sink) : m_verbosity(verbosity), m_sink(std::move(sink)) {}

    // A line at any verbosity: start, end, what went wrong.
    void Say(const std::string& strText) const;
    // A line unless the console is quiet: messages, and what became of them.
    void Note(const std::string& strText) const;
    bool IsVerbose() const { return m_verbosity == Verbosity::Verbose; }
    bool IsQuiet() const { return m_verbosity == Verbosity::Quiet; }

private:
    Verbosity m_verbosity;
    Sink m_sink;
};

}  // namespace Sandbox

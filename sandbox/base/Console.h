// What the operator sees: one line a happening. Used by one thread at a time.
#pragma once

#include <functional>
#include <string>

namespace Sandbox {

enum class Verbosity { Quiet, Normal, Verbose };

class Console {
public:
    using Sink = std::function<void(const std::string& strLine)>;  // the line without its end

    Console(Verbosity verbosity, Sink sink) : m_verbosity(verbosity), m_sink(std::move(sink)) {}

    void Say(const std::string& strText) const;   // always: start, end, what went wrong
    void Note(const std::string& strText) const;  // not when quiet: messages, and what came of them
    bool IsVerbose() const { return m_verbosity == Verbosity::Verbose; }
    bool IsQuiet() const { return m_verbosity == Verbosity::Quiet; }

private:
    Verbosity m_verbosity;
    Sink m_sink;
};

// The text with '?' for control characters, cut to a length that a line can take.
std::string Printable(const std::string& strText);
std::string Quoted(const std::string& strText);  // so, between ' and '

}  // namespace Sandbox

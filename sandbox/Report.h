// What "run" and "replay" have in common: a sandbox that is started for one game server, steps that are
// played against it, and a report that a person and a build server can read.
#pragma once

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "sandbox/Options.h"
#include "sandbox/base/Json.h"

namespace CLI {
class App;
}

namespace Sandbox {

constexpr int kStepHasFailed = 1;  // exit code

// A step did not do what it should; the text says what was seen instead.
class StepFailed : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

class Report {
public:
    explicit Report(std::string strName) : m_strName(std::move(strName)) {}

    // Plays the step and shows its line. Whatever it throws has failed it.
    void Play(const std::string& strStep, const std::function<void()>& step);
    void Skip(const std::string& strStep);

    const std::string& GetName() const { return m_strName; }
    bool HasPassed() const { return m_nFailed + m_nSkipped == 0; }
    int GetFailed() const { return m_nFailed; }
    void WriteJUnit(const std::string& strPath) const;  // throws StartError

private:
    struct Outcome {
        std::string strStep;
        double dSeconds = 0;
        std::string strFailure{};  // empty: the step has passed
        bool bSkipped = false;
    };
    void Add(Outcome outcome);

    std::string m_strName;
    std::vector<Outcome> m_vecOutcomes;
    int m_nFailed = 0, m_nSkipped = 0;
};

// What the command line of both commands says.
struct PlayOptions {
    std::string strFile, strJUnit, strCoverage;
    int nPort = Options().nPort, nHttpPort = 0;
    void Describe(CLI::App& app, const char* pszFile);
};

// Starts a sandbox, plays against it, and returns the exit code of the program. Throws StartError.
using PlayAll = std::function<void(Report& report, int nHttpPort)>;
int PlayAgainstGame(Options options, const PlayOptions& play, const std::string& strName,
                    const PlayAll& playAll);

// Parses the command line and runs the command. What is wrong with the file is an error that names the file.
int RunPlayCommand(CLI::App& app, int argc, const char* const* argv, const PlayOptions& play,
                   const std::function<int()>& run);

// The answer of the sandbox at that HTTP port; throws StepFailed if its status is another one.
Json AskSandbox(int nHttpPort, const std::string& strRequest, const std::string& strBody, int nStatus);

}  // namespace Sandbox

// How vellum-host runs scripts: a file (run) or pieces read from a stream (console), in a context
// of their own whose current event is Console/Exec, so that privileged calls work; then the main
// loop, until no work that they started is pending.
//
// An uncaught exception is written to the error stream as "name: message" (just "name" without a
// message); a thrown value that has no name, as "uncaught exception: " and its text. A script
// error that surfaces in a callback while the loop runs counts as uncaught too.
#pragma once

#include "frame/host/IScriptEngine.h"

#include <iosfwd>
#include <string>

class CSpiderMonkeyEngine;
class CMainLoop;

class CScriptRunner {
public:
    /// Exit statuses of a run.
    enum Status : int {
        kRunOK = 0,
        kRunFailed = 1,      // an uncaught exception
        kRunCannotStart = 2, // no script, or no context to run it in
        kRunTimedOut = 3,    // work was still pending when the time was up
    };

    /// Values and prompts go to out, uncaught exceptions to errors.
    CScriptRunner(CSpiderMonkeyEngine& engine, CMainLoop& loop, std::ostream& out,
                  std::ostream& errors);
    ~CScriptRunner();
    CScriptRunner(const CScriptRunner&) = delete;
    CScriptRunner& operator=(const CScriptRunner&) = delete;

    /// Makes the context, on which the plug-in's context initialisers run, and its event.
    bool open();
    ESContext context() const { return m_context; }

    /// Runs UTF-8 source text. False when an exception escaped it, which is then written out.
    /// The text of the value it leaves goes to result, empty for undefined.
    bool evaluate(const std::string& source, std::string* result = nullptr);
    /// Runs the main loop until no work is pending, a callback's script error, or the time is
    /// up (no limit for 0 seconds).
    Status waitForWork(int timeoutSeconds);

    /// A whole run of a script: the text, then the wait.
    Status run(const std::string& source, int timeoutSeconds);
    /// Reads pieces of script, each a line or the lines that close its brackets, runs each with
    /// its wait, and shows the value it leaves; with prompt set, asks for each line.
    Status console(std::istream& in, bool prompt, int timeoutSeconds);

    /// Whether the text closes every bracket, string and comment it opens.
    static bool isComplete(const std::string& source);

private:
    static void errorHandler(ESContext context, int32_t code, int32_t line, const char* message,
                             void* data);
    std::string describeException();
    std::string textOf(ESVal value);
    std::string propertyText(ESObject object, const char* name);

    CSpiderMonkeyEngine& m_engine;
    CMainLoop& m_loop;
    std::ostream& m_out;
    std::ostream& m_errors;
    ESContext m_context = nullptr;
    ESEvent m_event = nullptr;
    bool m_evaluating = false;
    bool m_describing = false;
    bool m_callbackFailed = false;
};

/// vellum-host run FILE: the exit status.
int RunScriptFile(CSpiderMonkeyEngine& engine, CMainLoop& loop, const std::string& path,
                  int timeoutSeconds, std::ostream& out, std::ostream& errors);
/// vellum-host console: the exit status.
int RunScriptConsole(CSpiderMonkeyEngine& engine, CMainLoop& loop, std::istream& in, bool prompt,
                     int timeoutSeconds, std::ostream& out, std::ostream& errors);

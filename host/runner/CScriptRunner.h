// How vellum-host runs scripts: a file (run) or pieces read from a stream (console), in a context
// of their own whose current event is Console/Exec, so that privileged calls work; then the main
// loop, until no work that they started is pending.
//
// An uncaught exception is written to the error stream as "name: message" (just "name" without a
// message); a thrown value that has no name, as "uncaught exception: " and its text. A script
// error that surfaces in a callback while the loop runs counts as uncaught too.
//
// A run has a time limit, on the script and on the wait together; at the limit, or at Ctrl-C once
// interrupts are caught, the script ends with an uncatchable termination and the wait ends. The
// console then goes on with its next piece.
#pragma once

#include "frame/host/IScriptEngine.h"
#include "host/runner/CWatchdog.h"

#include <iosfwd>
#include <string>
#include <utility>

class CSpiderMonkeyEngine;
class CMainLoop;

class CScriptRunner {
public:
    /// Exit statuses of a run.
    enum Status : int {
        kRunOK = 0,
        kRunFailed = 1,        // an uncaught exception
        kRunCannotStart = 2,   // no script, or no context to run it in
        kRunTimedOut = 3,      // the script ran, or work was pending, when the time was up
        kRunInterrupted = 130, // Ctrl-C, the status of a shell's job ended by SIGINT
    };

    /// Values and prompts go to out, uncaught exceptions to errors.
    CScriptRunner(CSpiderMonkeyEngine& engine, CMainLoop& loop, std::ostream& out,
                  std::ostream& errors);
    ~CScriptRunner();
    CScriptRunner(const CScriptRunner&) = delete;
    CScriptRunner& operator=(const CScriptRunner&) = delete;

    /// From here on, Ctrl-C stops a run instead of ending the process; at the console's prompt
    /// it drops the piece being typed.
    void catchInterrupts() { m_watchdog.catchInterrupts(); }

    /// Names the source that evaluate runs (a script file's path): an uncaught exception raised
    /// in it is told with the name and the line.
    void setSourceName(std::string name) { m_sourceName = std::move(name); }

    /// Makes the context, on which the plug-in's context initialisers run, and its event.
    bool open();
    ESContext context() const { return m_context; }

    /// Runs UTF-8 source text. False when an exception escaped it, which is then written out.
    /// The text of the value it leaves goes to result, empty for undefined.
    bool evaluate(const std::string& source, std::string* result = nullptr);
    /// A whole run of a script: the text, then the wait, within the time (0: no limit).
    Status run(const std::string& source, int timeoutSeconds);
    /// Reads pieces of script, each a line or the lines that close its brackets, runs each with
    /// its wait, and shows the value it leaves; with prompt set, asks for each line.
    Status console(std::istream& in, bool prompt, int timeoutSeconds);

    /// Whether the text closes every bracket, string and comment it opens.
    static bool isComplete(const std::string& source);

private:
    static void errorHandler(ESContext context, int32_t code, int32_t line, const char* message,
                             void* data);
    /// Runs the main loop until no work is pending, a callback's script error, or a stop.
    Status waitForWork();
    /// Tells a stop that ended the run, if one did, and lets script run again.
    Status endOfRun(Status status, int timeoutSeconds);
    /// One piece of the console: run, its value shown, its wait.
    void runPiece(const std::string& piece, bool showValue, int timeoutSeconds);
    std::string describeException();
    std::string textOf(ESVal value);
    std::string propertyText(ESObject object, const char* name);

    CSpiderMonkeyEngine& m_engine;
    CMainLoop& m_loop;
    std::ostream& m_out;
    std::ostream& m_errors;
    ESContext m_context = nullptr;
    ESEvent m_event = nullptr;
    std::string m_sourceName;
    bool m_evaluating = false;
    bool m_describing = false;
    bool m_callbackFailed = false;
    bool m_scriptStopped = false; // the stop ended running script, not a wait
    CWatchdog m_watchdog;
    int m_stopWaker = 0;
};

/// vellum-host run FILE: the exit status. Catches Ctrl-C.
int RunScriptFile(CSpiderMonkeyEngine& engine, CMainLoop& loop, const std::string& path,
                  int timeoutSeconds, std::ostream& out, std::ostream& errors);
/// vellum-host console: the exit status. Catches Ctrl-C.
int RunScriptConsole(CSpiderMonkeyEngine& engine, CMainLoop& loop, std::istream& in, bool prompt,
                     int timeoutSeconds, std::ostream& out, std::ostream& errors);

#include "host/runner/CScriptRunner.h"

#include "frame/HostError.h"
#include "frame/UTF8.h"
#include "host/loop/CMainLoop.h"
#include "host/script/CSpiderMonkeyEngine.h"
#include "host/script/SMText.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <utility>

namespace {

/// A slot that goes with the scope.
class Slot {
public:
    Slot(CSpiderMonkeyEngine& engine, ESContext context)
        : m_engine(engine), m_slot(engine.newVal(context)) {}
    ~Slot() { m_engine.freeVal(m_slot); }
    Slot(const Slot&) = delete;
    Slot& operator=(const Slot&) = delete;
    ESVal get() const { return m_slot; }

private:
    CSpiderMonkeyEngine& m_engine;
    ESVal m_slot;
};

/// UTF-8 text, a byte order mark dropped, as the engine's marked UCS.
std::string markedSource(const std::string& utf8) {
    size_t skip = utf8.compare(0, 3, "\xEF\xBB\xBF") == 0 ? 3 : 0;
    std::u16string units = UTF16FromUTF8(utf8.data() + skip, utf8.size() - skip);
    return SMTextFromUnits(units.data(), units.size(), true, nullptr);
}

} // namespace

CScriptRunner::CScriptRunner(CSpiderMonkeyEngine& engine, CMainLoop& loop, std::ostream& out,
                             std::ostream& errors)
    : m_engine(engine), m_loop(loop), m_out(out), m_errors(errors), m_watchdog(loop.stopRequest()) {
    CStopRequest& stop = loop.stopRequest();
    m_engine.setStopCheck([&stop] { return stop.raised(); });
    m_stopWaker = stop.addWaker([&engine] { engine.requestInterrupt(); });
}

CScriptRunner::~CScriptRunner() {
    m_loop.stopRequest().removeWaker(m_stopWaker);
    m_engine.setStopCheck(nullptr);
    if (!m_context)
        return;
    m_engine.closeEvent(m_event);
    m_engine.destroyContext(m_context);
}

bool CScriptRunner::open() {
    m_context = m_engine.newContext("Console", nullptr);
    if (!m_context)
        return false;
    m_event = m_engine.openEvent(m_context, "Console", "Exec");
    m_engine.setErrorHandler(m_context, errorHandler, this);
    return m_event != nullptr;
}

void CScriptRunner::errorHandler(ESContext, int32_t, int32_t, const char*, void* data) {
    auto* self = static_cast<CScriptRunner*>(data);
    // Errors inside a run of ours are told when it returns, if the script did not catch them.
    if (self->m_describing || self->m_evaluating)
        return;
    // A callback that a stop ended has nothing to tell; the stop is told.
    if (self->m_loop.stopRequest().raised()) {
        self->m_engine.clearException(self->m_context);
        return;
    }
    self->m_errors << self->describeException() << std::endl;
    self->m_callbackFailed = true;
    g_main_context_wakeup(self->m_loop.context());
}

std::string CScriptRunner::textOf(ESVal value) {
    QsTextRec text;
    if (!m_engine.readQsText(value, &text))
        return "";
    return UTF8FromUTF16(text.units.data(), text.units.size());
}

std::string CScriptRunner::propertyText(ESObject object, const char* name) {
    Slot value(m_engine, m_context);
    if (!m_engine.getProperty(object, name, value.get()) ||
        m_engine.valType(value.get()) == kESValUndefined)
        return "";
    return textOf(value.get());
}

std::string CScriptRunner::describeException() {
    m_describing = true;
    Slot exception(m_engine, m_context);
    std::string text = "uncaught exception";
    try {
        if (m_engine.exceptionValue(m_context, exception.get())) {
            ESObject object = m_engine.readObject(exception.get());
            std::string name = object ? propertyText(object, "name") : "";
            std::string message = object ? propertyText(object, "message") : "";
            if (!name.empty())
                text = message.empty() ? name : name + ": " + message;
            else
                text = "uncaught exception: " + textOf(exception.get());
        }
    } catch (const HostError&) {
        // The exception's own properties failed to read: it is told without them.
    }
    // Raised in the named source: "file:line: " before it, as compilers and other engines say.
    auto [source, line] = m_engine.lastErrorLocation(m_context);
    if (!m_sourceName.empty() && source == m_sourceName && line > 0)
        text = m_sourceName + ":" + std::to_string(line) + ": " + text;
    m_engine.clearException(m_context);
    m_describing = false;
    return text;
}

bool CScriptRunner::evaluate(const std::string& source, std::string* result) {
    if (result)
        result->clear();
    if (!m_context)
        return false;
    std::string marked = markedSource(source);
    Slot value(m_engine, m_context);
    m_evaluating = true;
    bool ok = true;
    try {
        m_engine.evaluateNamed(m_context, m_event, marked.data(), static_cast<long>(marked.size()),
                               value.get(), m_sourceName);
    } catch (const HostError&) {
        ok = false;
    }
    m_evaluating = false;
    // A stop raised while the script ran ended it, whether or not it got to its end.
    if (m_loop.stopRequest().raised()) {
        m_engine.clearException(m_context);
        m_scriptStopped = true;
        return false;
    }
    if (!ok) {
        m_errors << describeException() << std::endl;
        return false;
    }
    if (result && m_engine.valType(value.get()) != kESValUndefined)
        *result = textOf(value.get());
    return true;
}

CScriptRunner::Status CScriptRunner::waitForWork() {
    CStopRequest& stop = m_loop.stopRequest();
    while (!m_callbackFailed && !stop.raised() && m_loop.hasWork())
        g_main_context_iteration(m_loop.context(), TRUE);
    return m_callbackFailed ? kRunFailed : kRunOK;
}

CScriptRunner::Status CScriptRunner::endOfRun(Status status, int timeoutSeconds) {
    m_watchdog.disarm();
    CStopRequest& stop = m_loop.stopRequest();
    CStopRequest::Reason reason = stop.reason();
    bool scriptStopped = std::exchange(m_scriptStopped, false);
    if (reason == CStopRequest::Reason::None)
        return status;
    // What the plug-in does from here on (its notifications, its unload) runs again.
    stop.clear();
    if (reason == CStopRequest::Reason::Interrupted) {
        m_errors << "vellum-host: interrupted" << std::endl;
        return kRunInterrupted;
    }
    if (scriptStopped)
        m_errors << "vellum-host: stopped the script after " << timeoutSeconds << " seconds"
                 << std::endl;
    else
        m_errors << "vellum-host: gave up after " << timeoutSeconds
                 << " seconds with work still pending" << std::endl;
    return kRunTimedOut;
}

CScriptRunner::Status CScriptRunner::run(const std::string& source, int timeoutSeconds) {
    if (!m_context && !open())
        return kRunCannotStart;
    m_watchdog.arm(timeoutSeconds);
    Status status = evaluate(source) ? waitForWork() : kRunFailed;
    return endOfRun(status, timeoutSeconds);
}

CScriptRunner::Status CScriptRunner::console(std::istream& in, bool prompt, int timeoutSeconds) {
    if (!m_context && !open())
        return kRunCannotStart;
    std::string piece;
    std::string line;
    while (true) {
        if (prompt)
            m_out << (piece.empty() ? "> " : "... ") << std::flush;
        // At a terminal, Ctrl-C may come before the read has begun.
        bool interrupted = prompt && m_watchdog.catching() && !m_watchdog.waitForInput(0);
        if (interrupted || !std::getline(in, line)) {
            if (!interrupted && !m_watchdog.takeInterrupt())
                break;
            // Ctrl-C at the prompt drops what was typed. The read it broke left the error mark
            // on standard input's stdio stream as well as on the stream.
            in.clear();
            clearerr(stdin);
            piece.clear();
            if (prompt)
                m_out << std::endl;
            continue;
        }
        piece += line + "\n";
        if (!isComplete(piece))
            continue;
        runPiece(piece, true, timeoutSeconds);
        piece.clear();
    }
    if (!piece.empty()) {
        // The input ended inside an open bracket: what there is runs, and fails as it will.
        runPiece(piece, false, timeoutSeconds);
    }
    if (prompt)
        m_out << std::endl;
    return kRunOK;
}

void CScriptRunner::runPiece(const std::string& piece, bool showValue, int timeoutSeconds) {
    m_callbackFailed = false;
    m_watchdog.arm(timeoutSeconds);
    std::string value;
    Status status = kRunFailed;
    if (evaluate(piece, &value)) {
        if (showValue && !value.empty())
            m_out << value << std::endl;
        status = waitForWork();
    }
    endOfRun(status, timeoutSeconds);
    m_watchdog.takeInterrupt();
}

bool CScriptRunner::isComplete(const std::string& source) {
    int depth = 0;
    char quote = 0;
    bool lineComment = false;
    bool blockComment = false;
    for (size_t i = 0; i < source.size(); ++i) {
        char c = source[i];
        char next = i + 1 < source.size() ? source[i + 1] : '\0';
        if (lineComment) {
            lineComment = c != '\n';
        } else if (blockComment) {
            if (c == '*' && next == '/') {
                blockComment = false;
                ++i;
            }
        } else if (quote) {
            if (c == '\\')
                ++i;
            else if (c == quote || (c == '\n' && quote != '`'))
                quote = 0;
        } else if (c == '/' && next == '/') {
            lineComment = true;
        } else if (c == '/' && next == '*') {
            blockComment = true;
            ++i;
        } else if (c == '"' || c == '\'' || c == '`') {
            quote = c;
        } else if (c == '(' || c == '[' || c == '{') {
            ++depth;
        } else if (c == ')' || c == ']' || c == '}') {
            --depth;
        }
    }
    return depth <= 0 && quote != '`' && !blockComment;
}

int RunScriptFile(CSpiderMonkeyEngine& engine, CMainLoop& loop, const std::string& path,
                  int timeoutSeconds, std::ostream& out, std::ostream& errors) {
    std::error_code error;
    std::ifstream file(path, std::ios::binary);
    std::string source((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    if (!std::filesystem::is_regular_file(path, error) || file.bad() ||
        (!file.good() && !file.eof())) {
        errors << "vellum-host: cannot read " << path << std::endl;
        return CScriptRunner::kRunCannotStart;
    }
    CScriptRunner runner(engine, loop, out, errors);
    runner.catchInterrupts();
    runner.setSourceName(path);
    return runner.run(source, timeoutSeconds);
}

int RunScriptConsole(CSpiderMonkeyEngine& engine, CMainLoop& loop, std::istream& in, bool prompt,
                     int timeoutSeconds, std::ostream& out, std::ostream& errors) {
    CScriptRunner runner(engine, loop, out, errors);
    runner.catchInterrupts();
    return runner.console(in, prompt, timeoutSeconds);
}

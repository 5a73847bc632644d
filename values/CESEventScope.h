// Events, value scopes and contexts a native routine opens for the script it runs.
#pragma once

#include "values/CES.h"

namespace CES {

/// Brackets a value scope of a context: objects handed out inside stay rooted until it ends.
class ValueScope {
public:
    explicit ValueScope(ESContext context);
    ~ValueScope();
    ValueScope(const ValueScope&) = delete;
    ValueScope& operator=(const ValueScope&) = delete;

private:
    ESContext m_context;
};

/// An event of a type and name, the current event of its context from construction until
/// destruction, when the one before it is current again. Script errors inside it go to whoever
/// handles the context's errors: the host, or a Context that the caller holds.
class EventScope {
public:
    EventScope(ESContext context, const char* type, const char* name);
    ~EventScope();
    EventScope(const EventScope&) = delete;
    EventScope& operator=(const EventScope&) = delete;

    /// Makes the event act as that type and name for privilege tests.
    void actAs(const char* type, const char* name);
    /// Runs source (host-encoded or marked UCS) with this event current. A script failure raises
    /// HostError: the error's engine number, or kESErrScript.
    void evaluate(const char* source, long length, Val& result);
    /// The event's script object; the null value when the engine gives none.
    Val object() const;
    /// The event's "result", where dialogs and templates leave what they made.
    Val result() const;

private:
    ESContext m_context;
    ESEvent m_event;
};

/// Runs source in the context with its current event; failures raise HostError as
/// EventScope::evaluate does.
void evaluate(ESContext context, const char* source, long length, Val& result);

/// The engine's current context or, when there is none, a new one of the name that goes when
/// this object goes.
class CurrentOrNewContext {
public:
    explicit CurrentOrNewContext(const char* name);
    ~CurrentOrNewContext();
    CurrentOrNewContext(const CurrentOrNewContext&) = delete;
    CurrentOrNewContext& operator=(const CurrentOrNewContext&) = delete;

    /// Null when no context could be had.
    ESContext get() const { return m_context; }

private:
    ESContext m_context;
    bool m_own;
};

} // namespace CES

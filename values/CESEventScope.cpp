#include "values/CESEventScope.h"

#include "values/CESInternal.h"

using CES::detail::engine;

namespace CES {

ValueScope::ValueScope(ESContext context) : m_context(context) {
    engine().beginScope(context);
}

ValueScope::~ValueScope() {
    engine().endScope(m_context);
}

EventScope::EventScope(ESContext context, const char* type, const char* name)
    : m_context(context), m_event(engine().openEvent(context, type, name)) {}

EventScope::~EventScope() {
    if (m_event)
        engine().closeEvent(m_event);
}

void EventScope::actAs(const char* type, const char* name) {
    if (m_event)
        engine().setEventAs(m_event, type, name);
}

void EventScope::evaluate(const char* source, long length, Val& result) {
    engine().evaluate(m_context, m_event, source, length, result.slot());
}

Val EventScope::object() const {
    Val object(m_context);
    if (ESObject event = m_event ? engine().eventObject(m_event) : nullptr)
        object = event;
    else
        object.setNull();
    return object;
}

Val EventScope::result() const {
    Val result(m_context);
    if (ESObject event = m_event ? engine().eventObject(m_event) : nullptr)
        engine().getProperty(event, "result", result.slot());
    return result;
}

void evaluate(ESContext context, const char* source, long length, Val& result) {
    engine().evaluate(context, nullptr, source, length, result.slot());
}

CurrentOrNewContext::CurrentOrNewContext(const char* name)
    : m_context(engine().defaultContext()), m_own(false) {
    if (!m_context) {
        m_context = engine().newContext(name, nullptr);
        m_own = m_context != nullptr;
    }
}

CurrentOrNewContext::~CurrentOrNewContext() {
    if (m_own)
        engine().destroyContext(m_context);
}

} // namespace CES

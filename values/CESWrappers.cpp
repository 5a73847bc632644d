// The wrappers: contexts and their exception handlers, values, property proxies, iterators, and
// the errors the bridge throws and raises.
#include "values/CESInternal.h"

#include "frame/HostTables.h"
#include "frame/miString.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <map>

namespace CES {

namespace detail {

IScriptEngine& engine() {
    if (!gESHFT)
        raiseInternalException();
    return *gESHFT;
}

void throwPending(const Context& context) {
    if (context.hasException())
        throw context.popException();
    throwInternalException();
}

void raiseReadFailure(const Context& context) {
    if (context.hasException()) {
        // The engine keeps the error as the context's own, and a native method that fails with
        // this code gives it to the script as it was.
        context.popException();
        raiseHostError(kESErrScript);
    }
    raiseHostError(kHostErrGeneral);
}

CEStr ucsString(const char* marked, long length) {
    CEStr s = CEStr::adopt(EStrNewSize(0, kEStrUCS));
    EStrSetBytesWithSize(s, marked, length, kEStrUCS);
    return s;
}

std::string markedName(const std::u16string& units) {
    std::string name = "\xFE\xFF";
    name.reserve(4 + units.size() * 2);
    for (char16_t unit : units) {
        name += static_cast<char>(unit >> 8);
        name += static_cast<char>(unit & 0xFF);
    }
    name.append(2, '\0');
    return name;
}

std::string nameFromText(const char* text) {
    if (!text)
        return "";
    long length = miStrlen(text);
    std::string name(text, static_cast<size_t>(length));
    if (length >= 2 && static_cast<unsigned char>(text[0]) == 0xFE &&
        static_cast<unsigned char>(text[1]) == 0xFF)
        name.append(2, '\0');
    return name;
}

} // namespace detail

using detail::engine;
using detail::guarded;

namespace {

// Every context's handler, by context. Main thread only, as the engine is.
std::map<ESContext, ExceptionHandler*>& handlers() {
    static std::map<ESContext, ExceptionHandler*> map;
    return map;
}

Proxy::Key indexKey(long index) {
    Proxy::Key key;
    if (index >= 0)
        key.index = index;
    else
        key.name = std::to_string(index);
    return key;
}

// The largest array index of the script.
constexpr double kMaxIndex = 4294967294.0;

template <class T> T clampedNumber(double value) {
    if (std::isnan(value))
        return 0;
    if (value <= static_cast<double>(std::numeric_limits<T>::min()))
        return std::numeric_limits<T>::min();
    if (value >= static_cast<double>(std::numeric_limits<T>::max()))
        return std::numeric_limits<T>::max();
    return static_cast<T>(value);
}

} // namespace

// The exception handler.

ExceptionHandler* ExceptionHandler::acquire(ESContext context) {
    auto& map = handlers();
    auto found = map.find(context);
    ExceptionHandler* handler = nullptr;
    if (found != map.end()) {
        handler = found->second;
    } else {
        handler = new ExceptionHandler(context);
        map.emplace(context, handler);
    }
    handler->AddRef();
    return handler;
}

ExceptionHandler::ExceptionHandler(ESContext context)
    : m_context(context), m_exception(std::make_unique<Val>(context)) {
    // While the bridge works in a context its errors are the bridge's; the host's own handler
    // comes back when the last Context of it goes.
    engine().getErrorHandler(context, &m_previousProc, &m_previousData);
    engine().setErrorHandler(context, errorHandler, this);
}

ExceptionHandler::~ExceptionHandler() {
    if (gESHFT)
        gESHFT->setErrorHandler(m_context, m_previousProc, m_previousData);
}

void ExceptionHandler::ReleaseRef() {
    if (--m_refCount > 0)
        return;
    handlers().erase(m_context);
    delete this;
}

Val ExceptionHandler::pop() {
    m_pending = false;
    return *m_exception;
}

void ExceptionHandler::errorHandler(ESContext context, int32_t code, int32_t line,
                                    const char* message, void* handler) {
    auto* self = static_cast<ExceptionHandler*>(handler);
    Val exception(context);
    engine().exceptionValue(context, exception.slot());
    *self->m_exception = exception;
    self->m_pending = true;
    self->m_code = code;
    self->m_line = line;
    self->m_message = message ? message : "";
}

void ExceptionHandler::reportToHost() {
    if (!m_pending)
        return;
    m_pending = false;
    if (m_previousProc)
        m_previousProc(m_context, m_code, m_line, m_message.c_str(), m_previousData);
}

// Contexts.

namespace {

ESContext checkedContext(ESContext context) {
    if (!context)
        throwInternalException();
    return context;
}

} // namespace

Context::Context() : Context(engine().defaultContext()) {}

Context::Context(ESContext context)
    : m_context(checkedContext(context)), m_handler(ExceptionHandler::acquire(context)) {}

Context::Context(ESObject object) : Context(engine().objectContext(object)) {}

Context::Context(ESVal value) : Context(engine().valueContext(value)) {}

Context::Context(const Val& value)
    : Context(engine().valueContext(value.slot()) == value.context() ? value.context() : nullptr) {}

Context::Context(const Context& other) : m_context(other.m_context), m_handler(other.m_handler) {
    m_handler->AddRef();
}

Context& Context::operator=(const Context& other) {
    other.m_handler->AddRef();
    m_handler->ReleaseRef();
    m_context = other.m_context;
    m_handler = other.m_handler;
    return *this;
}

Context::~Context() {
    m_handler->ReleaseRef();
}

Val Context::global() const {
    ESObject global = engine().globalObject(m_context);
    if (!global)
        throwInternalException();
    return Val(global);
}

Val Context::popException() const {
    return m_handler->pop();
}

void Context::clearException() const {
    if (m_context)
        engine().clearException(m_context);
}

// Values: construction.

void Val::adopt(ESVal slot, ESContext context) {
    if (!slot)
        raiseInternalException();
    m_slot = slot;
    m_context = context;
}

Val::Val(const Context& context) : Val(context.get()) {}

Val::Val(ESContext context) {
    adopt(engine().newVal(context), context);
}

Val::Val(ESVal slot) {
    IScriptEngine& es = engine();
    ESVal copy = es.copyVal(slot);
    adopt(copy, copy ? es.valueContext(copy) : nullptr);
}

Val::Val(const Val& other) : Val(other.m_slot) {}

Val::Val(Val&& other) noexcept : m_slot(other.m_slot), m_context(other.m_context) {
    other.m_slot = nullptr;
    other.m_context = nullptr;
}

Val::Val(const Proxy& proxy) : Val(proxy.get()) {}

Val::Val(unsigned short value, const Context& context) : Val(context) {
    engine().setNumber(m_slot, value);
}

Val::Val(bool value, const Context& context) : Val(context) {
    engine().setBool(m_slot, value);
}

Val::Val(long value, const Context& context) : Val(context) {
    engine().setNumber(m_slot, static_cast<double>(value));
}

Val::Val(int value, const Context& context) : Val(static_cast<long>(value), context) {}

Val::Val(unsigned long value, const Context& context) : Val(context) {
    engine().setNumber(m_slot, static_cast<double>(value));
}

Val::Val(double value, const Context& context) : Val(context) {
    engine().setNumber(m_slot, value);
}

Val::Val(const char* text, const Context& context) : Val(context) {
    *this = text;
}

Val::Val(const char* text, long length, const Context& context) : Val(context) {
    if (!guarded([&] { return engine().setString(m_slot, text, length); }))
        throwInternalException();
}

Val::Val(const QsTextRec* text, const Context& context) : Val(context) {
    *this = text;
}

Val::Val(ESObject object) : Val(Context(object)) {
    engine().setObject(m_slot, object);
}

Val::~Val() {
    // A slot of a context that has gone may already serve another context: leave it alone.
    if (m_slot && gESHFT && gESHFT->valueContext(m_slot) == m_context)
        gESHFT->freeVal(m_slot);
}

// Values: assignment.

Val& Val::operator=(const Val& other) {
    if (this == &other)
        return *this;
    if (!m_slot) {
        Val copy(other);
        Swap(copy);
        return *this;
    }
    engine().assignVal(m_slot, other.m_slot);
    return *this;
}

Val& Val::operator=(Val&& other) noexcept {
    Swap(other);
    return *this;
}

Val& Val::operator=(const Proxy& proxy) {
    return *this = proxy.get();
}

Val& Val::operator=(ESVal slot) {
    if (!m_slot)
        return *this = Val(slot);
    engine().assignVal(m_slot, slot);
    return *this;
}

Val& Val::operator=(unsigned short value) {
    engine().setNumber(m_slot, value);
    return *this;
}

Val& Val::operator=(bool value) {
    engine().setBool(m_slot, value);
    return *this;
}

Val& Val::operator=(long value) {
    engine().setNumber(m_slot, static_cast<double>(value));
    return *this;
}

Val& Val::operator=(unsigned long value) {
    engine().setNumber(m_slot, static_cast<double>(value));
    return *this;
}

Val& Val::operator=(double value) {
    engine().setNumber(m_slot, value);
    return *this;
}

Val& Val::operator=(const char* text) {
    if (!guarded([&] { return engine().setString(m_slot, text, -1); }))
        throwInternalException();
    return *this;
}

Val& Val::operator=(const QsTextRec* text) {
    if (!guarded([&] { return engine().setQsText(m_slot, text); }))
        throwInternalException();
    return *this;
}

Val& Val::operator=(ESObject object) {
    engine().setObject(m_slot, object);
    return *this;
}

void Val::Swap(Val& other) noexcept {
    std::swap(m_slot, other.m_slot);
    std::swap(m_context, other.m_context);
}

void Val::setUndefined() {
    engine().setUndefined(m_slot);
}

void Val::setNull() {
    engine().setNull(m_slot);
}

// Values: reading. A host error of the engine is raised on with its code, 1 for none.

namespace {

template <class Fn> auto readGuarded(Fn&& fn) -> decltype(fn()) {
    try {
        return fn();
    } catch (const HostError& error) {
        raiseHostError(error.code ? error.code : kHostErrGeneral);
    }
}

} // namespace

ESValType Val::type() const {
    return readGuarded([&] { return engine().valType(m_slot); });
}

Val::operator bool() const {
    return readGuarded([&] { return engine().readBool(m_slot); });
}

Val::operator double() const {
    Context context(*this);
    double number = 0;
    if (!readGuarded([&] { return engine().readNumber(m_slot, number); }))
        detail::raiseReadFailure(context);
    return number;
}

Val::operator unsigned short() const {
    return clampedNumber<unsigned short>(static_cast<double>(*this));
}

Val::operator long() const {
    return clampedNumber<long>(static_cast<double>(*this));
}

Val::operator unsigned long() const {
    return clampedNumber<unsigned long>(static_cast<double>(*this));
}

CQsText Val::text() const {
    Context context(*this);
    CQsText text;
    if (!readGuarded([&] { return engine().readQsText(m_slot, text.get()); }))
        detail::raiseReadFailure(context);
    return text;
}

std::string Val::hostText() const {
    Context context(*this);
    std::string out;
    if (!readGuarded([&] { return engine().readString(m_slot, false, out); }))
        detail::raiseReadFailure(context);
    return out;
}

Context::Buffer Val::getUCBuffer() const {
    Context context(*this);
    std::string out;
    if (!readGuarded([&] { return engine().readString(m_slot, true, out); }))
        detail::raiseReadFailure(context);
    return Context::Buffer(std::move(out));
}

ESObject Val::object() const {
    return engine().readObject(m_slot);
}

// Values: properties and arrays.

Proxy Val::operator[](const char* name) const {
    Proxy::Key key;
    key.name = detail::nameFromText(name);
    return Proxy(*this, std::move(key));
}

Proxy Val::operator[](const QsTextRec* name) const {
    Proxy::Key key;
    key.name = detail::markedName(name ? name->units : std::u16string());
    return Proxy(*this, std::move(key));
}

Proxy Val::operator[](long index) const {
    return Proxy(*this, indexKey(index));
}

Proxy Val::operator[](int index) const {
    return Proxy(*this, indexKey(index));
}

Proxy Val::operator[](const Val& key) const {
    if (key.type() == kESValNumber) {
        double number = static_cast<double>(key);
        if (number >= 0 && number <= kMaxIndex && std::floor(number) == number)
            return Proxy(*this, indexKey(static_cast<long>(number)));
    }
    Context::Buffer text = key.getUCBuffer();
    Proxy::Key name;
    name.name.assign(text.get(), static_cast<size_t>(text.size()));
    name.name.append(2, '\0');
    return Proxy(*this, std::move(name));
}

bool Val::isFunction() const {
    ESObject held = object();
    return held && engine().isFunction(held);
}

bool Val::isArray() const {
    ESObject held = object();
    return held && engine().isArray(held);
}

long Val::len() const {
    ESObject held = object();
    return held ? engine().arrayLength(held) : 0;
}

// Iteration.

namespace {

bool collectName(const char* name, long length, ESVal, void* data) {
    auto* names = static_cast<std::vector<std::string>*>(data);
    names->emplace_back(name, static_cast<size_t>(length));
    names->back().append(2, '\0');
    return true;
}

} // namespace

Val::const_iterator Val::begin() const {
    const_iterator it;
    it.m_object = std::make_shared<Val>(*this);
    it.m_index = 0;
    if (isArray()) {
        it.m_length = len();
        return it;
    }
    it.m_names = std::make_shared<std::vector<std::string>>();
    ESObject held = object();
    if (held) {
        Context context(*this);
        if (!engine().enumerate(held, collectName, it.m_names.get()))
            detail::throwPending(context);
    }
    return it;
}

Val::const_iterator Val::end() const {
    return const_iterator();
}

Val Val::const_iterator::key() const {
    Context context(*m_object);
    if (!m_names)
        return Val(m_index, context);
    if (m_index < 0 || static_cast<size_t>(m_index) >= m_names->size())
        throwInternalException();
    return Val((*m_names)[static_cast<size_t>(m_index)].c_str(), context);
}

Val Val::const_iterator::value() const {
    if (!m_names)
        return (*m_object)[m_index];
    if (m_index < 0 || static_cast<size_t>(m_index) >= m_names->size())
        throwInternalException();
    return (*m_object)[(*m_names)[static_cast<size_t>(m_index)].c_str()];
}

std::pair<Val, Val> Val::const_iterator::getPair() const {
    return {key(), value()};
}

// Proxies.

Proxy::Proxy(const Val& object, Key key)
    : m_object(object), m_key(std::move(key)), m_context(m_object) {
    if (!m_object.object())
        throwInternalException();
}

Val Proxy::get() const {
    IScriptEngine& es = engine();
    Val out(m_context);
    ESObject object = m_object.object();
    bool ok = guarded([&] {
        return m_key.index >= 0
                   ? es.getElement(object, static_cast<uint32_t>(m_key.index), out.slot())
                   : es.getProperty(object, m_key.name.c_str(), out.slot());
    });
    if (!ok)
        detail::throwPending(m_context);
    return out;
}

const Proxy& Proxy::operator=(const Val& value) const {
    IScriptEngine& es = engine();
    ESObject object = m_object.object();
    bool ok = guarded([&] {
        return m_key.index >= 0
                   ? es.setElement(object, static_cast<uint32_t>(m_key.index), value.slot())
                   : es.setProperty(object, m_key.name.c_str(), value.slot());
    });
    if (!ok)
        detail::throwPending(m_context);
    return *this;
}

bool Proxy::Known() const {
    std::string name = m_key.index >= 0 ? std::to_string(m_key.index) : m_key.name;
    bool known = guarded([&] { return engine().hasProperty(m_object.object(), name.c_str()); });
    if (!known && m_context.hasException())
        detail::throwPending(m_context);
    return known;
}

Val Proxy::call(const std::vector<const Val*>& args, StackHandling handling) const {
    IScriptEngine& es = engine();
    Val function = get();
    ESObject callee = function.object();
    if (!callee || !es.isFunction(callee))
        throwInternalException();
    std::vector<ESVal> slots;
    slots.reserve(args.size());
    for (const Val* arg : args)
        slots.push_back(arg->slot());
    Val result(m_context);
    try {
        es.callFunction(m_object.object(), function.slot(), slots.data(),
                        static_cast<int32_t>(slots.size()), result.slot());
    } catch (const HostError&) {
        if (handling == eKeepException && m_context.hasException())
            return Val(m_context);
        detail::throwPending(m_context);
    }
    return result;
}

Val Proxy::operator()(StackHandling handling) const {
    return call({}, handling);
}

Val Proxy::operator()(const Val& a1, StackHandling handling, bool spread) const {
    if (!spread || !a1.isArray())
        return call({&a1}, handling);
    std::vector<Val> elements;
    long count = a1.len();
    elements.reserve(static_cast<size_t>(count));
    for (long i = 0; i < count; ++i)
        elements.push_back(a1[i]);
    std::vector<const Val*> args;
    for (const Val& element : elements)
        args.push_back(&element);
    return call(args, handling);
}

Val Proxy::operator()(const Val& a1, const Val& a2, StackHandling handling) const {
    return call({&a1, &a2}, handling);
}

Val Proxy::operator()(const Val& a1, const Val& a2, const Val& a3, StackHandling handling) const {
    return call({&a1, &a2, &a3}, handling);
}

Val Proxy::operator()(const Val& a1, const Val& a2, const Val& a3, const Val& a4,
                      StackHandling handling) const {
    return call({&a1, &a2, &a3, &a4}, handling);
}

Val Proxy::operator()(const Val& a1, const Val& a2, const Val& a3, const Val& a4, const Val& a5,
                      StackHandling handling) const {
    return call({&a1, &a2, &a3, &a4, &a5}, handling);
}

Val Proxy::operator()(const Val& a1, const Val& a2, const Val& a3, const Val& a4, const Val& a5,
                      const Val& a6, StackHandling handling) const {
    return call({&a1, &a2, &a3, &a4, &a5, &a6}, handling);
}

Val Proxy::operator()(const Val& a1, const Val& a2, const Val& a3, const Val& a4, const Val& a5,
                      const Val& a6, const Val& a7, StackHandling handling) const {
    return call({&a1, &a2, &a3, &a4, &a5, &a6, &a7}, handling);
}

Val Proxy::operator()(const Val& a1, const Val& a2, const Val& a3, const Val& a4, const Val& a5,
                      const Val& a6, const Val& a7, const Val& a8, StackHandling handling) const {
    return call({&a1, &a2, &a3, &a4, &a5, &a6, &a7, &a8}, handling);
}

Val Proxy::operator()(const Val& a1, const Val& a2, const Val& a3, const Val& a4, const Val& a5,
                      const Val& a6, const Val& a7, const Val& a8, const Val& a9,
                      StackHandling handling) const {
    return call({&a1, &a2, &a3, &a4, &a5, &a6, &a7, &a8, &a9}, handling);
}

Val Proxy::operator()(const Val& a1, const Val& a2, const Val& a3, const Val& a4, const Val& a5,
                      const Val& a6, const Val& a7, const Val& a8, const Val& a9, const Val& a10,
                      StackHandling handling) const {
    return call({&a1, &a2, &a3, &a4, &a5, &a6, &a7, &a8, &a9, &a10}, handling);
}

// Objects and errors.

ESObject docObject(DkDoc doc) {
    return engine().documentObject(doc);
}

Val newObject(const Context& context, const char* className) {
    ESObject object = guarded([&] { return engine().newObject(context, className); });
    if (!object)
        detail::throwPending(context);
    return Val(object);
}

Val newObject(const Context& context, const char* className, const Val& value) {
    ESObject object =
        guarded([&] { return engine().newObjectFrom(context, className, value.slot()); });
    if (!object)
        detail::throwPending(context);
    return Val(object);
}

Val newArray(const Context& context) {
    ESObject array = guarded([&] { return engine().newArray(context, nullptr, 0); });
    if (!array)
        detail::throwPending(context);
    return Val(array);
}

std::string className(ESObject object) {
    const char* name = object ? engine().className(object) : nullptr;
    return name ? name : "";
}

bool isDead(ESObject object) {
    void* dead = nullptr;
    return object && engine().getPrivate(object, "Dead", &dead) && dead;
}

void markDead(ESObject object) {
    if (object)
        engine().setPrivate(object, "Dead", reinterpret_cast<void*>(1));
}

Val getOrCreateGlobalObject(const Context& context, const char* name) {
    Val global = context.global();
    Val existing = global[name];
    if (existing.type() == kESValObject)
        return existing;
    Val made = newObject(context, name);
    global[name] = made;
    return made;
}

Val errorObject(ESObject object, const char* name, const char* message, int32_t code) {
    IScriptEngine& es = engine();
    ESContext context = object ? es.objectContext(object) : es.defaultContext();
    ESObject error = context ? es.newError(context, name, message) : nullptr;
    if (!error)
        throwInternalException();
    if (code)
        es.setPrivate(error, "QsRaiseERRORCODE",
                      reinterpret_cast<void*>(static_cast<intptr_t>(code)));
    return Val(error);
}

void throwInternalException() {
    ESContext context = gESHFT ? gESHFT->defaultContext() : nullptr;
    ESObject error =
        context ? gESHFT->newError(context, "InternalError", "Native wrappers failure.") : nullptr;
    if (!error)
        raiseInternalException();
    Val exception(error);
    Val source("???", Context(context));
    gESHFT->setProperty(error, "fileName", source.slot());
    throw exception;
}

void throwException(const Val& value) {
    throw Val(value);
}

void raiseInternalException() {
    raiseHostError(kHostErrGeneral);
}

void raiseException(const Val& value) {
    int32_t code = kHostErrGeneral;
    if (gESHFT) {
        ESObject object = value.object();
        void* raised = nullptr;
        if (object && gESHFT->getPrivate(object, "QsRaiseERRORCODE", &raised) && raised)
            code = static_cast<int32_t>(reinterpret_cast<intptr_t>(raised));
        gESHFT->throwValue(value.context(), value.slot());
    }
    raiseHostError(code);
}

} // namespace CES

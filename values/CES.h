// The script bridge: everything the plug-in does with script values goes through here.
//
// CES::Val owns one value slot of a context and gives it value semantics; CES::Proxy is a
// property not yet read; CES::Context pairs a context with the handler that keeps its last script
// error. Failures of the wrappers are thrown as CES::Val, the script-level exception of the
// system; at the boundary back into the engine a native method catches it and calls
// raiseException. Around the wrappers, one header a concept: CESConvert.h (script values and
// CAgg), CESStreams.h (script objects over streams), CESCalls.h (guarded calls, safe strings),
// CESTime.h, CESUtil.h (rectangles, colours, typed text), CESArguments.h (reading a native
// method's arguments), CESEventScope.h (events and value scopes) and CESGlobalObject.h (the
// global objects a module defines). Only the bridge touches the engine table itself.
#pragma once

#include "frame/HostError.h"
#include "frame/QsText.h"
#include "frame/host/IScriptEngine.h"
#include "frame/host/ViewerHandles.h"

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace CES {

class Val;
class Proxy;
class Context;

/// What a call does with a script exception: throw it as a Val, or keep it in the context's
/// handler for the caller to take with Context::popException.
enum StackHandling {
    eThrowException,
    eKeepException,
};

/// The keeper of a context's last script error: one per context, shared by every Context of it.
class ExceptionHandler {
public:
    /// The handler of a context, made (and given to the engine) on first use; counted.
    static ExceptionHandler* acquire(ESContext context);
    void AddRef() { ++m_refCount; }
    /// Lowers the count; at zero the handler leaves the engine and is deleted.
    void ReleaseRef();

    bool pending() const { return m_pending; }
    /// Clears the pending flag and gives the error.
    Val pop();
    /// Hands the waiting error to the handler the host had set for the context, as one that no
    /// script caught, and clears the pending flag: for a call from the event loop, whose
    /// failure no script is there to see. Nothing without a waiting error or a host handler.
    void reportToHost();

    /// What the engine calls on a script error in the context.
    static void errorHandler(ESContext context, int32_t code, int32_t line, const char* message,
                             void* handler);

private:
    explicit ExceptionHandler(ESContext context);
    ~ExceptionHandler();

    long m_refCount = 0;
    ESContext m_context;
    ESErrorHandlerProc m_previousProc = nullptr; // the host's, put back when the handler goes
    void* m_previousData = nullptr;
    std::unique_ptr<Val> m_exception;
    bool m_pending = false;
    // The engine's report of the waiting error, passed on as it came.
    int32_t m_code = 0;
    int32_t m_line = 0;
    std::string m_message;
};

/// A script context with its exception handler.
class Context {
public:
    /// The engine's current context.
    Context();
    Context(ESContext context);
    /// The context an object was made in.
    explicit Context(ESObject object);
    /// The context that owns a slot.
    explicit Context(ESVal value);
    explicit Context(const Val& value);
    Context(const Context& other);
    Context& operator=(const Context& other);
    ~Context();

    ESContext get() const { return m_context; }
    operator ESContext() const { return m_context; }
    /// The global object.
    Val global() const;
    /// Whether a script error waits in the handler.
    bool hasException() const { return m_handler->pending(); }
    /// Takes the waiting error.
    Val popException() const;
    /// Drops the engine's own record of the context's last script exception.
    void clearException() const;
    /// Tells the host of the waiting error as of one that no script caught.
    void reportExceptionToHost() const { m_handler->reportToHost(); }

    /// Text that the engine handed out; it goes back when the buffer goes.
    class Buffer {
    public:
        Buffer() = default;
        explicit Buffer(std::string bytes) : m_bytes(std::move(bytes)) {}
        const char* get() const { return m_bytes.c_str(); }
        /// Length in bytes, without the terminator.
        long size() const { return static_cast<long>(m_bytes.size()); }

    private:
        std::string m_bytes;
    };

private:
    ESContext m_context;
    ExceptionHandler* m_handler;
};

/// A script value in a slot of its own.
class Val {
public:
    /// A fresh undefined value.
    explicit Val(const Context& context = Context());
    explicit Val(ESContext context);
    /// A copy of the slot's value in a new slot.
    Val(ESVal slot);
    Val(const Val& other);
    Val(Val&& other) noexcept;
    /// The value of the property.
    Val(const Proxy& proxy);
    Val(unsigned short value, const Context& context);
    Val(bool value, const Context& context);
    Val(long value, const Context& context);
    Val(int value, const Context& context);
    Val(unsigned long value, const Context& context);
    Val(double value, const Context& context);
    /// Host-encoded bytes, or marked UCS ending in a zero unit.
    Val(const char* text, const Context& context);
    /// The same for text of that length in bytes, which may hold zero units.
    Val(const char* text, long length, const Context& context);
    Val(const QsTextRec* text, const Context& context);
    /// The object, in its own context.
    Val(ESObject object);
    virtual ~Val();

    Val& operator=(const Val& other);
    Val& operator=(Val&& other) noexcept;
    Val& operator=(const Proxy& proxy);
    Val& operator=(ESVal slot);
    Val& operator=(unsigned short value);
    Val& operator=(bool value);
    Val& operator=(long value);
    Val& operator=(int value) { return *this = static_cast<long>(value); }
    Val& operator=(unsigned long value);
    Val& operator=(double value);
    Val& operator=(const char* text);
    Val& operator=(const QsTextRec* text);
    Val& operator=(ESObject object);
    void Swap(Val& other) noexcept;
    void setUndefined();
    void setNull();

    // Reading, by the script's own conversions.

    ESValType type() const;
    explicit operator ESValType() const { return type(); }
    explicit operator unsigned short() const;
    explicit operator bool() const;
    explicit operator long() const;
    explicit operator unsigned long() const;
    explicit operator double() const;
    explicit operator CQsText() const { return text(); }
    CQsText text() const;
    /// The text as host-encoded bytes.
    std::string hostText() const;
    /// The text as marked UCS.
    Context::Buffer getUCBuffer() const;

    /// The object held, or null.
    ESObject object() const;
    ESVal slot() const { return m_slot; }
    ESContext context() const { return m_context; }

    // Properties of the object held; a value that holds none throws the internal exception.

    Proxy operator[](const char* name) const;
    Proxy operator[](const QsTextRec* name) const;
    Proxy operator[](long index) const;
    Proxy operator[](int index) const;
    Proxy operator[](const Val& key) const;

    /// False unless it holds an array.
    bool isArray() const;
    /// False unless it holds a function.
    bool isFunction() const;
    /// The array's length; 0 for anything else.
    long len() const;
    long arraySize() const { return len(); }

    class const_iterator;
    const_iterator begin() const;
    const_iterator end() const;

private:
    friend class ExceptionHandler;
    void adopt(ESVal slot, ESContext context);

    ESVal m_slot = nullptr;
    ESContext m_context = nullptr; // the owner, so that a slot it no longer owns is left alone
};

/// A property of an object, read when it is used.
class Proxy {
public:
    /// The key: a name (host-encoded or marked UCS), or an index.
    struct Key {
        std::string name;
        long index = -1;
    };

    Proxy(const Val& object, Key key);
    Proxy(const Proxy& other) = default;

    Val get() const;
    Proxy operator[](const char* name) const { return get()[name]; }
    Proxy operator[](char* name) const { return get()[name]; }
    Proxy operator[](long index) const { return get()[index]; }
    Proxy operator[](int index) const { return get()[index]; }
    Proxy operator[](const Val& key) const { return get()[key]; }
    const Proxy& operator=(const Val& value) const;
    const Proxy& operator=(const Proxy& other) const { return *this = other.get(); }
    /// Whether the object or its prototypes have the property.
    bool Known() const;

    /// Calls the property as a method of the object.
    Val operator()(StackHandling handling = eThrowException) const;
    /// With spread set, an array argument gives its elements as the arguments.
    Val operator()(const Val& a1, StackHandling handling = eThrowException,
                   bool spread = false) const;
    Val operator()(const Val& a1, const Val& a2, StackHandling handling = eThrowException) const;
    Val operator()(const Val& a1, const Val& a2, const Val& a3,
                   StackHandling handling = eThrowException) const;
    Val operator()(const Val& a1, const Val& a2, const Val& a3, const Val& a4,
                   StackHandling handling = eThrowException) const;
    Val operator()(const Val& a1, const Val& a2, const Val& a3, const Val& a4, const Val& a5,
                   StackHandling handling = eThrowException) const;
    Val operator()(const Val& a1, const Val& a2, const Val& a3, const Val& a4, const Val& a5,
                   const Val& a6, StackHandling handling = eThrowException) const;
    Val operator()(const Val& a1, const Val& a2, const Val& a3, const Val& a4, const Val& a5,
                   const Val& a6, const Val& a7, StackHandling handling = eThrowException) const;
    Val operator()(const Val& a1, const Val& a2, const Val& a3, const Val& a4, const Val& a5,
                   const Val& a6, const Val& a7, const Val& a8,
                   StackHandling handling = eThrowException) const;
    Val operator()(const Val& a1, const Val& a2, const Val& a3, const Val& a4, const Val& a5,
                   const Val& a6, const Val& a7, const Val& a8, const Val& a9,
                   StackHandling handling = eThrowException) const;
    Val operator()(const Val& a1, const Val& a2, const Val& a3, const Val& a4, const Val& a5,
                   const Val& a6, const Val& a7, const Val& a8, const Val& a9, const Val& a10,
                   StackHandling handling = eThrowException) const;
    /// Calls with a list of arguments.
    Val call(const std::vector<const Val*>& args, StackHandling handling) const;

    const Val& holder() const { return m_object; }
    const Key& key() const { return m_key; }

private:
    Val m_object;
    Key m_key;
    Context m_context;
};

/// Walks an array by index, or an object by the engine's enumeration of its keys.
class Val::const_iterator {
public:
    const_iterator() = default;
    /// The key (a number for an array, else a string) and the value.
    std::pair<Val, Val> getPair() const;
    Val key() const;
    Val value() const;
    Val operator*() const { return value(); }
    const_iterator& operator++() {
        ++m_index;
        return *this;
    }
    /// Iterators past the last element are all equal.
    bool operator==(const const_iterator& other) const {
        bool done = atEnd();
        bool otherDone = other.atEnd();
        return done || otherDone ? done == otherDone : m_index == other.m_index;
    }
    bool operator!=(const const_iterator& other) const { return !(*this == other); }

private:
    friend class Val;
    bool atEnd() const {
        long count = m_names ? static_cast<long>(m_names->size()) : m_length;
        return m_index < 0 || m_index >= count;
    }

    std::shared_ptr<Val> m_object;
    std::shared_ptr<std::vector<std::string>> m_names; // null for an array
    long m_length = 0;                                 // of an array
    long m_index = -1;                                 // -1: past the end
};

// Objects and errors.

/// The script object of a document, or null.
ESObject docObject(DkDoc doc);
/// A new object of a class, class initialisers run.
Val newObject(const Context& context, const char* className);
/// What the script's constructor of that name makes of one argument.
Val newObject(const Context& context, const char* className, const Val& value);
/// A new empty array.
Val newArray(const Context& context);
/// The name of the object's class ("Object", "Array", "SOAPService"...); empty for null.
std::string className(ESObject object);
/// Whether the native side of the object is gone: its hidden "Dead" flag is set. Methods of a
/// dead object do nothing and answer true.
bool isDead(ESObject object);
/// Sets the object's hidden "Dead" flag.
void markDead(ESObject object);
/// An error object of that name and message in the object's context; a code other than 0 is the
/// host error that raiseException raises for it.
Val errorObject(ESObject object, const char* name, const char* message, int32_t code);
/// Throws, as a Val, an "InternalError" of "Native wrappers failure." in the current context.
[[noreturn]] void throwInternalException();
/// Throws a copy of the value.
[[noreturn]] void throwException(const Val& value);
/// Raises the host's error with code 1.
[[noreturn]] void raiseInternalException();
/// The step back into the engine: throws the value in the running native method and raises the
/// host error of its private "QsRaiseERRORCODE" (1 when there is none).
[[noreturn]] void raiseException(const Val& value);

/// The object held by the global property of that name, made first when the property holds no
/// object: a new object of the class of that name. Modules that share an object (SOAP) reach it
/// this way.
Val getOrCreateGlobalObject(const Context& context, const char* name);

/// Runs the body of a native method; a Val it throws goes back to the script by raiseException.
template <class Fn> bool scriptBoundary(Fn&& body) {
    try {
        return std::forward<Fn>(body)();
    } catch (const Val& exception) {
        raiseException(exception);
    }
}

} // namespace CES

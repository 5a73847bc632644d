// The engine's inside: the records behind the opaque handles, and what the rooms of the adapter
// share. Only the sources of host/script include this header.
//
// Rooting: every slot is a JS::Heap<JS::Value> in a chunk that never moves, and one tracer marks
// the live ones. An object handle is a record reached from its object through a weak map whose
// value is a companion object; the record points back weakly, and the companion's finaliser
// runs the object's finaliser and frees the record. Objects handed out are kept alive by slots
// on the scope stack.
#pragma once

#include "host/script/CSpiderMonkeyEngine.h"

#include <jsapi.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

struct _s_ESValRec {
    JS::Heap<JS::Value> value;
    _s_ESContextRec* owner = nullptr; // null while the slot is free
    _s_ESValRec* nextFree = nullptr;
};

struct _s_ESObjectRec {
    JS::Heap<JSObject*> object;    // weak: moved with the object, null once it dies
    JSObject* indexedAs = nullptr; // the key of its entry in the engine's recordsByObject
    CSpiderMonkeyEngine::Impl* impl = nullptr;
    std::map<std::string, void*> privates;
    ESFinalizeProc finalizer = nullptr;
    int32_t errorNumber = 0; // of an error made by raiseError
};

// A held name: its property key, rooted while its context lives. Atoms never move, so the key's
// bits find the record again from an id the engine hands out.
struct _s_ESNameRec {
    JS::Heap<jsid> id;
    _s_ESContextRec* context = nullptr;
    uintptr_t key = 0; // the bits of id when it was held
    long holds = 0;
};

struct _s_ESEventRec {
    _s_ESContextRec* context = nullptr;
    std::string type;
    std::string name;
    std::string asType;
    std::string asName;
    ESVal object = nullptr;
};

struct SMClassRec;

struct _s_ESContextRec {
    CSpiderMonkeyEngine::Impl* impl = nullptr;
    std::string name;
    DkDoc document = nullptr;
    ESVal global = nullptr;
    ESVal app = nullptr;
    ESVal exception = nullptr;
    bool hasException = false;
    std::vector<std::unique_ptr<_s_ESEventRec>> events; // the last one is current
    std::vector<ESEvent> eventOverrides;                // made current by evaluate
    std::map<std::string, ESVal> prototypes;            // of the engine's classes, by name
    // The engine's class whose object the context made last, and its prototype here: a
    // converter makes thousands of objects of one class in a row.
    SMClassRec* lastClass = nullptr;
    ESVal lastPrototype = nullptr;
    // Held names by the bits of their key.
    std::unordered_map<uintptr_t, std::unique_ptr<_s_ESNameRec>> names;
    ESErrorHandlerProc errorHandler = nullptr;
    void* errorData = nullptr;
    bool inErrorHandler = false;
    std::string lastErrorSource; // where the last script error was raised
    int32_t lastErrorLine = 0;
    int activeCount = 0; // times on the active stack
    bool dead = false;
    bool destroyWhenIdle = false;
};

/// What a native function of the engine dispatches to; kept for the engine's life.
struct SMNativeRec {
    enum Kind { kMethod, kGetter, kSetter };
    CSpiderMonkeyEngine::Impl* impl = nullptr;
    std::string name;
    Kind kind = kMethod;
    void* proc = nullptr; // of the kind's type; a setter without one ignores what it is given
};

/// A class of objects made by newObject, with the initialisers registered for it.
struct SMClassRec {
    std::string name;
    JSClass jsClass{};
    std::vector<ESClassInitProc> inits;
};

struct SMProviderRec {
    CSpiderMonkeyEngine::Impl* impl = nullptr;
    std::string name;
    ESStringProviderProc proc = nullptr;
};

/// One native call in progress: what it hands out is rooted until it returns, and the exception
/// it throws waits here until then.
struct SMFrame {
    ESContext context = nullptr;
    ESVal exception = nullptr;
};

struct _s_ESArgsRec {
    const JS::CallArgs* callArgs = nullptr;
    const SMNativeRec* native = nullptr;
    ESContext context = nullptr;
};

struct CSpiderMonkeyEngine::Impl {
    CSpiderMonkeyEngine* engine = nullptr;
    JSContext* cx = nullptr;
    ICore* core = nullptr;
    IEncodings* encodings = nullptr;
    IUserInterface* ui = nullptr;
    IScriptConsole* console = nullptr;
    std::function<bool()> stopCheck;

    // Slots.
    std::vector<std::unique_ptr<_s_ESValRec[]>> chunks;
    _s_ESValRec* freeList = nullptr;
    size_t liveSlots = 0;
    bool finalizing = false;
    std::vector<ESVal> deferredFrees;

    // Object handles.
    std::unique_ptr<JS::PersistentRootedObject> weakMap;
    std::unordered_set<_s_ESObjectRec*> records;
    // The same records by their objects, so that an object handed out again is found without
    // asking the weak map; kept in step when a major collection moves or frees objects. Each
    // record has one entry at most, which goes before the record does.
    std::unordered_map<JSObject*, _s_ESObjectRec*> recordsByObject;

    // Scopes, active contexts and native calls.
    std::vector<ESVal> scopeRoots;
    std::vector<size_t> scopeMarks;
    std::vector<ESContext> active;
    std::vector<SMFrame> frames;

    // Contexts and what is registered for them.
    std::vector<std::unique_ptr<_s_ESContextRec>> contexts;
    std::vector<ESContextInitProc> contextInits;
    std::vector<ESContextTermProc> contextTerms;
    std::map<std::string, std::unique_ptr<SMClassRec>> classes;
    std::map<std::pair<std::string, void*>, std::unique_ptr<SMNativeRec>> natives;
    std::vector<std::unique_ptr<SMProviderRec>> providers;

    // Slots (SMValues.cpp).
    ESVal allocSlot(ESContext owner);
    void releaseSlot(ESVal slot);
    void releaseSlotsOf(ESContext context);
    void releaseDeferred();
    static void traceSlots(JSTracer* trc, void* data);

    // Contexts, scopes and the active stack (CSpiderMonkeyEngine.cpp).
    void destroyNow(ESContext context, bool collect);
    void endScopeToMark();
    void rootObject(JSObject* object, ESContext owner);
    void pushActive(ESContext context);
    void popActive(ESContext context);
    bool usable(ESContext context) const { return context && !context->dead && !finalizing; }
    bool usable(ESVal slot) const { return slot && slot->owner && !finalizing; }
    /// Runs a procedure of the plug-in in a native scope of the context; what it throws stops
    /// there and makes the answer false.
    template <class Fn> bool runGuarded(ESContext context, Fn&& fn);

    // Object handles (SMObjects.cpp).
    _s_ESObjectRec* recordFor(JS::HandleObject object);
    ESObject handOut(JS::HandleObject object, ESContext owner);
    JSObject* objectOf(ESObject handle) const;
    ESContext contextOf(JSObject* object) const;
    JSObject* globalOf(ESContext context) const;
    static void updateWeakRecords(JSTracer* trc, void* data);
    void finalizeRecord(_s_ESObjectRec* record);
    /// Enters the record in recordsByObject under its object, in place of any entry it had.
    void index(_s_ESObjectRec* record, JSObject* object);
    /// Takes the record's entry out of recordsByObject, if it has one.
    void unindex(_s_ESObjectRec* record);
    void detachRecords();
    SMClassRec& classRec(const std::string& name);
    JSObject* prototypeOf(ESContext context, SMClassRec& rec);
    /// A new object of the class, without its initialisers or a handle; in the context's realm.
    JSObject* makeObject(ESContext context, const std::string& className);
    /// A new object of the class, without its initialisers.
    ESObject createObject(ESContext context, const std::string& className);
    /// Whether initialisers are registered for the class.
    bool hasClassInits(ESContext context, const std::string& className) const;
    /// What the global constructor of that name makes of the arguments; in the context's realm.
    JSObject* construct(ESContext context, const std::string& name,
                        const JS::HandleValueArray& args);
    SMNativeRec* nativeRec(const std::string& name, SMNativeRec::Kind kind, void* proc);
    JSObject* newNativeFunction(JS::HandleId id, SMNativeRec* native);
    void runClassInits(ESContext context, const std::string& className, ESObject object);
    /// Visits each own enumerable property with a name (symbols are left out).
    using EnumVisitor = std::function<bool(JS::HandleId id, ESVal value)>;
    bool enumerateObject(ESObject object, const EnumVisitor& visit);
    /// Leaves a value read into out, unless out went (with its context) while it was read.
    bool storeRead(ESVal out, ESContext owner, JS::HandleValue value);
    /// The name of a property key as units; false for a symbol.
    bool keyUnits(JS::HandleId id, std::u16string& out);

    // Held names (SMNames.cpp).
    /// The name of a handle, or null when its context is not usable.
    _s_ESNameRec* liveName(ESName name) const;
    /// Runs the term procedures on a context going down, and drops its names.
    void endContextNames(ESContext context);

    // Text (SMValues.cpp).
    JSString* newString(const char* text, long length);
    JSString* newString(const std::u16string& units);
    bool readUnits(JSString* string, std::u16string& out);
    std::string hostText(const std::u16string& units) const;
    bool idFromName(const char* name, JS::MutableHandleId id);

    // Failures (SMEvents.cpp).
    int32_t reportFailure(ESContext context);
    [[noreturn]] void raiseFailure(ESContext context);
    JSObject* makeError(ESContext context, const std::u16string& name,
                        const std::u16string& message, int32_t number);
    /// The engine's error of a number, with its own message when none is given.
    JSObject* makeNumberedError(ESContext context, int32_t number, const char* message);
    /// Keeps value as the exception of the running native call, or else of the context.
    void throwFromNative(ESContext context, JS::HandleValue value);
    /// Moves the engine's pending exception to the running native call; answers false.
    bool captureIntoFrame(ESContext context);
    /// The engine number of an error object made by the engine, else 0.
    int32_t errorNumberOf(const JS::Value& exception);
    /// The exception to throw for a host error (0: a plain failure) that ended a native
    /// procedure: the script error that caused it when the context still has that one, else
    /// the engine's error of that number.
    bool exceptionForHostError(ESContext context, int32_t code, JS::MutableHandleValue out);
    void defaultReport(ESContext context, int32_t line, const std::string& message);

    // Calls and events (SMEvents.cpp).
    bool callValue(ESContext context, JS::HandleValue thisValue, JS::HandleValue function,
                   const ESVal* args, int32_t argc, ESVal result);
    /// The live context in which the event is open, or null for an event closed or unknown.
    ESContext eventContext(ESEvent event) const;

    // Host objects (SMHostObjects.cpp).
    bool installHostObjects(ESContext context);
    bool installDateParsing(ESContext context);
    bool installProvider(ESContext context, SMProviderRec& provider);
    IScriptConsole& consoleOut();
};

/// The process's engine context: made on first use on the calling thread, taken down at exit.
JSContext* SMProcessContext();
/// The global whose compartment every context shares, so objects pass between them as they are.
JSObject* SMAnchorGlobal();
/// Makes a new global of the host's global class in the anchor's compartment.
JSObject* SMNewGlobal(JSContext* cx);

/// Scopes a call into native code: marks the scope stack, pushes the context, and undoes both.
class SMNativeScope {
public:
    SMNativeScope(CSpiderMonkeyEngine::Impl& impl, ESContext context);
    ~SMNativeScope();
    SMNativeScope(const SMNativeScope&) = delete;
    SMNativeScope& operator=(const SMNativeScope&) = delete;

private:
    CSpiderMonkeyEngine::Impl& m_impl;
    ESContext m_context;
};

/// The native behind every method, getter and setter the engine adds.
bool SMNativeDispatch(JSContext* cx, unsigned argc, JS::Value* vp);

template <class Fn> bool CSpiderMonkeyEngine::Impl::runGuarded(ESContext context, Fn&& fn) {
    SMNativeScope scope(*this, context);
    try {
        fn();
        return true;
    } catch (...) {
        defaultReport(context, 0, "A procedure of the plug-in failed.");
        return false;
    }
}

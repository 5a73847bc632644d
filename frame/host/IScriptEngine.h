// "ESHFT": the viewer's script engine.
//
// Everything the plug-in does with script goes through this table. Its shape:
//
// - A context (ESContext) is one script environment of the viewer: a global object with the
//   host's objects console, app and event in it. The host makes them; the plug-in's context
//   initialisers run on each.
// - A value slot (ESVal) holds one script value and keeps it alive. A context owns its slots;
//   the plug-in frees them with freeVal, and those it leaves go with their context.
// - An object (ESObject) is a handle that stays the same for one script object for as long as
//   that object lives, so handles compare by identity. A handle does not keep its object alive:
//   the engine roots every object it hands out until the innermost value scope (beginScope,
//   endScope) ends, or, outside any scope, until the call into native code that received it
//   returns; with neither, until the host is next idle. Keep an object longer in a slot.
// - A held name (ESName) is a property name in the engine's own form, made once from text and
//   then used for any number of property reads and writes, so that a name met again is not made
//   again. A context holds it until the last releaseName, or until the context goes: then its
//   names go too, and their handles must not be passed again.
// - Text comes in as host-encoded bytes, or as marked UCS: 0xFE 0xFF, then big-endian 16-bit
//   units. A length of -1 means up to the terminator (a zero byte; a zero unit for marked UCS).
//   Text goes out the same two ways, as the caller asks.
// - Native methods, getters, setters, finalisers and initialisers are plain procedures. They may
//   raise HostError: a method that does so fails in script with the engine's error of that
//   number, or with the script error itself when the code is that of a call of its own that
//   failed; an exception it set first (throwValue, raiseError) wins over both. Nothing a
//   procedure throws ever passes through the engine.
// - Operations that run script report failure by their result; the exception goes to the
//   context's error handler and is kept as the context's exception value. Calls and evaluation
//   instead raise HostError: the error's engine number, or kESErrScript.
#pragma once

#include "frame/QsText.h"
#include "frame/host/ICore.h"
#include "frame/host/IHostTable.h"
#include "frame/host/ViewerHandles.h"

#include <cstdint>
#include <string>

struct _s_ESContextRec;
struct _s_ESValRec;
struct _s_ESObjectRec;
struct _s_ESEventRec;
struct _s_ESArgsRec;
struct _s_ESNameRec;
/// A script context.
using ESContext = _s_ESContextRec*;
/// A value slot owned by a context.
using ESVal = _s_ESValRec*;
/// A script object.
using ESObject = _s_ESObjectRec*;
/// A script event: what a script runs for, seen by scripts as `event`.
using ESEvent = _s_ESEventRec*;
/// The arguments of one call of a native method; valid during that call only.
using ESArgs = _s_ESArgsRec*;
/// A property name held by a context.
using ESName = _s_ESNameRec*;

/// The type of a script value.
enum ESValType : int32_t {
    kESValBoolean = 0,
    kESValNumber = 1,
    kESValObject = 2,
    kESValString = 3,
    kESValUndefined = 4,
    kESValNull = 5,
};

/// Numbers of the engine's own script errors; each also travels as the host error of that code.
enum : int32_t {
    /// "ArgumentError": an argument is missing, unreadable or of no use.
    kESErrBadArgument = 5,
    /// "SecurityError": not allowed for the current event.
    kESErrSecurity = 11,
    /// "DeadObjectError": the native side of the object is gone.
    kESErrDeadObject = 13,
    /// "GeneralError": a failure that the message explains.
    kESErrGeneral = 14,
};
/// The host error of a call or evaluation whose script failed with an error of no engine number.
constexpr int32_t kESErrScript = 0x40000100;

/// Runs on every new script context, now and later.
using ESContextInitProc = void (*)(ESContext context);
/// Runs when a context is taken down, before its slots and names go. It must not use the engine.
using ESContextTermProc = void (*)(ESContext context);
/// Runs whenever an object of a script class is created.
using ESClassInitProc = void (*)(ESContext context, ESObject object);
/// Answers a named text: sets out to the text of key; true when it did.
using ESStringProviderProc = bool (*)(const char* key, QsTextRec* out);

/// A native method: `self` is the object it was called on (null when `this` is no object); it
/// leaves its value in `result` (undefined to start with). False or a raised HostError fails the
/// call in script.
using ESMethodProc = bool (*)(ESContext context, ESObject self, ESArgs args, ESVal result);
/// A native property getter; it leaves the value in `result`.
using ESGetterProc = bool (*)(ESContext context, ESObject self, ESVal result);
/// A native property setter; `value` is what the script assigned.
using ESSetterProc = bool (*)(ESContext context, ESObject self, ESVal value);
/// Runs when an object is collected. Only the object's private data may be used, read and
/// removed; everything else of the engine refuses to work on a dying object.
using ESFinalizeProc = void (*)(ESObject object);
/// One property of an enumeration: the name as marked UCS bytes, and the value, valid during the
/// call only. False stops the enumeration.
using ESEnumProc = bool (*)(const char* name, long nameLength, ESVal value, void* data);
/// The same, with the name as an atom of its host-encoded text.
using ESEnumAtomProc = bool (*)(QsAtom name, ESVal value, void* data);
/// One property of an enumeration by held names: the handle when the context asked about holds
/// the name, with no text (null, 0); otherwise a null handle and the name's text in the form
/// asked for. Valid during the call only. False stops the enumeration.
using ESEnumNameProc = bool (*)(ESName name, const char* text, long textLength, ESVal value,
                                void* data);
/// Told of each script error in a context: the engine's error number (0 for others), the line,
/// and the message in host encoding. The exception itself is the context's exception value.
using ESErrorHandlerProc = void (*)(ESContext context, int32_t code, int32_t line,
                                    const char* message, void* data);

/// One parameter of a native method, for parseArgs.
struct ESParamRec {
    const char* name;
    bool required;
};

/// An event identity for the privilege query; a list ends with the pair of null atoms.
struct ESEventPair {
    QsAtom type;
    QsAtom name;
};

class IScriptEngine : public IHostTable {
public:
    // Registration.

    virtual void registerContextInit(ESContextInitProc proc) = 0;
    /// Runs on objects of the class made from now on, and on the host's own live ones ("App").
    virtual void registerClassInit(ESClassInitProc proc, const char* className) = 0;
    /// Makes a global object of that name in every context, now and later, whose properties
    /// are the provider's texts by key.
    virtual void registerStringProvider(const char* name, ESStringProviderProc proc) = 0;
    /// Runs on every context taken down from now on; registering a procedure again does nothing.
    virtual void registerContextTerm(ESContextTermProc proc) = 0;

    // Contexts.

    /// A new context named for what it runs ("App", "Doc", "Console"), tied to a document or
    /// not; the host objects are made and the context initialisers run on it.
    virtual ESContext newContext(const char* name, DkDoc document) = 0;
    /// Takes a context down; its slots and events go with it. A running context goes when its
    /// last call returns.
    virtual void destroyContext(ESContext context) = 0;
    /// The context of the innermost running call or entered context, else the first made.
    virtual ESContext defaultContext() = 0;
    /// The context that owns a slot.
    virtual ESContext valueContext(ESVal value) = 0;
    /// The context in which an object was made; null when it is gone.
    virtual ESContext objectContext(ESObject object) = 0;
    virtual ESObject globalObject(ESContext context) = 0;
    /// The document a context belongs to, or null.
    virtual DkDoc contextDocument(ESContext context) = 0;
    /// The script object of a document: the global object of its context, or null.
    virtual ESObject documentObject(DkDoc document) = 0;
    /// Makes the context the default one until the matching leaveContext.
    virtual void enterContext(ESContext context) = 0;
    virtual void leaveContext(ESContext context) = 0;

    // Value scopes.

    /// Objects handed out from here to the matching endScope are rooted until then.
    virtual void beginScope(ESContext context) = 0;
    virtual void endScope(ESContext context) = 0;

    // Slots.

    /// A new slot holding undefined.
    virtual ESVal newVal(ESContext context) = 0;
    /// A new slot of the same context holding the same value.
    virtual ESVal copyVal(ESVal value) = 0;
    virtual void freeVal(ESVal value) = 0;
    /// Sets target to the value of source.
    virtual void assignVal(ESVal target, ESVal source) = 0;

    // Making values: each is a new slot.

    virtual ESVal makeBool(ESContext context, bool value) = 0;
    virtual ESVal makeNumber(ESContext context, double value) = 0;
    virtual ESVal makeInt(ESContext context, int32_t value) = 0;
    virtual ESVal makeString(ESContext context, const char* text, long length) = 0;
    virtual ESVal makeQsText(ESContext context, const QsTextRec* text) = 0;
    virtual ESVal makeObject(ESContext context, ESObject object) = 0;

    // Reading values. Conversions follow the script's own rules and may run script; a failed
    // one answers false.

    virtual ESValType valType(ESVal value) = 0;
    virtual bool readBool(ESVal value) = 0;
    virtual bool readNumber(ESVal value, double& out) = 0;
    /// The number truncated to 32 bits, as script does for integers.
    virtual bool readInt(ESVal value, int32_t& out) = 0;
    /// The text as marked UCS (ucs) or host-encoded bytes; unmappable units become "?".
    virtual bool readString(ESVal value, bool ucs, std::string& out) = 0;
    virtual bool readQsText(ESVal value, QsTextRec* out) = 0;
    /// The object a slot holds, or null when it holds none.
    virtual ESObject readObject(ESVal value) = 0;

    // Setting values.

    virtual void setBool(ESVal value, bool b) = 0;
    virtual void setNumber(ESVal value, double number) = 0;
    virtual bool setString(ESVal value, const char* text, long length) = 0;
    /// Sets a string of characters below 128 given one a byte, each the character of that code,
    /// whatever the host's encoding; no conversion is needed. Fails for any byte of 128 or more.
    virtual bool setASCIIString(ESVal value, const char* text, long length) = 0;
    virtual bool setQsText(ESVal value, const QsTextRec* text) = 0;
    virtual void setObject(ESVal value, ESObject object) = 0;
    virtual void setUndefined(ESVal value) = 0;
    virtual void setNull(ESVal value) = 0;

    // Properties, by name (host-encoded or marked UCS) or by index. A missing property reads as
    // undefined.

    virtual bool getProperty(ESObject object, const char* name, ESVal out) = 0;
    virtual bool setProperty(ESObject object, const char* name, ESVal value) = 0;
    virtual bool deleteProperty(ESObject object, const char* name) = 0;
    /// Whether the object or its prototypes have the property.
    virtual bool hasProperty(ESObject object, const char* name) = 0;
    virtual bool getElement(ESObject object, uint32_t index, ESVal out) = 0;
    virtual bool setElement(ESObject object, uint32_t index, ESVal value) = 0;
    /// Calls proc for each own enumerable property, in the engine's order.
    virtual bool enumerate(ESObject object, ESEnumProc proc, void* data) = 0;
    virtual bool enumerateAtoms(ESObject object, ESEnumAtomProc proc, void* data) = 0;

    // Held names.

    /// Holds the property name of that text (host-encoded or marked UCS, with a length as for
    /// text) in the context. Texts that name the same property ("1" and marked "1") give the same
    /// handle, held once more each time. Null for null text or a context that is gone.
    virtual ESName holdName(ESContext context, const char* text, long length) = 0;
    /// Lets go of one hold; the name goes with the last one.
    virtual void releaseName(ESName name) = 0;
    /// The name's text as marked UCS (ucs) or host-encoded bytes.
    virtual bool readName(ESName name, bool ucs, std::string& out) = 0;
    /// getProperty and setProperty by a held name; it works on objects of any context.
    virtual bool getNamed(ESObject object, ESName name, ESVal out) = 0;
    virtual bool setNamed(ESObject object, ESName name, ESVal value) = 0;
    /// enumerate, giving the handle of each name that context holds, and the others' text as
    /// marked UCS (ucs) or host-encoded bytes.
    virtual bool enumerateNamed(ESObject object, ESContext context, bool ucs, ESEnumNameProc proc,
                                void* data) = 0;

    // Private data: kept natively beside the object, by name; scripts never see it.

    virtual void setPrivate(ESObject object, const char* name, void* data) = 0;
    /// False when the object has no private data of that name.
    virtual bool getPrivate(ESObject object, const char* name, void** data) = 0;
    virtual void removePrivate(ESObject object, const char* name) = 0;

    // Native members.

    virtual bool addMethod(ESObject object, const char* name, ESMethodProc proc) = 0;
    /// A property that scripts can read but not change or delete.
    virtual bool addReadOnlyProperty(ESObject object, const char* name, ESVal value) = 0;
    /// A property read and written by procedures; without a setter, assignments are ignored.
    virtual bool addAccessor(ESObject object, const char* name, ESGetterProc getter,
                             ESSetterProc setter) = 0;
    /// Replaces the object's finaliser.
    virtual void setFinalizer(ESObject object, ESFinalizeProc proc) = 0;

    // Arguments of a native method.

    virtual int32_t argCount(ESArgs args) = 0;
    /// Copies argument index into out; undefined past the last.
    virtual bool getArg(ESArgs args, int32_t index, ESVal out) = 0;
    /// Reads the arguments by position, or by name from the properties of a single object
    /// argument that has at least one of the names. Each out slot gets its argument or
    /// undefined. A required one missing raises the bad-argument error and answers false.
    virtual bool parseArgs(ESArgs args, const ESParamRec* params, int32_t count, ESVal* out) = 0;
    /// The name under which the running method was added.
    virtual const char* methodName(ESArgs args) = 0;

    // Classes and arrays.

    /// A new object of the class; class initialisers run. "Object" (or null) and the names of
    /// the script's own classes ("Array", "Date", "String", "Error"...) give what their
    /// constructor makes without arguments; any other name is a class of the engine's.
    virtual ESObject newObject(ESContext context, const char* className) = 0;
    /// What the script's own constructor of that name makes of one argument, as
    /// `new String(value)`; null when there is no such constructor or it fails.
    virtual ESObject newObjectFrom(ESContext context, const char* constructorName,
                                   ESVal argument) = 0;
    virtual const char* className(ESObject object) = 0;
    virtual ESObject newArray(ESContext context, const ESVal* values, long count) = 0;
    /// A new object of the class, as newObject makes it, with each name (held by the context) set
    /// in turn to the value beside it, left in out: one call for a whole object, which gets no
    /// handle of its own. False when it could not be made or a property could not be set.
    virtual bool newObjectWithProperties(ESContext context, const char* className,
                                         const ESName* names, const ESVal* values, long count,
                                         ESVal out) = 0;
    virtual bool isArray(ESObject object) = 0;
    /// The length of an array; 0 for anything else.
    virtual long arrayLength(ESObject object) = 0;
    virtual bool isFunction(ESObject object) = 0;

    // Calls and evaluation. Script errors raise HostError (see the top of this file).

    /// Calls the named method of self; false when it has no such function.
    virtual bool callMethod(ESObject self, const char* name, const ESVal* args, int32_t argc,
                            ESVal result) = 0;
    /// Calls a function value with self (or null) as `this`; false when it is not a function.
    virtual bool callFunction(ESObject self, ESVal function, const ESVal* args, int32_t argc,
                              ESVal result) = 0;
    /// Runs source in the context with event as the current event (null: the current one).
    virtual void evaluate(ESContext context, ESEvent event, const char* source, long length,
                          ESVal result) = 0;

    // Events.

    /// A new event of that type and name, current in its context until closed. Its object has
    /// "type", "name", "target" (null) and "result" (undefined).
    virtual ESEvent openEvent(ESContext context, const char* type, const char* name) = 0;
    /// Ends the event; the one before it is current again.
    virtual void closeEvent(ESEvent event) = 0;
    virtual ESObject eventObject(ESEvent event) = 0;
    /// The type and name the event acts as ("asType", "asName"), hidden from scripts.
    virtual void setEventAs(ESEvent event, const char* asType, const char* asName) = 0;
    /// The context's current event, or null.
    virtual ESEvent currentEvent(ESContext context) = 0;
    /// The type the event acts as: its "asType" when set, else its own.
    virtual const char* eventType(ESEvent event) = 0;
    virtual const char* eventName(ESEvent event) = 0;
    /// Whether the context's current event acts as one of the pairs.
    virtual bool isCurrentEventOneOf(ESContext context, const ESEventPair* pairs) = 0;

    // Errors and exceptions.

    virtual void setErrorHandler(ESContext context, ESErrorHandlerProc proc, void* data) = 0;
    /// The handler set for the context, so that one who sets another can put it back; false
    /// (with null out) when there is none.
    virtual bool getErrorHandler(ESContext context, ESErrorHandlerProc* proc, void** data) = 0;
    /// Copies the context's last script exception into out; false when there is none.
    virtual bool exceptionValue(ESContext context, ESVal out) = 0;
    virtual void clearException(ESContext context) = 0;
    /// A new error object of that name and message, for a native method to throw.
    virtual ESObject newError(ESContext context, const char* name, const char* message) = 0;
    /// Throws the value from the running native method, when it returns.
    virtual void throwValue(ESContext context, ESVal value) = 0;
    /// Throws the engine's error of that number, with the message or its own.
    virtual void raiseError(ESContext context, int32_t number, const char* message) = 0;
};

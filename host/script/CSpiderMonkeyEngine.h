// The reference host's script engine: the "ESHFT" table over SpiderMonkey 102.
//
// This header shows no engine type; everything SpiderMonkey lives behind Impl, in the sources of
// this folder. The process has one engine runtime, on the thread that first makes an engine;
// each CSpiderMonkeyEngine keeps its own contexts, slots and registrations on it.
#pragma once

#include "frame/host/HostTableIds.h"
#include "frame/host/IScriptEngine.h"

#include <functional>
#include <memory>

class ICore;
class IEncodings;
class IUserInterface;
class IScriptConsole;

class CSpiderMonkeyEngine final : public IScriptEngine {
public:
    CSpiderMonkeyEngine();
    ~CSpiderMonkeyEngine() override;
    CSpiderMonkeyEngine(const CSpiderMonkeyEngine&) = delete;
    CSpiderMonkeyEngine& operator=(const CSpiderMonkeyEngine&) = delete;

    int32_t hftVersion() const override { return kESHFTTable.version; }

    // Host set-up.

    /// The atom table, for enumeration by atoms and the privilege query.
    void setCore(ICore* core);
    /// The converter for host-encoded text; without one, host text is UTF-8.
    void setEncodings(IEncodings* encodings);
    /// Where app.alert and app.response go; without one, alerts are printed to the console.
    void setUserInterface(IUserInterface* ui);
    /// Where console output goes; without one, standard output.
    void setConsole(IScriptConsole* console);
    /// A full collection that also moves objects: for tests of rooting.
    void collectGarbage();
    /// Number of slots alive in all contexts.
    size_t liveSlotCount() const;
    /// Number of names held in all live contexts.
    size_t heldNameCount() const;
    /// Lets go of the objects handed out outside any scope or native call, which are otherwise
    /// kept until their context goes. The host calls it when it is idle; while anything runs it
    /// does nothing.
    void dropLooseRoots();

    /// What the engine asks when it checks for interrupts: while the answer is true, running
    /// script ends with an uncatchable termination (no catch or finally of the script runs).
    void setStopCheck(std::function<bool()> check);
    /// Makes the engine check for interrupts soon. Safe to call from any thread.
    void requestInterrupt();
    /// evaluate, with the source named sourceName in error reports (a script file's path) rather
    /// than after the context.
    void evaluateNamed(ESContext context, ESEvent event, const char* source, long length,
                       ESVal result, const std::string& sourceName);
    /// Where the context's last script error was raised: the name of the source and the line,
    /// or an empty name and 0 when the engine did not say.
    std::pair<std::string, int32_t> lastErrorLocation(ESContext context) const;

    // The table.

    void registerContextInit(ESContextInitProc proc) override;
    void registerClassInit(ESClassInitProc proc, const char* className) override;
    void registerStringProvider(const char* name, ESStringProviderProc proc) override;
    void registerContextTerm(ESContextTermProc proc) override;

    ESContext newContext(const char* name, DkDoc document) override;
    void destroyContext(ESContext context) override;
    ESContext defaultContext() override;
    ESContext valueContext(ESVal value) override;
    ESContext objectContext(ESObject object) override;
    ESObject globalObject(ESContext context) override;
    DkDoc contextDocument(ESContext context) override;
    ESObject documentObject(DkDoc document) override;
    void enterContext(ESContext context) override;
    void leaveContext(ESContext context) override;

    void beginScope(ESContext context) override;
    void endScope(ESContext context) override;

    ESVal newVal(ESContext context) override;
    ESVal copyVal(ESVal value) override;
    void freeVal(ESVal value) override;
    void assignVal(ESVal target, ESVal source) override;

    ESVal makeBool(ESContext context, bool value) override;
    ESVal makeNumber(ESContext context, double value) override;
    ESVal makeInt(ESContext context, int32_t value) override;
    ESVal makeString(ESContext context, const char* text, long length) override;
    ESVal makeQsText(ESContext context, const QsTextRec* text) override;
    ESVal makeObject(ESContext context, ESObject object) override;

    ESValType valType(ESVal value) override;
    bool readBool(ESVal value) override;
    bool readNumber(ESVal value, double& out) override;
    bool readInt(ESVal value, int32_t& out) override;
    bool readString(ESVal value, bool ucs, std::string& out) override;
    bool readQsText(ESVal value, QsTextRec* out) override;
    ESObject readObject(ESVal value) override;

    void setBool(ESVal value, bool b) override;
    void setNumber(ESVal value, double number) override;
    bool setString(ESVal value, const char* text, long length) override;
    bool setASCIIString(ESVal value, const char* text, long length) override;
    bool setQsText(ESVal value, const QsTextRec* text) override;
    void setObject(ESVal value, ESObject object) override;
    void setUndefined(ESVal value) override;
    void setNull(ESVal value) override;

    bool getProperty(ESObject object, const char* name, ESVal out) override;
    bool setProperty(ESObject object, const char* name, ESVal value) override;
    bool deleteProperty(ESObject object, const char* name) override;
    bool hasProperty(ESObject object, const char* name) override;
    bool getElement(ESObject object, uint32_t index, ESVal out) override;
    bool setElement(ESObject object, uint32_t index, ESVal value) override;
    bool enumerate(ESObject object, ESEnumProc proc, void* data) override;
    bool enumerateAtoms(ESObject object, ESEnumAtomProc proc, void* data) override;

    ESName holdName(ESContext context, const char* text, long length) override;
    void releaseName(ESName name) override;
    bool readName(ESName name, bool ucs, std::string& out) override;
    bool getNamed(ESObject object, ESName name, ESVal out) override;
    bool setNamed(ESObject object, ESName name, ESVal value) override;
    bool enumerateNamed(ESObject object, ESContext context, bool ucs, ESEnumNameProc proc,
                        void* data) override;

    void setPrivate(ESObject object, const char* name, void* data) override;
    bool getPrivate(ESObject object, const char* name, void** data) override;
    void removePrivate(ESObject object, const char* name) override;

    bool addMethod(ESObject object, const char* name, ESMethodProc proc) override;
    bool addReadOnlyProperty(ESObject object, const char* name, ESVal value) override;
    bool addAccessor(ESObject object, const char* name, ESGetterProc getter,
                     ESSetterProc setter) override;
    void setFinalizer(ESObject object, ESFinalizeProc proc) override;

    int32_t argCount(ESArgs args) override;
    bool getArg(ESArgs args, int32_t index, ESVal out) override;
    bool parseArgs(ESArgs args, const ESParamRec* params, int32_t count, ESVal* out) override;
    const char* methodName(ESArgs args) override;

    ESObject newObject(ESContext context, const char* className) override;
    ESObject newObjectFrom(ESContext context, const char* constructorName, ESVal argument) override;
    const char* className(ESObject object) override;
    ESObject newArray(ESContext context, const ESVal* values, long count) override;
    bool newObjectWithProperties(ESContext context, const char* className, const ESName* names,
                                 const ESVal* values, long count, ESVal out) override;
    bool isArray(ESObject object) override;
    long arrayLength(ESObject object) override;
    bool isFunction(ESObject object) override;

    bool callMethod(ESObject self, const char* name, const ESVal* args, int32_t argc,
                    ESVal result) override;
    bool callFunction(ESObject self, ESVal function, const ESVal* args, int32_t argc,
                      ESVal result) override;
    void evaluate(ESContext context, ESEvent event, const char* source, long length,
                  ESVal result) override;

    ESEvent openEvent(ESContext context, const char* type, const char* name) override;
    void closeEvent(ESEvent event) override;
    ESObject eventObject(ESEvent event) override;
    void setEventAs(ESEvent event, const char* asType, const char* asName) override;
    ESEvent currentEvent(ESContext context) override;
    const char* eventType(ESEvent event) override;
    const char* eventName(ESEvent event) override;
    bool isCurrentEventOneOf(ESContext context, const ESEventPair* pairs) override;

    void setErrorHandler(ESContext context, ESErrorHandlerProc proc, void* data) override;
    bool getErrorHandler(ESContext context, ESErrorHandlerProc* proc, void** data) override;
    bool exceptionValue(ESContext context, ESVal out) override;
    void clearException(ESContext context) override;
    ESObject newError(ESContext context, const char* name, const char* message) override;
    void throwValue(ESContext context, ESVal value) override;
    void raiseError(ESContext context, int32_t number, const char* message) override;

    struct Impl;

private:
    std::unique_ptr<Impl> m_impl;
};

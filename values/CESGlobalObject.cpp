#include "values/CESGlobalObject.h"

#include "frame/HostTables.h"
#include "values/CESInternal.h"

using CES::detail::engine;

namespace CES {

void defineGlobalObject(ESContext context, const char* name,
                        std::initializer_list<Member> members) {
    try {
        ESObject object = getOrCreateGlobalObject(context, name).object();
        IScriptEngine& es = engine();
        for (const Member& member : members) {
            if (member.method)
                es.addMethod(object, member.name, member.method);
            else
                es.addAccessor(object, member.name, member.getter, member.setter);
        }
    } catch (const Val&) {
    } catch (const HostError&) {
    }
}

bool registerContextInit(ESContextInitProc proc) {
    if (!gESHFT)
        return false;
    gESHFT->registerContextInit(proc);
    return true;
}

bool registerClassInit(ESClassInitProc proc, const char* className) {
    if (!gESHFT)
        return false;
    gESHFT->registerClassInit(proc, className);
    return true;
}

bool registerStringProvider(const char* name, ESStringProviderProc proc) {
    if (!gESHFT)
        return false;
    gESHFT->registerStringProvider(name, proc);
    return true;
}

} // namespace CES

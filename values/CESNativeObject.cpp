#include "values/CESNativeObject.h"

#include "frame/HostTables.h"
#include "frame/QsCore.h"
#include "values/CESInternal.h"

#include <vector>

using CES::detail::engine;

namespace CES {

Val newNativeObject(const Context& context, const char* className,
                    std::initializer_list<Member> methods, const char* hiddenName, void* data,
                    ESFinalizeProc finalizer) {
    Val object = newObject(context, className);
    IScriptEngine& es = engine();
    for (const Member& member : methods) {
        if (!es.addMethod(object.object(), member.name, member.method))
            throwInternalException();
    }
    es.setPrivate(object.object(), hiddenName, data);
    es.setFinalizer(object.object(), finalizer);
    return object;
}

void* hiddenMember(ESObject object, const char* name) {
    void* data = nullptr;
    if (!gESHFT || !object || !gESHFT->getPrivate(object, name, &data))
        return nullptr;
    return data;
}

void clearHiddenMember(ESObject object, const char* name) {
    if (gESHFT && object)
        gESHFT->removePrivate(object, name);
}

bool isCurrentEventOneOf(ESContext context,
                         std::initializer_list<std::pair<const char*, const char*>> events) {
    std::vector<ESEventPair> pairs;
    for (const auto& [type, name] : events)
        pairs.push_back({QsAtomFromString(type), QsAtomFromString(name)});
    // The list ends with the pair of null atoms.
    pairs.push_back({0xFFFF, 0xFFFF});
    return engine().isCurrentEventOneOf(context, pairs.data());
}

} // namespace CES

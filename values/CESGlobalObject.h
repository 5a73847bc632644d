// The global objects a module gives every script context, and the hooks that put them there.
#pragma once

#include "values/CES.h"

#include <initializer_list>

namespace CES {

/// A native member of a global object: a method, or a property read and written by procedures.
struct Member {
    const char* name;
    ESMethodProc method = nullptr;
    ESGetterProc getter = nullptr;
    ESSetterProc setter = nullptr;
};
/// A method of that name.
constexpr Member method(const char* name, ESMethodProc proc) {
    return Member{name, proc, nullptr, nullptr};
}
/// A property of that name; without a setter, assignments are ignored.
constexpr Member accessor(const char* name, ESGetterProc getter, ESSetterProc setter = nullptr) {
    return Member{name, nullptr, getter, setter};
}

/// Gets or creates the context's global object of that name (an object of the class of that
/// name) and adds the members in the order given, which is the order scripts see them in.
/// Modules that share an object (SOAP) each add their own members. A context that cannot take
/// the object goes without it: failures end here, since a context initialiser has no caller to
/// tell.
void defineGlobalObject(ESContext context, const char* name, std::initializer_list<Member> members);

/// Has proc run on every script context, now and later; false when the host has no engine.
bool registerContextInit(ESContextInitProc proc);
/// Has proc run on every object of the class made from now on, and on the host's own live
/// ones; false when the host has no engine.
bool registerClassInit(ESClassInitProc proc, const char* className);
/// Makes a global object of that name in every context whose properties are the provider's
/// texts by key; false when the host has no engine.
bool registerStringProvider(const char* name, ESStringProviderProc proc);

} // namespace CES

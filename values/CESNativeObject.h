// Script objects whose state lives on the native side: their methods, a hidden member that
// points to that state, and the finaliser that frees it; and the privilege test of the current
// event.
#pragma once

#include "values/CES.h"
#include "values/CESGlobalObject.h"

#include <initializer_list>
#include <utility>

namespace CES {

/// A new object of the class with the native methods added in order, data kept under the
/// hidden member of that name (no script can see or change it), and the finaliser run when the
/// object is collected.
Val newNativeObject(const Context& context, const char* className,
                    std::initializer_list<Member> methods, const char* hiddenName, void* data,
                    ESFinalizeProc finalizer);
/// The data under the object's hidden member; null when there is none. Usable in a finaliser.
void* hiddenMember(ESObject object, const char* name);
/// Removes the object's hidden member. Usable in a finaliser.
void clearHiddenMember(ESObject object, const char* name);

/// Whether the context's current event is one of the (type, name) pairs.
bool isCurrentEventOneOf(ESContext context,
                         std::initializer_list<std::pair<const char*, const char*>> events);

} // namespace CES

// The discovery methods of the SOAP script object: queryServices and resolveService, and the
// result objects they give.
#pragma once

#include "frame/host/IScriptEngine.h"

/// SOAP.queryServices(cType, oAsync, aDomains): browses; oAsync hears addServices and
/// removeServices. A "DiscoveryQuery" object.
bool JSDiscoveryQueryServices(ESContext context, ESObject self, ESArgs args, ESVal result);
/// SOAP.resolveService(cType, cDomain, cService, oResult): resolves one instance; oResult
/// hears resolve. A "DiscoveryResolve" object.
bool JSDiscoveryResolveService(ESContext context, ESObject self, ESArgs args, ESVal result);

// vellum-host discover: browse for services of a type, or resolve one instance, through the
// plug-in's SOAP.queryServices and SOAP.resolveService, and print what is found.
#pragma once

#include <iosfwd>
#include <string>

class CReferenceHost;

/// What to discover: a type ("http"), the domain ("local." for the local link, any other for
/// unicast in the resolver's default domain) and, to resolve, the instance's name.
struct DiscoverRequest {
    std::string type;
    std::string domain = "local.";
    std::string resolveName;
};

/// A browse prints "+ NAME  TYPE  DOMAIN" or "- ..." as instances come and go, for
/// timeoutSeconds (0: until Ctrl-C), and ends with status 0. A resolve prints "NAME TARGET:PORT"
/// and a "KEY=VALUE" line for each other pair of the answer, and ends with status 0, or 1 when
/// the resolve gave no answer; it waits at most timeoutSeconds. 2 when the plug-in cannot start,
/// 130 after Ctrl-C.
int RunDiscover(CReferenceHost& host, const std::string& plugin, const DiscoverRequest& request,
                int timeoutSeconds, std::ostream& out, std::ostream& errors);

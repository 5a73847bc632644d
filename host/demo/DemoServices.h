// The demo's sample SOAP services, as one handler of the demo's HTTP server:
//
//   GET  /echo.wsdl     the WSDL of the echo service (rpc/encoded, SOAP 1.1)
//   GET  /literal.wsdl  the WSDL of the greeting service (document/literal, SOAP 1.1)
//   POST /echo          rpc/encoded: echoString(inputString), addNumbers(a, b), serverInfo()
//   POST /literal       document/literal: greet with a name
//   POST /fault         answers every call with a SOAP fault
//   GET  /feeds/...     two sample feeds (host/demo/DemoFeeds.h)
//
// The services read the request envelope (SOAP 1.1 or 1.2) and answer in the same version.
#pragma once

#include "host/web/LoopbackHTTP.h"

#include <string>

/// The echo service's namespace.
inline constexpr const char* kDemoEchoNamespace = "urn:vellum-demo:echo";
/// The greeting service's namespace.
inline constexpr const char* kDemoLiteralNamespace = "urn:vellum-demo:literal";

/// Answers one request; base is the server's own "http://127.0.0.1:<port>", which the WSDL
/// documents give as the services' address.
HTTPReply serveDemoRequest(const HTTPRequest& request, const std::string& base);

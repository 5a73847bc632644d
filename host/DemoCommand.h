// vellum-host demo: the sample services served on 127.0.0.1 and a script run against them, with
// no network beyond the loopback.
#pragma once

#include <iosfwd>
#include <string>

class CReferenceHost;

/// The demo script of the source tree, examples/demo.js.
std::string DefaultDemoScript();

/// Serves the demo's services (host/demo/DemoServices.h) on a free port of 127.0.0.1, starts the
/// host with the plug-in, and runs the script as `run` does, with the global demoServer set to
/// the services' "http://127.0.0.1:<port>". The exit status of `run`.
int RunDemo(CReferenceHost& host, const std::string& plugin, const std::string& script,
            int timeoutSeconds, std::ostream& out, std::ostream& errors);

#include "host/DiscoverCommand.h"

#include "host/CReferenceHost.h"
#include "host/runner/CScriptRunner.h"
#include "host/runner/CWatchdog.h"

#include <cstdio>
#include <ostream>

namespace {

/// The text as a script string literal.
std::string quoted(const std::string& text) {
    std::string out = "\"";
    for (char c : text) {
        if (c == '"' || c == '\\') {
            out += '\\';
            out += c;
        } else if (static_cast<unsigned char>(c) < 0x20) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", c);
            out += escape;
        } else {
            out += c;
        }
    }
    return out + "\"";
}

std::string browseScript(const DiscoverRequest& request) {
    return "var discoverDone = false, discoverFound = false;\n"
           "function show(sign, services) {\n"
           "    for (var n in services) {\n"
           "        var s = services[n];\n"
           "        console.println(sign + ' ' + s.name + '  ' + s.type + '  ' + s.domain);\n"
           "    }\n"
           "}\n"
           "var discoverRequest = SOAP.queryServices(" +
           quoted(request.type) +
           ", {addServices: function(s) { show('+', s); },\n"
           "    removeServices: function(s) { show('-', s); }}, [" +
           quoted(request.domain) + "]);\n";
}

std::string resolveScript(const DiscoverRequest& request) {
    return "var discoverDone = false, discoverFound = false;\n"
           "var discoverRequest = SOAP.resolveService(" +
           quoted(request.type) + ", " + quoted(request.domain) + ", " +
           quoted(request.resolveName) +
           ", {resolve: function(name, answer) {\n"
           "    if (discoverDone) return;\n"
           "    discoverDone = true;\n"
           "    var keys = Object.keys(answer).sort();\n"
           "    if (keys.length == 0) { console.println(name + ': no answer'); return; }\n"
           "    discoverFound = true;\n"
           "    console.println(name + ' ' + answer.target + ':' + answer.port);\n"
           "    for (var i = 0; i < keys.length; ++i)\n"
           "        if (keys[i] != 'target' && keys[i] != 'port')\n"
           "            console.println(keys[i] + '=' + answer[keys[i]]);\n"
           "}});\n";
}

} // namespace

int RunDiscover(CReferenceHost& host, const std::string& plugin, const DiscoverRequest& request,
                int timeoutSeconds, std::ostream& out, std::ostream& errors) {
    std::string error;
    if (!host.start(plugin, error)) {
        errors << "vellum-host: " << error << std::endl;
        return CScriptRunner::kRunCannotStart;
    }
    bool resolving = !request.resolveName.empty();
    int status = CScriptRunner::kRunCannotStart;
    {
        CScriptRunner runner(host.engine(), host.loop(), out, errors);
        CStopRequest& stop = host.loop().stopRequest();
        CWatchdog watchdog(stop);
        watchdog.catchInterrupts();
        if (runner.open() &&
            runner.evaluate(resolving ? resolveScript(request) : browseScript(request))) {
            // The answers come on the idle loop, until the time is up, Ctrl-C, or an answer to
            // a resolve.
            watchdog.arm(timeoutSeconds);
            std::string done;
            while (!stop.raised() && done != "true") {
                host.loop().run(100);
                runner.evaluate("discoverDone", &done);
            }
            watchdog.disarm();
            CStopRequest::Reason reason = stop.reason();
            stop.clear();
            std::string found;
            runner.evaluate("discoverRequest.stop(); discoverFound", &found);
            if (reason == CStopRequest::Reason::Interrupted) {
                errors << "vellum-host: interrupted" << std::endl;
                status = CScriptRunner::kRunInterrupted;
            } else {
                status = !resolving || found == "true" ? CScriptRunner::kRunOK
                                                       : CScriptRunner::kRunFailed;
            }
        } else {
            status = CScriptRunner::kRunFailed;
        }
    }
    host.stop();
    return status;
}

// The wire dump: while it is on, what goes over the network is printed to the viewer's console.
//
// It is one process-wide switch, which script sets through SOAP.wireDump. Every piece of a reply
// body, and every piece of a posted body, is printed as it passes; a request's line and headers
// go first, with the value of an Authorization header hidden.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

/// Turns the dump on (non-zero) or off.
void setEnableWireDump(uint16_t flag);
/// Whether the dump is on.
uint16_t getEnableWireDump();

/// Prints a piece of a body while the dump is on.
void wireDumpBytes(const char* data, long length);
/// Prints a request's method and URL, then its headers, while the dump is on.
void wireDumpRequest(const char* method, const char* url,
                     const std::vector<std::pair<std::string, std::string>>& headers);

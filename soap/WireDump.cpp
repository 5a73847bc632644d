#include "soap/WireDump.h"

#include "frame/HostTables.h"

#include <strings.h>

namespace {

uint16_t gWireDump = 0;

void printLine(const char* text) {
    if (gVellViewUserInterfaceHFT)
        gVellViewUserInterfaceHFT->consolePrintln(text);
}

bool isCredentialHeader(const std::string& name) {
    return strcasecmp(name.c_str(), "Authorization") == 0 ||
           strcasecmp(name.c_str(), "Proxy-Authorization") == 0;
}

} // namespace

void setEnableWireDump(uint16_t flag) {
    gWireDump = flag;
}

uint16_t getEnableWireDump() {
    return gWireDump;
}

void wireDumpBytes(const char* data, long length) {
    if (!gWireDump || !data || length <= 0)
        return;
    // The piece is printed as a NUL-terminated text: a piece with a NUL byte shows up to it.
    std::string text(data, static_cast<size_t>(length));
    printLine(text.c_str());
}

void wireDumpRequest(const char* method, const char* url,
                     const std::vector<std::pair<std::string, std::string>>& headers) {
    if (!gWireDump)
        return;
    printLine((std::string(method) + " " + (url ? url : "")).c_str());
    for (const auto& [name, value] : headers)
        printLine((name + ": " + (isCredentialHeader(name) ? "<hidden>" : value)).c_str());
}

#include "soap/SOAPText.h"

std::pair<std::string, std::string> SOAPSplitQName(const std::string& name) {
    size_t colon = name.rfind(':');
    if (colon == std::string::npos)
        return {std::string(), name};
    return {name.substr(0, colon), name.substr(colon + 1)};
}

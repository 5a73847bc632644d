#include "xml/XMLString.h"

std::string Tag2UTF8AndNS(const XML_Char* tag, bool withNamespace) {
    std::string text = XML_String2UTF8(tag);
    size_t colon = text.rfind(':');
    if (colon == std::string::npos)
        return text;
    std::string result = "m:" + text.substr(colon + 1);
    if (withNamespace)
        result += " xmlns:m=\"" + text.substr(0, colon) + "\"";
    return result;
}

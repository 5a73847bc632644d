#include "soap/SOAPText.h"

#include "frame/QsCore.h"
#include "xml/XMLString.h"

std::string SOAPUTF8(const _EStrRec* text) {
    return ESTR2UTF8(text);
}

CEStr SOAPEStrFromUTF8(const std::string& text) {
    return XML_String2ESTR(text.data(), static_cast<long>(text.size()));
}

CEStr SOAPValueText(const CAgg& value) {
    CAgg copy(value);
    return CEStr(copy.toEStr());
}

bool SOAPIsString(const CAgg& value) {
    return value.getType() == CAgg::eEStr || value.getType() == CAgg::eCQsText;
}

bool SOAPIsMap(const CAgg& value) {
    return value.getType() == CAgg::eMap || value.getType() == CAgg::eQsAtomMap;
}

void SOAPForEachEntry(CAgg& map, const std::function<void(const CEStr& key, CAgg& value)>& fn) {
    if (map.getType() == CAgg::eMap) {
        for (auto& [key, value] : map.toMap())
            fn(key, value);
    } else if (map.getType() == CAgg::eQsAtomMap) {
        for (auto& [atom, value] : map.toQsAtomMap())
            fn(CEStr(QsAtomGetString(atom), kEStrPDFDoc), value);
    }
}

std::pair<std::string, std::string> SOAPSplitQName(const std::string& name) {
    size_t colon = name.rfind(':');
    if (colon == std::string::npos)
        return {std::string(), name};
    return {name.substr(0, colon), name.substr(colon + 1)};
}

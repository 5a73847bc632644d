#include "values/CAggWalk.h"

#include "frame/QsCore.h"

bool CAggIsString(const CAgg& value) {
    return value.getType() == CAgg::eEStr || value.getType() == CAgg::eCQsText;
}

bool CAggIsMap(const CAgg& value) {
    return value.getType() == CAgg::eMap || value.getType() == CAgg::eQsAtomMap;
}

size_t CAggMapSize(CAgg& value) {
    if (value.getType() == CAgg::eMap)
        return value.toMap().size();
    if (value.getType() == CAgg::eQsAtomMap)
        return value.toQsAtomMap().size();
    return 0;
}

void CAggRemoveKey(CAgg& map, const char* key) {
    if (map.getType() == CAgg::eQsAtomMap)
        map.remove(QsAtomFromString(key));
    else
        map.remove(key);
}

void CAggForEachEntry(CAgg& map, const std::function<void(const CEStr& key, CAgg& value)>& fn) {
    if (map.getType() == CAgg::eMap) {
        for (auto& [key, value] : map.toMap())
            fn(key, value);
    } else if (map.getType() == CAgg::eQsAtomMap) {
        for (auto& [atom, value] : map.toQsAtomMap())
            fn(CEStr(QsAtomGetString(atom), kEStrPDFDoc), value);
    }
}

void CAggForEachChild(CAgg& value, const std::function<void(CAgg& child)>& fn) {
    if (value.getType() == CAgg::eVector) {
        for (CAgg& item : value.toVector())
            fn(item);
    } else if (value.getType() == CAgg::eMap) {
        for (auto& [key, item] : value.toMap())
            fn(item);
    } else if (value.getType() == CAgg::eQsAtomMap) {
        for (auto& [atom, item] : value.toQsAtomMap())
            fn(item);
    }
}

CEStr CAggValueText(const CAgg& value) {
    CAgg copy(value);
    return CEStr(copy.toEStr());
}

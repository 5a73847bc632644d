#include "xml/CXMLElement.h"

#include <utility>

namespace {

CEStr emptyText() {
    return CEStr::adopt(EStrNew(nullptr, kEStrPDFDoc));
}

// The entry as text, read from a copy so that the record keeps its own type; empty if absent.
CEStr textOf(CAgg& record, QsAtom key) {
    if (!record.has(key))
        return emptyText();
    CAgg& value = record[key];
    if (value.getType() == CAgg::eEStr)
        return CEStr(value.toEStr());
    CAgg copy(value);
    return CEStr(copy.toEStr());
}

QsAtom atomIn(CAgg* type) {
    if (!type)
        return kQsNullAtom;
    if (type->getType() == CAgg::eQsAtom)
        return type->toQsAtom();
    CAgg copy(*type);
    return copy.toQsAtom();
}

} // namespace

CXMLKeyAtoms CXMLKeyAtoms::current() {
    return {kXMLKeyType,     kXMLKeyName,   kXMLKeyNameSpace,  kXMLKeyAttr,
            kXMLKeyChildren, kXMLKeyNSDict, kXMLKeyText,       kXMLKeyEncoded,
            kXMLTypeElement, kXMLTypeText,  kXMLTypeProcessing};
}

CXMLEntries CXMLEntries::of(CAgg& record, const CXMLKeyAtoms& keys) {
    CXMLEntries entries;
    if (record.getType() == CAgg::eQsAtomMap) {
        // One pass over the record rather than a lookup per key.
        for (auto& [key, value] : record.toQsAtomMap()) {
            CAgg* entry = &value;
            if (key == keys.type)
                entries.type = entry;
            else if (key == keys.name)
                entries.name = entry;
            else if (key == keys.nameSpace)
                entries.nameSpace = entry;
            else if (key == keys.attr)
                entries.attr = entry;
            else if (key == keys.children)
                entries.children = entry;
            else if (key == keys.nsDict)
                entries.nsDict = entry;
            else if (key == keys.text)
                entries.text = entry;
            else if (key == keys.encoded)
                entries.encoded = entry;
        }
        return entries;
    }
    if (record.getType() != CAgg::eMap)
        return entries;
    auto find = [&](QsAtom key) { return record.has(key) ? &record[key] : nullptr; };
    entries.type = find(keys.type);
    entries.name = find(keys.name);
    entries.nameSpace = find(keys.nameSpace);
    entries.attr = find(keys.attr);
    entries.children = find(keys.children);
    entries.nsDict = find(keys.nsDict);
    entries.text = find(keys.text);
    entries.encoded = find(keys.encoded);
    return entries;
}

QsAtom CXMLEntries::typeAtom() const {
    return atomIn(type);
}

CAgg::CAggVector* CXMLEntries::childList() const {
    return children && children->getType() == CAgg::eVector ? &children->toVector() : nullptr;
}

QsAtom CXMLElement::getType() const {
    QsAtom key = atom(&CXMLKeyAtoms::type, kXMLKeyType);
    return atomIn(m_record.has(key) ? &m_record[key] : nullptr);
}

void CXMLElement::setType(QsAtom type) const {
    m_record[atom(&CXMLKeyAtoms::type, kXMLKeyType)].toQsAtom() = type;
}

CEStr CXMLElement::getName() const {
    return textOf(m_record, atom(&CXMLKeyAtoms::name, kXMLKeyName));
}

void CXMLElement::setName(const char* name) const {
    m_record[atom(&CXMLKeyAtoms::name, kXMLKeyName)] = CAgg(name);
}

void CXMLElement::setName(const _EStrRec* name) const {
    m_record[atom(&CXMLKeyAtoms::name, kXMLKeyName)] = CAgg(name);
}

CEStr CXMLElement::getNameSpace() const {
    return textOf(m_record, atom(&CXMLKeyAtoms::nameSpace, kXMLKeyNameSpace));
}

void CXMLElement::setNameSpace(const char* nameSpace) const {
    m_record[atom(&CXMLKeyAtoms::nameSpace, kXMLKeyNameSpace)] = CAgg(nameSpace);
}

void CXMLElement::setNameSpace(const _EStrRec* nameSpace) const {
    m_record[atom(&CXMLKeyAtoms::nameSpace, kXMLKeyNameSpace)] = CAgg(nameSpace);
}

QName CXMLElement::getQName() const {
    return {getName(), getNameSpace()};
}

bool CXMLElement::hasAttribute(const char* key) const {
    QsAtom attr = atom(&CXMLKeyAtoms::attr, kXMLKeyAttr);
    return m_record.has(attr) && m_record[attr].has(key);
}

CEStr CXMLElement::getAttribute(const char* key) const {
    if (!hasAttribute(key))
        return emptyText();
    // The key as indexing by text makes it, so that the same entry is found.
    return getAttribute(CEStr::adopt(EStrNew(key, kEStrAuto)).get());
}

CEStr CXMLElement::getAttribute(const _EStrRec* key) const {
    const CAgg* value = findAttribute(key);
    if (!value)
        return emptyText();
    // Reading a string as a string converts nothing, even in entries shared with others.
    if (value->getType() == CAgg::eEStr)
        return CEStr(const_cast<CAgg*>(value)->toEStr());
    CAgg copy(*value);
    return CEStr(copy.toEStr());
}

const CAgg* CXMLElement::findAttribute(const _EStrRec* key) const {
    QsAtom attrKey = atom(&CXMLKeyAtoms::attr, kXMLKeyAttr);
    if (!m_record.has(attrKey))
        return nullptr;
    CAgg& attr = m_record[attrKey];
    const CAgg::CAggMap* entries = attr.mapEntries();
    if (!entries)
        return attr.has(key) ? &attr[key] : nullptr;
    auto found = entries->find(key);
    return found == entries->end() ? nullptr : &found->second;
}

void CXMLElement::setAttribute(const char* key, const char* value) const {
    attributes()[key] = CAgg(value);
}

void CXMLElement::setAttribute(const _EStrRec* key, const _EStrRec* value) const {
    attributes()[key] = CAgg(value);
}

void CXMLElement::setAttribute(const _EStrRec* key, CAgg value) const {
    attributes()[key] = std::move(value);
}

CAgg& CXMLElement::attributes() const {
    CAgg& attr = m_record[atom(&CXMLKeyAtoms::attr, kXMLKeyAttr)];
    attr.toMap();
    return attr;
}

void CXMLElement::shareAttributes(const CAgg& attributes) const {
    QsAtom attrKey = atom(&CXMLKeyAtoms::attr, kXMLKeyAttr);
    if (!m_record.has(attrKey)) {
        m_record[attrKey] = attributes;
        return;
    }
    const CAgg::CAggMap* entries = attributes.mapEntries();
    if (!entries)
        return;
    CAgg& own = this->attributes();
    for (const auto& [key, value] : *entries)
        own[key] = value;
}

CAgg::CAggVector& CXMLElement::children() const {
    return m_record[atom(&CXMLKeyAtoms::children, kXMLKeyChildren)].toVector();
}

long CXMLElement::childCount() const {
    QsAtom key = atom(&CXMLKeyAtoms::children, kXMLKeyChildren);
    if (!m_record.has(key))
        return 0;
    CAgg& children = m_record[key];
    return children.getType() == CAgg::eVector ? static_cast<long>(children.toVector().size()) : 0;
}

CAgg CXMLElement::newRecord(QsAtom CXMLKeyAtoms::*member, const CLazyAtom& type) const {
    CAgg record;
    record[atom(&CXMLKeyAtoms::type, kXMLKeyType)].toQsAtom() = atom(member, type);
    return record;
}

CAgg& CXMLElement::appendElement(const char* name) const {
    CAgg& child = children().emplace_back(newRecord(&CXMLKeyAtoms::element, kXMLTypeElement));
    child[atom(&CXMLKeyAtoms::name, kXMLKeyName)] = CAgg(name);
    return child;
}

CAgg& CXMLElement::appendElement() const {
    return children().emplace_back(newRecord(&CXMLKeyAtoms::element, kXMLTypeElement));
}

CAgg& CXMLElement::appendElement(const _EStrRec* name) const {
    CAgg& child = children().emplace_back(newRecord(&CXMLKeyAtoms::element, kXMLTypeElement));
    child[atom(&CXMLKeyAtoms::name, kXMLKeyName)] = CAgg(name);
    return child;
}

CAgg& CXMLElement::appendText(CAgg text, bool encoded) const {
    CAgg& child = children().emplace_back(newRecord(&CXMLKeyAtoms::textType, kXMLTypeText));
    child[atom(&CXMLKeyAtoms::text, kXMLKeyText)] = std::move(text);
    child[atom(&CXMLKeyAtoms::encoded, kXMLKeyEncoded)].toQsBool() = encoded ? 1 : 0;
    return child;
}

CAgg& CXMLElement::appendProcessing(const char* target) const {
    CAgg& child = children().emplace_back(newRecord(&CXMLKeyAtoms::processing, kXMLTypeProcessing));
    child[atom(&CXMLKeyAtoms::name, kXMLKeyName)] = CAgg(target);
    return child;
}

CEStr CXMLElement::getValue() const {
    CEStr value = emptyText();
    QsAtom children = atom(&CXMLKeyAtoms::children, kXMLKeyChildren);
    if (!m_record.has(children) || m_record[children].getType() != CAgg::eVector)
        return value;
    QsAtom text = atom(&CXMLKeyAtoms::text, kXMLKeyText);
    for (CAgg& child : m_record[children].toVector()) {
        CXMLElement node = m_keys ? CXMLElement(child, *m_keys) : CXMLElement(child);
        if (!node.isText() || !child.has(text))
            continue;
        if (child[text].getType() == CAgg::eQsStm)
            continue; // reading would use the stream up
        value += textOf(child, text);
    }
    return value;
}

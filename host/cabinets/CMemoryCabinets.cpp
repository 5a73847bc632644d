#include "host/cabinets/CMemoryCabinets.h"

#include "frame/HostError.h"
#include "host/cabinets/CabinetBytes.h"

#include <cstring>

namespace {

// Distance from the cabinet of its own that holds cab, cab itself counted as 1.
int levelOf(const _t_QsCabinet* cab) {
    int level = 1;
    for (const _t_QsCabinet* up = cab->parent; up; up = up->parent)
        ++level;
    return level;
}

bool holds(const _t_QsCabinet* outer, const _t_QsCabinet* inner) {
    for (const _t_QsCabinet* up = inner; up; up = up->parent) {
        if (up == outer)
            return true;
    }
    return false;
}

bool sameValue(const QsCabValue& a, const QsCabValue& b);

bool sameCabinet(const _t_QsCabinet& a, const _t_QsCabinet& b) {
    if (a.entries.size() != b.entries.size())
        return false;
    for (size_t i = 0; i < a.entries.size(); ++i) {
        if (a.entries[i].first != b.entries[i].first ||
            !sameValue(a.entries[i].second, b.entries[i].second))
            return false;
    }
    return true;
}

bool sameValue(const QsCabValue& a, const QsCabValue& b) {
    if (a.kind != b.kind)
        return false;
    switch (a.kind) {
    case kQsCabBool:
        return a.boolean == b.boolean;
    case kQsCabInt:
        return a.integer == b.integer;
    case kQsCabAtom:
        return a.atom == b.atom;
    case kQsCabDouble:
        // Bit for bit, so that a stored cabinet equals the one it was saved from, NaN included.
        return std::memcmp(&a.real, &b.real, sizeof a.real) == 0;
    case kQsCabString:
    case kQsCabBinary:
        return a.bytes == b.bytes;
    case kQsCabText:
        return a.text == b.text;
    case kQsCabPointer:
        return a.bytes == b.bytes && a.pointer == b.pointer;
    case kQsCabCabinet:
        return sameCabinet(*a.cabinet, *b.cabinet);
    case kQsCabNull:
        return true;
    case kQsCabUns32:
        return a.uns32 == b.uns32;
    }
    return false;
}

} // namespace

CMemoryCabinets::CMemoryCabinets(ICore& core) : m_core(core) {}

CMemoryCabinets::~CMemoryCabinets() {
    for (QsCab cab : m_live)
        delete cab;
}

QsCab CMemoryCabinets::newCabinet() {
    auto* cab = new _t_QsCabinet;
    m_live.insert(cab);
    return cab;
}

void CMemoryCabinets::destroyCabinet(QsCab cab) {
    if (m_live.erase(cab))
        delete cab;
}

int32_t CMemoryCabinets::numKeys(QsCab cab) {
    return cab ? static_cast<int32_t>(cab->entries.size()) : 0;
}

bool CMemoryCabinets::equal(QsCab a, QsCab b) {
    if (!a || !b)
        return a == b;
    return sameCabinet(*a, *b);
}

std::vector<QsCabKeyInfo> CMemoryCabinets::keys(QsCab cab) {
    std::vector<QsCabKeyInfo> result;
    if (!cab)
        return result;
    result.reserve(cab->entries.size());
    for (const auto& entry : cab->entries)
        result.push_back({entry.first, entry.second.kind});
    return result;
}

std::optional<QsCabValueKind> CMemoryCabinets::kindOf(QsCab cab, const char* key) {
    QsCabValue* value = cab && key ? cab->find(key) : nullptr;
    if (!value)
        return std::nullopt;
    return value->kind;
}

void CMemoryCabinets::makeEmpty(QsCab cab) {
    if (!cab)
        return;
    cab->clear();
}

void CMemoryCabinets::merge(QsCab dst, QsCab src) {
    if (!dst || !m_live.count(src) || src == dst)
        return;
    if (holds(src, dst))
        throw HostError{kHostErrGeneral};
    if (levelOf(dst) - 1 + src->depth() > kQsCabMaxDepth)
        throw HostError{kHostErrGeneral};
    for (auto& entry : src->entries)
        dst->put(entry.first, std::move(entry.second));
    destroyCabinet(src);
}

QsCabValue* CMemoryCabinets::findValue(QsCab cab, const char* key, QsCabValueKind kind) {
    QsCabValue* value = cab && key ? cab->find(key) : nullptr;
    return value && value->kind == kind ? value : nullptr;
}

void CMemoryCabinets::put(QsCab cab, const char* key, QsCabValue value) {
    if (cab && key)
        cab->put(key, std::move(value));
}

void CMemoryCabinets::putBool(QsCab cab, const char* key, bool value) {
    QsCabValue v(kQsCabBool);
    v.boolean = value;
    put(cab, key, std::move(v));
}

void CMemoryCabinets::putInt(QsCab cab, const char* key, int32_t value) {
    QsCabValue v(kQsCabInt);
    v.integer = value;
    put(cab, key, std::move(v));
}

void CMemoryCabinets::putAtom(QsCab cab, const char* key, QsAtom value) {
    QsCabValue v(kQsCabAtom);
    v.atom = value;
    put(cab, key, std::move(v));
}

void CMemoryCabinets::putDouble(QsCab cab, const char* key, double value) {
    QsCabValue v(kQsCabDouble);
    v.real = value;
    put(cab, key, std::move(v));
}

void CMemoryCabinets::putString(QsCab cab, const char* key, const char* bytes, size_t length) {
    QsCabValue v(kQsCabString);
    if (bytes)
        v.bytes.assign(bytes, length);
    put(cab, key, std::move(v));
}

void CMemoryCabinets::putText(QsCab cab, const char* key, const QsTextRec& text) {
    QsCabValue v(kQsCabText);
    v.text = text.units;
    put(cab, key, std::move(v));
}

void CMemoryCabinets::putBinary(QsCab cab, const char* key, const void* bytes, size_t length) {
    QsCabValue v(kQsCabBinary);
    if (bytes)
        v.bytes.assign(static_cast<const char*>(bytes), length);
    put(cab, key, std::move(v));
}

void CMemoryCabinets::putPointer(QsCab cab, const char* key, const char* type, void* pointer,
                                 QsCabPointerDestroyProc destroy) {
    QsCabValue v(kQsCabPointer);
    v.bytes = type ? type : "";
    v.pointer = pointer;
    v.destroy = destroy;
    // Without a cabinet to take the value, the pointer is let go at once.
    put(cab, key, std::move(v));
}

void CMemoryCabinets::putCabinet(QsCab cab, const char* key, QsCab value) {
    if (!cab || !key)
        return;
    if (!m_live.count(value) || holds(value, cab))
        throw HostError{kHostErrGeneral};
    if (levelOf(cab) + value->depth() > kQsCabMaxDepth)
        throw HostError{kHostErrGeneral};
    m_live.erase(value);
    QsCabValue v(kQsCabCabinet);
    v.cabinet.reset(value);
    cab->put(key, std::move(v));
}

void CMemoryCabinets::putNull(QsCab cab, const char* key) {
    put(cab, key, QsCabValue(kQsCabNull));
}

void CMemoryCabinets::putUns32(QsCab cab, const char* key, uint32_t value) {
    QsCabValue v(kQsCabUns32);
    v.uns32 = value;
    put(cab, key, std::move(v));
}

std::optional<bool> CMemoryCabinets::getBool(QsCab cab, const char* key) {
    QsCabValue* v = findValue(cab, key, kQsCabBool);
    return v ? std::optional<bool>(v->boolean) : std::nullopt;
}

std::optional<int32_t> CMemoryCabinets::getInt(QsCab cab, const char* key) {
    QsCabValue* v = findValue(cab, key, kQsCabInt);
    return v ? std::optional<int32_t>(v->integer) : std::nullopt;
}

std::optional<QsAtom> CMemoryCabinets::getAtom(QsCab cab, const char* key) {
    QsCabValue* v = findValue(cab, key, kQsCabAtom);
    return v ? std::optional<QsAtom>(v->atom) : std::nullopt;
}

std::optional<double> CMemoryCabinets::getDouble(QsCab cab, const char* key) {
    QsCabValue* v = findValue(cab, key, kQsCabDouble);
    return v ? std::optional<double>(v->real) : std::nullopt;
}

std::optional<std::string> CMemoryCabinets::getString(QsCab cab, const char* key) {
    QsCabValue* v = findValue(cab, key, kQsCabString);
    return v ? std::optional<std::string>(v->bytes) : std::nullopt;
}

std::optional<std::u16string> CMemoryCabinets::getText(QsCab cab, const char* key) {
    QsCabValue* v = findValue(cab, key, kQsCabText);
    return v ? std::optional<std::u16string>(v->text) : std::nullopt;
}

std::optional<std::string> CMemoryCabinets::getBinary(QsCab cab, const char* key) {
    QsCabValue* v = findValue(cab, key, kQsCabBinary);
    return v ? std::optional<std::string>(v->bytes) : std::nullopt;
}

std::optional<QsCabPointer> CMemoryCabinets::getPointer(QsCab cab, const char* key) {
    QsCabValue* v = findValue(cab, key, kQsCabPointer);
    return v ? std::optional<QsCabPointer>(QsCabPointer{v->bytes, v->pointer}) : std::nullopt;
}

QsCab CMemoryCabinets::getCabinet(QsCab cab, const char* key) {
    QsCabValue* v = findValue(cab, key, kQsCabCabinet);
    return v ? v->cabinet.get() : nullptr;
}

std::optional<uint32_t> CMemoryCabinets::getUns32(QsCab cab, const char* key) {
    QsCabValue* v = findValue(cab, key, kQsCabUns32);
    return v ? std::optional<uint32_t>(v->uns32) : std::nullopt;
}

std::string CMemoryCabinets::toBytes(QsCab cab) {
    return cab ? CabinetToBytes(*cab, m_core) : std::string();
}

void CMemoryCabinets::writeBytes(QsCab cab, CabinetByteSink& sink) {
    if (cab)
        CabinetWriteBytes(*cab, m_core, sink);
}

QsCab CMemoryCabinets::fromBytes(const std::string& bytes) {
    std::unique_ptr<_t_QsCabinet> cab = CabinetFromBytes(bytes, m_core);
    if (!cab)
        return nullptr;
    m_live.insert(cab.get());
    return cab.release();
}

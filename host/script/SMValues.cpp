// Slots and the values in them: the pool, the tracer, making, reading and setting values, and
// text between the table's two forms and script strings.
#include "host/script/CSpiderMonkeyEngineImpl.h"
#include "host/script/SMText.h"

#include <js/BigInt.h>
#include <js/Conversions.h>
#include <js/String.h>

#include <algorithm>

namespace {

// Slots come in chunks that never move, so the address of a slot's JS::Heap stays put.
constexpr size_t kChunkSlots = 4096;

} // namespace

// The pool.

ESVal CSpiderMonkeyEngine::Impl::allocSlot(ESContext owner) {
    if (!finalizing)
        releaseDeferred();
    if (!freeList) {
        chunks.push_back(std::make_unique<_s_ESValRec[]>(kChunkSlots));
        _s_ESValRec* chunk = chunks.back().get();
        for (size_t i = kChunkSlots; i-- > 0;) {
            chunk[i].nextFree = freeList;
            freeList = &chunk[i];
        }
    }
    ESVal slot = freeList;
    freeList = slot->nextFree;
    slot->nextFree = nullptr;
    slot->owner = owner;
    ++liveSlots;
    return slot;
}

void CSpiderMonkeyEngine::Impl::releaseSlot(ESVal slot) {
    if (!slot || !slot->owner)
        return;
    if (finalizing) {
        // A finaliser runs inside a collection, where a slot must not change; it is freed after.
        deferredFrees.push_back(slot);
        return;
    }
    slot->value.setUndefined();
    slot->owner = nullptr;
    slot->nextFree = freeList;
    freeList = slot;
    --liveSlots;
}

void CSpiderMonkeyEngine::Impl::releaseDeferred() {
    auto pending = std::move(deferredFrees);
    deferredFrees.clear();
    for (ESVal slot : pending)
        releaseSlot(slot);
}

void CSpiderMonkeyEngine::Impl::releaseSlotsOf(ESContext context) {
    auto ownedByContext = [&](ESVal slot) { return slot && slot->owner == context; };
    std::replace_if(scopeRoots.begin(), scopeRoots.end(), ownedByContext, nullptr);
    std::erase_if(deferredFrees, ownedByContext);
    for (auto& chunk : chunks)
        for (size_t i = 0; i < kChunkSlots; ++i)
            if (chunk[i].owner == context)
                releaseSlot(&chunk[i]);
}

void CSpiderMonkeyEngine::Impl::traceSlots(JSTracer* trc, void* data) {
    auto* impl = static_cast<Impl*>(data);
    for (auto& chunk : impl->chunks)
        for (size_t i = 0; i < kChunkSlots; ++i)
            if (chunk[i].owner)
                JS::TraceEdge(trc, &chunk[i].value, "ESVal");
    for (auto& context : impl->contexts)
        if (!context->dead)
            for (auto& [key, name] : context->names)
                JS::TraceEdge(trc, &name->id, "ESName");
}

// Text.

JSString* CSpiderMonkeyEngine::Impl::newString(const std::u16string& units) {
    return JS_NewUCStringCopyN(cx, units.data(), units.size());
}

JSString* CSpiderMonkeyEngine::Impl::newString(const char* text, long length) {
    return newString(SMTextToUnits(text, length, encodings));
}

bool CSpiderMonkeyEngine::Impl::readUnits(JSString* string, std::u16string& out) {
    size_t length = JS_GetStringLength(string);
    out.assign(length, u'\0');
    return JS_CopyStringChars(cx, mozilla::Range<char16_t>(out.data(), length), string);
}

std::string CSpiderMonkeyEngine::Impl::hostText(const std::u16string& units) const {
    return SMTextFromUnits(units.data(), units.size(), false, encodings);
}

bool CSpiderMonkeyEngine::Impl::idFromName(const char* name, JS::MutableHandleId id) {
    if (!name)
        return false;
    // Straight from the units to the key, with no string made in between.
    std::u16string units = SMTextToUnits(name, -1, encodings);
    return JS_CharsToId(cx, JS::TwoByteChars(units.data(), units.size()), id);
}

// Slots through the table.

ESVal CSpiderMonkeyEngine::newVal(ESContext context) {
    return m_impl->usable(context) ? m_impl->allocSlot(context) : nullptr;
}

ESVal CSpiderMonkeyEngine::copyVal(ESVal value) {
    if (!m_impl->usable(value) || value->owner->dead)
        return nullptr;
    ESVal copy = m_impl->allocSlot(value->owner);
    copy->value = value->value;
    return copy;
}

void CSpiderMonkeyEngine::freeVal(ESVal value) {
    m_impl->releaseSlot(value);
}

void CSpiderMonkeyEngine::assignVal(ESVal target, ESVal source) {
    if (m_impl->usable(target) && m_impl->usable(source))
        target->value = source->value;
}

// Making values.

ESVal CSpiderMonkeyEngine::makeBool(ESContext context, bool value) {
    ESVal slot = newVal(context);
    if (slot)
        setBool(slot, value);
    return slot;
}

ESVal CSpiderMonkeyEngine::makeNumber(ESContext context, double value) {
    ESVal slot = newVal(context);
    if (slot)
        setNumber(slot, value);
    return slot;
}

ESVal CSpiderMonkeyEngine::makeInt(ESContext context, int32_t value) {
    ESVal slot = newVal(context);
    if (slot)
        slot->value.setInt32(value);
    return slot;
}

ESVal CSpiderMonkeyEngine::makeString(ESContext context, const char* text, long length) {
    ESVal slot = newVal(context);
    if (slot && !setString(slot, text, length)) {
        freeVal(slot);
        return nullptr;
    }
    return slot;
}

ESVal CSpiderMonkeyEngine::makeQsText(ESContext context, const QsTextRec* text) {
    ESVal slot = newVal(context);
    if (slot && !setQsText(slot, text)) {
        freeVal(slot);
        return nullptr;
    }
    return slot;
}

ESVal CSpiderMonkeyEngine::makeObject(ESContext context, ESObject object) {
    ESVal slot = newVal(context);
    if (slot)
        setObject(slot, object);
    return slot;
}

// Reading values.

ESValType CSpiderMonkeyEngine::valType(ESVal value) {
    if (!m_impl->usable(value))
        return kESValUndefined;
    const JS::Value& v = value->value.get();
    if (v.isBoolean())
        return kESValBoolean;
    if (v.isNumber() || v.isBigInt())
        return kESValNumber;
    if (v.isObject())
        return kESValObject;
    if (v.isString())
        return kESValString;
    if (v.isNull())
        return kESValNull;
    // Undefined, and symbols, which have no form outside script.
    return kESValUndefined;
}

bool CSpiderMonkeyEngine::readBool(ESVal value) {
    if (!m_impl->usable(value))
        return false;
    JS::RootedValue v(m_impl->cx, value->value);
    return JS::ToBoolean(v);
}

bool CSpiderMonkeyEngine::readNumber(ESVal value, double& out) {
    out = 0;
    if (!m_impl->usable(value) || value->owner->dead)
        return false;
    JSContext* cx = m_impl->cx;
    JS::RootedValue v(cx, value->value);
    if (v.isBigInt()) {
        out = JS::BigIntToNumber(v.toBigInt());
        return true;
    }
    if (v.isNumber()) {
        out = v.toNumber();
        return true;
    }
    JSAutoRealm realm(cx, m_impl->globalOf(value->owner));
    if (JS::ToNumber(cx, v, &out))
        return true;
    m_impl->reportFailure(value->owner);
    out = 0;
    return false;
}

bool CSpiderMonkeyEngine::readInt(ESVal value, int32_t& out) {
    out = 0;
    if (!m_impl->usable(value) || value->owner->dead)
        return false;
    JSContext* cx = m_impl->cx;
    JS::RootedValue v(cx, value->value);
    if (v.isInt32()) {
        out = v.toInt32();
        return true;
    }
    double number = 0;
    if (!readNumber(value, number))
        return false;
    out = JS::ToInt32(number);
    return true;
}

bool CSpiderMonkeyEngine::readString(ESVal value, bool ucs, std::string& out) {
    out.clear();
    QsTextRec text;
    if (!readQsText(value, &text))
        return false;
    out = SMTextFromUnits(text.units.data(), text.units.size(), ucs, m_impl->encodings);
    return true;
}

bool CSpiderMonkeyEngine::readQsText(ESVal value, QsTextRec* out) {
    if (!out)
        return false;
    out->units.clear();
    if (!m_impl->usable(value) || value->owner->dead)
        return false;
    JSContext* cx = m_impl->cx;
    JSAutoRealm realm(cx, m_impl->globalOf(value->owner));
    JS::RootedValue v(cx, value->value);
    if (v.isSymbol())
        return false;
    JS::RootedString string(cx, v.isString() ? v.toString() : JS::ToString(cx, v));
    if (!string || !m_impl->readUnits(string, out->units)) {
        m_impl->reportFailure(value->owner);
        return false;
    }
    return true;
}

ESObject CSpiderMonkeyEngine::readObject(ESVal value) {
    if (!m_impl->usable(value) || !value->value.get().isObject())
        return nullptr;
    JS::RootedObject object(m_impl->cx, &value->value.get().toObject());
    return m_impl->handOut(object, value->owner);
}

// Setting values.

void CSpiderMonkeyEngine::setBool(ESVal value, bool b) {
    if (m_impl->usable(value))
        value->value.setBoolean(b);
}

void CSpiderMonkeyEngine::setNumber(ESVal value, double number) {
    if (m_impl->usable(value))
        value->value = JS::NumberValue(number);
}

bool CSpiderMonkeyEngine::setString(ESVal value, const char* text, long length) {
    if (!m_impl->usable(value) || value->owner->dead)
        return false;
    JSAutoRealm realm(m_impl->cx, m_impl->globalOf(value->owner));
    JSString* string = m_impl->newString(text ? text : "", text ? length : 0);
    if (!string) {
        JS_ClearPendingException(m_impl->cx);
        return false;
    }
    value->value.setString(string);
    return true;
}

bool CSpiderMonkeyEngine::setASCIIString(ESVal value, const char* text, long length) {
    if (!m_impl->usable(value) || value->owner->dead || length < 0 || (length > 0 && !text))
        return false;
    for (long i = 0; i < length; ++i) {
        if (static_cast<unsigned char>(text[i]) >= 0x80)
            return false;
    }
    // One byte a character: the engine keeps such a string in its narrow form as it is.
    JSAutoRealm realm(m_impl->cx, m_impl->globalOf(value->owner));
    JSString* string =
        JS_NewStringCopyN(m_impl->cx, length > 0 ? text : "", static_cast<size_t>(length));
    if (!string) {
        JS_ClearPendingException(m_impl->cx);
        return false;
    }
    value->value.setString(string);
    return true;
}

bool CSpiderMonkeyEngine::setQsText(ESVal value, const QsTextRec* text) {
    if (!m_impl->usable(value) || value->owner->dead || !text)
        return false;
    JSAutoRealm realm(m_impl->cx, m_impl->globalOf(value->owner));
    JSString* string = m_impl->newString(text->units);
    if (!string) {
        JS_ClearPendingException(m_impl->cx);
        return false;
    }
    value->value.setString(string);
    return true;
}

void CSpiderMonkeyEngine::setObject(ESVal value, ESObject object) {
    if (!m_impl->usable(value))
        return;
    JSObject* obj = m_impl->objectOf(object);
    if (obj)
        value->value.setObject(*obj);
    else
        value->value.setNull();
}

void CSpiderMonkeyEngine::setUndefined(ESVal value) {
    if (m_impl->usable(value))
        value->value.setUndefined();
}

void CSpiderMonkeyEngine::setNull(ESVal value) {
    if (m_impl->usable(value))
        value->value.setNull();
}

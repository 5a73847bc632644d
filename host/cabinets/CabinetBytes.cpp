#include "host/cabinets/CabinetBytes.h"

#include <glib.h>

#include <cstring>

namespace {

constexpr const char* kMagic = "vellum-cabinet-1";
constexpr const char* kFileType = "(sta(ayv))";
constexpr const char* kDictType = "a(ayv)";

uint64_t fnv1a(const void* data, size_t size) {
    uint64_t hash = 14695981039346656037ull;
    const auto* bytes = static_cast<const unsigned char*>(data);
    for (size_t i = 0; i < size; ++i) {
        hash ^= bytes[i];
        hash *= 1099511628211ull;
    }
    return hash;
}

GVariant* byteArray(const std::string& bytes) {
    return g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, bytes.data(), bytes.size(), 1);
}

GVariant* named(const char* name, const std::string& bytes) {
    GVariant* parts[] = {g_variant_new_string(name), byteArray(bytes)};
    return g_variant_new_tuple(parts, 2);
}

GVariant* dictOf(const _t_QsCabinet& cab, ICore& core);

GVariant* valueOf(const QsCabValue& value, ICore& core) {
    switch (value.kind) {
    case kQsCabBool:
        return g_variant_new_boolean(value.boolean);
    case kQsCabInt:
        return g_variant_new_int32(value.integer);
    case kQsCabAtom: {
        const char* text = core.atomGetString(value.atom);
        return named("atom", text ? text : "");
    }
    case kQsCabDouble:
        return g_variant_new_double(value.real);
    case kQsCabString:
        return byteArray(value.bytes);
    case kQsCabText:
        return g_variant_new_fixed_array(G_VARIANT_TYPE_UINT16, value.text.data(),
                                         value.text.size(), sizeof(char16_t));
    case kQsCabBinary:
        return named("binary", value.bytes);
    case kQsCabPointer:
        // An address means nothing to another run: only the pointer's type is kept.
        return named("pointer", value.bytes);
    case kQsCabCabinet:
        return dictOf(*value.cabinet, core);
    case kQsCabUns32:
        return g_variant_new_uint32(value.uns32);
    case kQsCabNull:
        break;
    }
    return g_variant_new_tuple(nullptr, 0);
}

GVariant* dictOf(const _t_QsCabinet& cab, ICore& core) {
    GVariantBuilder builder;
    g_variant_builder_init(&builder, G_VARIANT_TYPE(kDictType));
    for (const auto& [key, value] : cab.entries) {
        GVariant* pair[] = {byteArray(key), g_variant_new_variant(valueOf(value, core))};
        g_variant_builder_add_value(&builder, g_variant_new_tuple(pair, 2));
    }
    return g_variant_builder_end(&builder);
}

/// A reference to a GVariant dropped at the end of the scope.
struct Ref {
    GVariant* v;
    explicit Ref(GVariant* variant) : v(variant) {}
    ~Ref() {
        if (v)
            g_variant_unref(v);
    }
    Ref(const Ref&) = delete;
    Ref& operator=(const Ref&) = delete;
};

std::string bytesOf(GVariant* array) {
    gsize size = 0;
    const void* data = g_variant_get_fixed_array(array, &size, 1);
    return std::string(static_cast<const char*>(data), size);
}

bool readDict(GVariant* dict, _t_QsCabinet& cab, int depth, ICore& core);

bool readNamed(GVariant* tuple, QsCabValue& value, ICore& core) {
    Ref name(g_variant_get_child_value(tuple, 0));
    Ref bytes(g_variant_get_child_value(tuple, 1));
    const char* kind = g_variant_get_string(name.v, nullptr);
    value.bytes = bytesOf(bytes.v);
    if (std::strcmp(kind, "atom") == 0) {
        value.kind = kQsCabAtom;
        value.atom = core.atomFromString(value.bytes.c_str());
        value.bytes.clear();
        return true;
    }
    if (std::strcmp(kind, "binary") == 0) {
        value.kind = kQsCabBinary;
        return true;
    }
    if (std::strcmp(kind, "pointer") == 0) {
        value.kind = kQsCabPointer;
        return true;
    }
    return false;
}

bool readValue(GVariant* v, QsCabValue& value, int depth, ICore& core) {
    const char* type = g_variant_get_type_string(v);
    if (std::strcmp(type, "b") == 0) {
        value.kind = kQsCabBool;
        value.boolean = g_variant_get_boolean(v);
    } else if (std::strcmp(type, "i") == 0) {
        value.kind = kQsCabInt;
        value.integer = g_variant_get_int32(v);
    } else if (std::strcmp(type, "d") == 0) {
        value.kind = kQsCabDouble;
        value.real = g_variant_get_double(v);
    } else if (std::strcmp(type, "u") == 0) {
        value.kind = kQsCabUns32;
        value.uns32 = g_variant_get_uint32(v);
    } else if (std::strcmp(type, "ay") == 0) {
        value.kind = kQsCabString;
        value.bytes = bytesOf(v);
    } else if (std::strcmp(type, "aq") == 0) {
        gsize count = 0;
        const void* units = g_variant_get_fixed_array(v, &count, sizeof(char16_t));
        value.kind = kQsCabText;
        value.text.assign(static_cast<const char16_t*>(units), count);
    } else if (std::strcmp(type, "()") == 0) {
        value.kind = kQsCabNull;
    } else if (std::strcmp(type, "(say)") == 0) {
        return readNamed(v, value, core);
    } else if (std::strcmp(type, kDictType) == 0) {
        if (depth >= kQsCabMaxDepth)
            return false;
        value.kind = kQsCabCabinet;
        value.cabinet = std::make_unique<_t_QsCabinet>();
        return readDict(v, *value.cabinet, depth + 1, core);
    } else {
        return false;
    }
    return true;
}

bool readDict(GVariant* dict, _t_QsCabinet& cab, int depth, ICore& core) {
    size_t count = g_variant_n_children(dict);
    for (size_t i = 0; i < count; ++i) {
        Ref entry(g_variant_get_child_value(dict, i));
        Ref key(g_variant_get_child_value(entry.v, 0));
        Ref boxed(g_variant_get_child_value(entry.v, 1));
        Ref inner(g_variant_get_variant(boxed.v));
        std::string name = bytesOf(key.v);
        // A key holds no zero byte and appears once: our own files never break either rule.
        if (name.find('\0') != std::string::npos || cab.find(name))
            return false;
        QsCabValue value;
        if (!readValue(inner.v, value, depth, core))
            return false;
        cab.put(name, std::move(value));
    }
    return true;
}

} // namespace

std::string CabinetToBytes(const _t_QsCabinet& cab, ICore& core) {
    Ref dict(g_variant_ref_sink(dictOf(cab, core)));
    uint64_t sum = fnv1a(g_variant_get_data(dict.v), g_variant_get_size(dict.v));
    GVariant* parts[] = {g_variant_new_string(kMagic), g_variant_new_uint64(sum), dict.v};
    Ref file(g_variant_ref_sink(g_variant_new_tuple(parts, 3)));
    return std::string(static_cast<const char*>(g_variant_get_data(file.v)),
                       g_variant_get_size(file.v));
}

std::unique_ptr<_t_QsCabinet> CabinetFromBytes(const std::string& bytes, ICore& core) {
    GBytes* data = g_bytes_new(bytes.data(), bytes.size());
    Ref file(g_variant_ref_sink(g_variant_new_from_bytes(G_VARIANT_TYPE(kFileType), data, FALSE)));
    g_bytes_unref(data);
    Ref magic(g_variant_get_child_value(file.v, 0));
    Ref sum(g_variant_get_child_value(file.v, 1));
    Ref dict(g_variant_get_child_value(file.v, 2));
    if (std::strcmp(g_variant_get_string(magic.v, nullptr), kMagic) != 0 ||
        g_variant_get_uint64(sum.v) !=
            fnv1a(g_variant_get_data(dict.v), g_variant_get_size(dict.v)))
        return nullptr;
    auto cab = std::make_unique<_t_QsCabinet>();
    if (!readDict(dict.v, *cab, 1, core))
        return nullptr;
    return cab;
}

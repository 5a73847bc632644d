// The byte form of cabinets, against GLib's own serialisation of the same values.
#include "host/cabinets/CMemoryCabinets.h"
#include "host/cabinets/CabinetBytes.h"
#include "host/core/CHostCore.h"

#include <gtest/gtest.h>

#include <glib.h>

#include <cstring>
#include <string>

namespace {

class CStoreless final : public CMemoryCabinets {
public:
    using CMemoryCabinets::CMemoryCabinets;
    QsCab loadCabinet(const char*, const char*) override { return nullptr; }
    void saveCabinet(QsCab, const char*, const char*) override {}
};

uint64_t fnv1a(const void* data, size_t size) {
    uint64_t hash = 14695981039346656037ull;
    for (size_t i = 0; i < size; ++i) {
        hash ^= static_cast<const unsigned char*>(data)[i];
        hash *= 1099511628211ull;
    }
    return hash;
}

/// The sum of a file: FNV-1a over the FNV-1a sums of the bytes at 0, 4, 8, ..., 1, 5, 9, ...
uint64_t laneSum(const std::string& bytes) {
    unsigned char sums[32];
    for (size_t lane = 0; lane < 4; ++lane) {
        std::string every;
        for (size_t i = lane; i < bytes.size(); i += 4)
            every += bytes[i];
        uint64_t sum = fnv1a(every.data(), every.size());
        for (int i = 0; i < 8; ++i)
            sums[8 * lane + i] = static_cast<unsigned char>(sum >> (8 * i));
    }
    return fnv1a(sums, sizeof sums);
}

// GLib's way to the same bytes: a tree of GVariant values, serialised by GLib.
GVariant* glibBytes(const std::string& bytes) {
    return g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, bytes.data(), bytes.size(), 1);
}

GVariant* glibNamed(const char* name, const std::string& bytes) {
    GVariant* parts[] = {g_variant_new_string(name), glibBytes(bytes)};
    return g_variant_new_tuple(parts, 2);
}

GVariant* glibDict(const _t_QsCabinet& cab, ICore& core);

GVariant* glibValue(const QsCabValue& value, ICore& core) {
    switch (value.kind) {
    case kQsCabBool:
        return g_variant_new_boolean(value.boolean);
    case kQsCabInt:
        return g_variant_new_int32(value.integer);
    case kQsCabAtom:
        return glibNamed("atom", core.atomGetString(value.atom));
    case kQsCabDouble:
        return g_variant_new_double(value.real);
    case kQsCabString:
        return glibBytes(value.bytes);
    case kQsCabText: {
        glong read = 0;
        gchar* utf8 =
            g_utf16_to_utf8(reinterpret_cast<const gunichar2*>(value.text.data()),
                            static_cast<glong>(value.text.size()), &read, nullptr, nullptr);
        // GLib stops at a zero unit: such a text does not fit a string either.
        bool fits = utf8 && static_cast<size_t>(read) == value.text.size();
        GVariant* text = fits ? g_variant_new_string(utf8)
                              : g_variant_new_fixed_array(G_VARIANT_TYPE_UINT16, value.text.data(),
                                                          value.text.size(), sizeof(char16_t));
        g_free(utf8);
        return text;
    }
    case kQsCabBinary:
        return glibNamed("binary", value.bytes);
    case kQsCabPointer:
        return glibNamed("pointer", value.bytes);
    case kQsCabCabinet:
        return glibDict(*value.cabinet, core);
    case kQsCabUns32:
        return g_variant_new_uint32(value.uns32);
    case kQsCabNull:
        break;
    }
    return g_variant_new_tuple(nullptr, 0);
}

GVariant* glibDict(const _t_QsCabinet& cab, ICore& core) {
    GVariantBuilder builder;
    g_variant_builder_init(&builder, G_VARIANT_TYPE("a(ayv)"));
    for (const auto& [key, value] : cab.entries) {
        GVariant* pair[] = {glibBytes(key), g_variant_new_variant(glibValue(value, core))};
        g_variant_builder_add_value(&builder, g_variant_new_tuple(pair, 2));
    }
    return g_variant_builder_end(&builder);
}

std::string glibFile(const _t_QsCabinet& cab, ICore& core) {
    GVariant* dict = g_variant_ref_sink(glibDict(cab, core));
    std::string dictBytes(static_cast<const char*>(g_variant_get_data(dict)),
                          g_variant_get_size(dict));
    GVariant* parts[] = {g_variant_new_string("vellum-cabinet-2"),
                         g_variant_new_uint64(laneSum(dictBytes)), dict};
    GVariant* file = g_variant_ref_sink(g_variant_new_tuple(parts, 3));
    std::string bytes(static_cast<const char*>(g_variant_get_data(file)), g_variant_get_size(file));
    g_variant_unref(file);
    g_variant_unref(dict);
    return bytes;
}

class CabinetBytesTest : public ::testing::Test {
protected:
    CHostCore m_core;
    CStoreless m_cabs{m_core};

    QsCab withText(std::u16string units) {
        QsCab cab = m_cabs.newCabinet();
        m_cabs.putText(cab, "Text", QsTextRec{std::move(units)});
        return cab;
    }

    /// A cabinet of count entries of the given size each, so that its framing offsets need
    /// more than one byte.
    QsCab large(int count, size_t size) {
        QsCab cab = m_cabs.newCabinet();
        std::string filler(size, 'x');
        for (int i = 0; i < count; ++i)
            m_cabs.putString(cab, std::to_string(i).c_str(), filler.data(), filler.size());
        return cab;
    }
};

TEST_F(CabinetBytesTest, WritesTheBytesGLibMakesAndReadsThemBack) {
    QsCab kinds = m_cabs.newCabinet();
    m_cabs.putBool(kinds, "Bool", true);
    m_cabs.putInt(kinds, "Int", -42);
    m_cabs.putAtom(kinds, "Atom", m_core.atomFromString("Feed"));
    m_cabs.putDouble(kinds, "Double", 2.5);
    m_cabs.putString(kinds, "String", "by\0tes", 6);
    m_cabs.putString(kinds, "Nothing", "", 0);
    m_cabs.putBinary(kinds, "Binary", "\x89PNG\r\n", 6);
    m_cabs.putPointer(kinds, "Pointer", "QsStm", nullptr, nullptr);
    m_cabs.putNull(kinds, "Null");
    m_cabs.putUns32(kinds, "Uns32", 4000000000u);
    m_cabs.putCabinet(kinds, "Empty", m_cabs.newCabinet());
    QsCab nested = m_cabs.newCabinet();
    m_cabs.putCabinet(nested, "Large", large(300, 10));
    m_cabs.putCabinet(kinds, "Nested", nested);

    struct Case {
        const char* what;
        QsCab cab;
    } cases[] = {
        {"no keys", m_cabs.newCabinet()},
        {"every kind", kinds},
        {"ASCII text, as UTF-8", withText(u"plain")},
        {"an empty text", withText(u"")},
        {"accents and a pair of surrogates, as UTF-8", withText(u"\u00e9t\u00e9 \U0001F600")},
        {"a zero unit, as units", withText(std::u16string(u"a\0b", 3))},
        {"a lone surrogate, as units", withText(std::u16string(1, char16_t(0xDC00)))},
        {"a surrogate pair cut short, as units", withText(std::u16string(1, char16_t(0xD800)))},
        {"offsets of two bytes", large(40, 10)},
        {"offsets of four bytes", large(3, 30000)},
        {"a value larger than a block of writing", large(2, 1500000)},
        {"many values over several blocks", large(30000, 100)},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.what);
        std::string bytes = CabinetToBytes(*test.cab, m_core);
        EXPECT_EQ(bytes, glibFile(*test.cab, m_core));
        std::unique_ptr<_t_QsCabinet> back = CabinetFromBytes(bytes, m_core);
        ASSERT_NE(back, nullptr);
        EXPECT_TRUE(m_cabs.equal(back.get(), test.cab));
        m_cabs.destroyCabinet(test.cab);
    }
}

TEST_F(CabinetBytesTest, DamageThatTheSumMissesNeverCrashesTheReader) {
    // Every byte of a small file's dictionary changed in turn, with the sum made to match, as a
    // damaged writer would leave it: the reader gives a cabinet that writes back the same, or
    // none.
    QsCab cab = m_cabs.newCabinet();
    m_cabs.putText(cab, "Title", QsTextRec{u"caf\u00e9"});
    m_cabs.putAtom(cab, "Type", m_core.atomFromString("RSS"));
    QsCab items = m_cabs.newCabinet();
    m_cabs.putInt(items, "0", 7);
    m_cabs.putDouble(items, "1", 0.5);
    m_cabs.putCabinet(cab, "Items", items);
    const std::string good = CabinetToBytes(*cab, m_core);
    constexpr size_t kDictAt = 32;
    size_t dictEnd = good.size() - 1; // one byte of framing offset for a file this small
    int read = 0, refused = 0;
    for (size_t at = kDictAt; at < dictEnd; ++at) {
        for (unsigned char change : {0x01, 0x80, 0xFF}) {
            std::string bytes = good;
            bytes[at] = static_cast<char>(bytes[at] ^ change);
            uint64_t sum = laneSum(bytes.substr(kDictAt, dictEnd - kDictAt));
            std::memcpy(&bytes[24], &sum, sizeof sum);
            std::unique_ptr<_t_QsCabinet> damaged = CabinetFromBytes(bytes, m_core);
            if (!damaged) {
                ++refused;
                continue;
            }
            ++read;
            std::unique_ptr<_t_QsCabinet> again =
                CabinetFromBytes(CabinetToBytes(*damaged, m_core), m_core);
            ASSERT_NE(again, nullptr) << at;
            EXPECT_TRUE(m_cabs.equal(damaged.get(), again.get())) << at;
        }
    }
    EXPECT_GT(read, 0);
    EXPECT_GT(refused, 0);
    for (size_t size = 0; size < good.size(); ++size)
        EXPECT_EQ(CabinetFromBytes(good.substr(0, size), m_core), nullptr) << size;
    m_cabs.destroyCabinet(cab);
}

} // namespace

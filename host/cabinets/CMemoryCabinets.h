// Cabinets in memory: every operation of ICabinets but storage, which the classes built on this
// one add. A cabinet tree never nests deeper than kQsCabMaxDepth, so that nothing that walks one
// can run out of stack.
#pragma once

#include "frame/host/ICabinets.h"
#include "host/cabinets/CabinetBytes.h"
#include "host/cabinets/QsCabinetRec.h"

#include <memory>
#include <string>
#include <unordered_set>

class CMemoryCabinets : public ICabinets {
public:
    /// The core table gives the texts of atoms for the byte form.
    explicit CMemoryCabinets(ICore& core);
    /// Destroys the cabinets still out.
    ~CMemoryCabinets() override;
    CMemoryCabinets(const CMemoryCabinets&) = delete;
    CMemoryCabinets& operator=(const CMemoryCabinets&) = delete;

    QsCab newCabinet() override;
    void destroyCabinet(QsCab cab) override;
    int32_t numKeys(QsCab cab) override;
    bool equal(QsCab a, QsCab b) override;
    std::vector<QsCabKeyInfo> keys(QsCab cab) override;
    std::optional<QsCabValueKind> kindOf(QsCab cab, const char* key) override;
    void makeEmpty(QsCab cab) override;
    void merge(QsCab dst, QsCab src) override;

    void putBool(QsCab cab, const char* key, bool value) override;
    void putInt(QsCab cab, const char* key, int32_t value) override;
    void putAtom(QsCab cab, const char* key, QsAtom value) override;
    void putDouble(QsCab cab, const char* key, double value) override;
    void putString(QsCab cab, const char* key, const char* bytes, size_t length) override;
    void putText(QsCab cab, const char* key, const QsTextRec& text) override;
    void putBinary(QsCab cab, const char* key, const void* bytes, size_t length) override;
    void putPointer(QsCab cab, const char* key, const char* type, void* pointer,
                    QsCabPointerDestroyProc destroy) override;
    void putCabinet(QsCab cab, const char* key, QsCab value) override;
    void putNull(QsCab cab, const char* key) override;
    void putUns32(QsCab cab, const char* key, uint32_t value) override;

    std::optional<bool> getBool(QsCab cab, const char* key) override;
    std::optional<int32_t> getInt(QsCab cab, const char* key) override;
    std::optional<QsAtom> getAtom(QsCab cab, const char* key) override;
    std::optional<double> getDouble(QsCab cab, const char* key) override;
    std::optional<std::string> getString(QsCab cab, const char* key) override;
    std::optional<std::u16string> getText(QsCab cab, const char* key) override;
    std::optional<std::string> getBinary(QsCab cab, const char* key) override;
    std::optional<QsCabPointer> getPointer(QsCab cab, const char* key) override;
    QsCab getCabinet(QsCab cab, const char* key) override;
    std::optional<uint32_t> getUns32(QsCab cab, const char* key) override;

    /// Number of cabinets of their own still out.
    size_t liveCount() const { return m_live.size(); }

protected:
    /// The cabinet's byte form: a GVariant of type (sta(ayv)).
    std::string toBytes(QsCab cab);
    /// The same given to a sink as it is made.
    void writeBytes(QsCab cab, CabinetByteSink& sink);
    /// A new cabinet from its byte form; null when the bytes are no cabinet.
    QsCab fromBytes(const std::string& bytes);

private:
    QsCabValue* findValue(QsCab cab, const char* key, QsCabValueKind kind);
    void put(QsCab cab, const char* key, QsCabValue value);

    ICore& m_core;
    std::unordered_set<QsCab> m_live; // cabinets of their own, not held by another
};

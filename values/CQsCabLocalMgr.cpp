#include "values/CQsCabLocalMgr.h"

#include "frame/HostError.h"
#include "frame/HostTables.h"
#include "frame/host/IFileSystem.h"
#include "frame/host/IIdle.h"
#include "values/QsCab.h"

#include <cstring>
#include <optional>

CQsCabLocalMgr* CQsCabLocalMgr::sm_instance = nullptr;

namespace {

ICabinets& cabinets() {
    ICabinets* cabs = HostCabinets();
    if (!cabs)
        raiseHostError(kHostErrGeneral);
    return *cabs;
}

std::string escaped(const std::string& text) {
    return QsCabEncodeName(CEStr(text.c_str())).c_str();
}

/// The folder of a section in the user's data folder, made when it is missing; nothing when
/// there is no data folder or the path is taken by something that is no folder.
std::optional<std::string> sectionFolder(const std::string& section) {
    IFileSystem* files = HostFiles();
    std::optional<std::string> data = files ? files->userDataFolder() : std::nullopt;
    if (!data)
        return std::nullopt;
    auto folder = files->pathFromText("DIPath", (escaped(section) + "/").c_str(), data->c_str());
    if (!folder)
        return std::nullopt;
    if (files->isFolder(*folder))
        return folder;
    if (files->isFile(*folder) || !files->createFolder(*folder))
        return std::nullopt;
    return folder;
}

bool isPlainComponent(const std::string& text) {
    return !text.empty() && text != "." && text != ".." && text.find('/') == std::string::npos;
}

/// Removes the file of an emptied cabinet.
void removeFile(const std::string& section, const std::string& name) {
    IFileSystem* files = HostFiles();
    std::optional<std::string> data = files ? files->userDataFolder() : std::nullopt;
    if (!data)
        raiseHostError(kHostErrNoDataFolder);
    // The file is looked for under the plain section and name, not the escaped ones it was
    // written under: a name that escaping changes keeps its file.
    if (!isPlainComponent(section) || !isPlainComponent(name))
        return;
    files->remove(*data + section + "/" + name);
}

std::string text(const char* bytes) {
    return bytes ? bytes : "";
}

} // namespace

CQsCabLocalMgr& CQsCabLocalMgr::instance() {
    if (!sm_instance)
        sm_instance = new CQsCabLocalMgr;
    return *sm_instance;
}

void CQsCabLocalMgr::term() {
    delete sm_instance;
    sm_instance = nullptr;
}

CQsCabLocalMgr::~CQsCabLocalMgr() {
    while (!m_names.empty()) {
        HostFrame guard;
        guard.run([&] { release(m_names.begin()->first, false); });
    }
}

_t_QsCabinet* CQsCabLocalMgr::load(const char* section, const char* name) {
    ICabinets& cabs = cabinets();
    if (!sectionFolder(text(section)))
        return nullptr;
    return cabs.loadCabinet(escaped(text(section)).c_str(), escaped(text(name)).c_str());
}

_t_QsCabinet* CQsCabLocalMgr::acquire(const char* section, const char* name) {
    Name key{text(section), text(name)};
    auto found = m_held.find(key);
    if (found != m_held.end()) {
        ++found->second.count;
        return found->second.cab;
    }
    _t_QsCabinet* cab = load(section, name);
    if (!cab)
        cab = cabinets().newCabinet();
    // The caller's reference, and the store's own until the next idle moment.
    m_held[key] = Held{cab, 2};
    m_names[cab] = key;
    if (IIdle* idle = HostIdle())
        idle->registerIdle(idleRelease, cab, 0);
    return cab;
}

void CQsCabLocalMgr::idleRelease(void* cab) {
    if (IIdle* idle = HostIdle())
        idle->unregisterIdle(idleRelease, cab);
    // The hold is released, not discarded: as the last reference it saves, even when the caller
    // discarded its own. The idle clock is the host's: a failure to save stops here rather than
    // unwind through it.
    HostFrame guard;
    guard.run([&] { QsCabReleaseLocal(static_cast<_t_QsCabinet*>(cab)); });
}

void CQsCabLocalMgr::release(_t_QsCabinet* cab, bool discard) {
    auto named = m_names.find(cab);
    if (named == m_names.end())
        return;
    Name name = named->second;
    auto held = m_held.find(name);
    if (--held->second.count > 0)
        return;
    m_held.erase(held);
    m_names.erase(named);
    // A hold still registered would release whatever cabinet comes to live at this address.
    if (IIdle* idle = HostIdle())
        idle->unregisterIdle(idleRelease, cab);
    ICabinets* cabs = HostCabinets();
    if (!cabs)
        return;
    struct Destroy {
        ICabinets* cabs;
        _t_QsCabinet* cab;
        ~Destroy() { cabs->destroyCabinet(cab); }
    } destroy{cabs, cab};
    if (!discard)
        saveFile(name, cab);
}

void CQsCabLocalMgr::cancelIdleRelease(_t_QsCabinet* cab) {
    if (IIdle* idle = HostIdle())
        idle->unregisterIdle(idleRelease, cab);
    // Released whether or not the idle hold was still there: a caller that cancels after the
    // next idle moment gives up a reference of its own.
    release(cab, false);
}

void CQsCabLocalMgr::save(_t_QsCabinet* cab) {
    auto named = m_names.find(cab);
    if (named != m_names.end())
        saveFile(named->second, cab);
}

void CQsCabLocalMgr::saveFile(const Name& name, _t_QsCabinet* cab) {
    ICabinets& cabs = cabinets();
    const char* section = name.first.c_str();
    _t_QsCabinet* stored = load(section, name.second.c_str());
    struct Destroy {
        ICabinets& cabs;
        _t_QsCabinet* cab;
        ~Destroy() { cabs.destroyCabinet(cab); }
    } destroyStored{cabs, stored};
    if (cabs.numKeys(cab) == 0) {
        if (stored)
            removeFile(name.first, name.second);
        return;
    }
    if (stored && cabs.equal(stored, cab))
        return;
    if (!sectionFolder(name.first))
        return;
    cabs.saveCabinet(cab, escaped(name.first).c_str(), escaped(name.second).c_str());
}

_t_QsCabinet* QsCabAcquireLocal(const char* section, const char* name) {
    return CQsCabLocalMgr::instance().acquire(section, name);
}

void QsCabReleaseLocal(_t_QsCabinet* cab) {
    CQsCabLocalMgr::instance().release(cab, false);
}

void QsCabCancelIdleReleaseLocal(_t_QsCabinet* cab) {
    CQsCabLocalMgr::instance().cancelIdleRelease(cab);
}

void QsCabSaveLocal(_t_QsCabinet* cab) {
    CQsCabLocalMgr::instance().save(cab);
}

void QsCabDiscardLocal(_t_QsCabinet* cab) {
    CQsCabLocalMgr::instance().release(cab, true);
}

_t_QsCabinet* QsCabAcquireLocalTemp(const char* section, const char* name) {
    _t_QsCabinet* cab = CQsCabLocalMgr::load(section, name);
    return cab ? cab : cabinets().newCabinet();
}

void QsCabReleaseLocalTemp(_t_QsCabinet* cab) {
    QsCabDestroy(cab);
}

void QsCabLocalTerm() {
    CQsCabLocalMgr::term();
}

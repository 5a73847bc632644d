// The store of local cabinets: one shared, counted cabinet for each section and name, read from
// and written to its file in the user's data folder.
//
// A first acquire takes two references, the caller's and one the store holds until the next
// idle moment, so that a cabinet acquired and released many times in one burst is read and
// written once. The file is written at the last release, and only when its contents change.
#pragma once

#include "frame/host/ICabinets.h"
#include "values/QsCab.h"

#include <cstdint>
#include <map>
#include <string>
#include <utility>

class CQsCabLocalMgr {
public:
    ~CQsCabLocalMgr();

    /// The shared cabinet of a section and name, with one more reference.
    _t_QsCabinet* acquire(const char* section, const char* name);
    /// Drops one reference; at the last, saves (unless discarding) and destroys the cabinet.
    void release(_t_QsCabinet* cab, bool discard);
    /// Takes back the idle hold of a first acquire and releases it now.
    void cancelIdleRelease(_t_QsCabinet* cab);
    /// Writes a held cabinet to its file now.
    void save(_t_QsCabinet* cab);

    /// The stored cabinet of a section and name as a new cabinet, or null when there is none.
    static _t_QsCabinet* load(const char* section, const char* name);

private:
    friend _t_QsCabinet* QsCabAcquireLocal(const char*, const char*);
    friend void QsCabReleaseLocal(_t_QsCabinet*);
    friend void QsCabCancelIdleReleaseLocal(_t_QsCabinet*);
    friend void QsCabSaveLocal(_t_QsCabinet*);
    friend void QsCabDiscardLocal(_t_QsCabinet*);
    friend void QsCabLocalTerm();

    /// The one store, made on first use.
    static CQsCabLocalMgr& instance();
    /// Ends the store, releasing what it still holds.
    static void term();

    using miBasicString = std::string;
    using Name = std::pair<miBasicString, miBasicString>; // section, name
    struct Held {
        _t_QsCabinet* cab;
        int32_t count;
    };

    CQsCabLocalMgr() = default;
    static void idleRelease(void* cab);
    static void saveFile(const Name& name, _t_QsCabinet* cab);

    std::map<Name, Held> m_held;
    std::map<_t_QsCabinet*, Name> m_names;
    static CQsCabLocalMgr* sm_instance;
};

// The module registry: every subsystem comes up and goes down as a CModule.
//
// The registry is an intrusive doubly-linked list: a module is its own node, and constructing one
// puts it at the head of the list. The registry never owns a module. initAll brings the modules
// up in list order; every module that succeeds moves to the head, so that a finished initAll
// leaves the list in the reverse order and termAll takes the modules down last-initialised first.
#pragma once

class CModule {
public:
    /// Puts the module at the head of the registry.
    CModule();
    /// Takes the module off the registry if it is still there. Not virtual: modules are deleted
    /// through their own type.
    ~CModule();
    CModule(const CModule&) = delete;
    CModule& operator=(const CModule&) = delete;

    /// Brings the module up; true when it is usable. The default does nothing.
    virtual bool init() { return true; }
    /// Takes the module down; true when that went well. The default does nothing.
    virtual bool term() { return true; }

    /// Runs init once: a second call answers the first result without running anything.
    bool iInit();
    /// Runs term if init ran and succeeded; false when init never ran or failed.
    bool iTerm();
    /// For an init that needs this module first: iInit, safe to repeat.
    bool depend() { return iInit(); }

    /// Brings up every module on the registry, from the head, until one fails; true when none
    /// failed (and for an empty registry).
    static bool initAll();
    /// Takes down every module on the registry, from the head, until one answers false.
    static bool termAll();

    /// Pushes the module at the head of the registry.
    void add();
    /// Takes the module off the registry; a module that is not on it is left alone.
    void unlink();
    /// Whether the module is on the registry.
    bool isLinked() const { return m_prev || sm_head == this; }
    /// The module behind this one on the registry.
    CModule* next() const { return m_next; }

    /// The head of the registry; null when it is empty.
    static CModule* sm_head;

private:
    bool m_initDone = false;
    bool m_initOk = false;
    CModule* m_next = nullptr;
    CModule* m_prev = nullptr;
};

#include "frame/CModule.h"

CModule* CModule::sm_head = nullptr;

CModule::CModule() {
    add();
}

CModule::~CModule() {
    // termAll stops at its first failure and leaves the modules behind it linked; a module that
    // is freed after that must not stay on the list.
    unlink();
}

void CModule::add() {
    if (isLinked())
        unlink();
    m_prev = nullptr;
    m_next = sm_head;
    if (sm_head)
        sm_head->m_prev = this;
    sm_head = this;
}

void CModule::unlink() {
    if (!isLinked())
        return;
    if (m_prev)
        m_prev->m_next = m_next;
    else
        sm_head = m_next;
    if (m_next)
        m_next->m_prev = m_prev;
    m_next = nullptr;
    m_prev = nullptr;
}

bool CModule::iInit() {
    if (m_initDone)
        return m_initOk;
    unlink();
    m_initDone = true;
    m_initOk = init();
    // A module whose init failed stays off the registry for good.
    if (m_initOk)
        add();
    return m_initOk;
}

bool CModule::iTerm() {
    if (!m_initDone)
        return false;
    unlink();
    m_initDone = false;
    if (!m_initOk)
        return false;
    return term();
}

bool CModule::initAll() {
    bool result = true;
    for (CModule* module = sm_head; module;) {
        // iInit moves the module to the head, so the walk goes on from its old successor.
        CModule* next = module->m_next;
        if (result)
            result = module->iInit();
        module = next;
    }
    return result;
}

bool CModule::termAll() {
    // The first module that answers false ends the terms; the modules behind it stay as they
    // are, so after a failed initAll the terms stop at the first module it did not reach.
    bool result = true;
    for (CModule* module = sm_head; module;) {
        CModule* next = module->m_next;
        if (result)
            result = module->iTerm();
        module = next;
    }
    return result;
}

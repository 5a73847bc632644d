#include "frame/StPNLResourceContext.h"

#include "frame/mdLanguage.h"

namespace {

void* gCurrent = nullptr;
bool gActive = false;

} // namespace

StPNLResourceContext::StPNLResourceContext() : m_saved(gCurrent), m_savedActive(gActive) {
    gCurrent = mdGetLocaleDependentResourceHandle();
    gActive = true;
}

StPNLResourceContext::~StPNLResourceContext() {
    gCurrent = m_saved;
    gActive = m_savedActive;
}

void* StPNLResourceContext::current() {
    return gActive ? gCurrent : mdGetLocaleDependentResourceHandle();
}

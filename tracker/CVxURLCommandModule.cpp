#include "tracker/CVxURLCommandModule.h"

#include "frame/QsCore.h"

namespace {

CVxURLCommandModule* gURLCommandModule = nullptr;

} // namespace

bool CVxURLCommandModule::init() {
    m_inboxAtom = QsAtomFromString("Inbox");
    return true;
}

void CVxURLCommandsInit() {
    gURLCommandModule = new CVxURLCommandModule;
}

void CVxURLCommandsTerm() {
    delete gURLCommandModule;
    gURLCommandModule = nullptr;
}

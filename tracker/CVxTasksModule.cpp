#include "tracker/CVxTasksModule.h"

#include "frame/HostTables.h"
#include "frame/PluginEntry.h"

namespace {

CVxTasksModule* gTasksModule = nullptr;

} // namespace

bool CVxTasksModule::init() {
    IUserInterface* ui = gVellViewUserInterfaceHFT;
    if (!ui)
        return false;
    ui->registerNotification(kVxNotifyAppDidInitExtensions, gExtensionID, DidInitExt, this);
    ui->registerNotification(kVxNotifyAppDidInit, gExtensionID, DidInit, this);
    return true;
}

// The "Initiate" task and its menu are made here once the tasks arrive.
void CVxTasksModule::DidInitExt(void*) {}

void CVxTasksModule::DidInit(void*) {}

void CVxTasksInit() {
    gTasksModule = new CVxTasksModule;
}

void CVxTasksTerm() {
    delete gTasksModule;
    gTasksModule = nullptr;
}

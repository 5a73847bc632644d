#include "soap/CSoapModule.h"
#include "tracker/RSSPanel.h"

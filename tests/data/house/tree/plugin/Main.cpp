#include "rss/Side.h"
#include "tracker/Fine.h"
#include "host/core/CHostCore.h"

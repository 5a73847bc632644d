#include "frame/host/ICore.h"
#include "Beside.h"
#include <vector>

#include "soap/Anything.h"

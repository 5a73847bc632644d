#include "frame/Good.h"

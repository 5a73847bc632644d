#include "frame/Good.h"
  #  include "values/EStr.h" // reaches up

#include "frame/Good.h"
#include "values/Up.h"
#include "xml/CXmlParser.h"

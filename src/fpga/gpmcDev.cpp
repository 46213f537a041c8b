#include "gpmcDev.h"
bool GpmcDev::sysLoggingOn = false;

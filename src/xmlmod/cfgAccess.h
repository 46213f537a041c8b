#pragma once
#include "xmlModule.h"

int cfgShow(const char* name, const char* text, const char* setting, const S_TEXT_SINK* sink);

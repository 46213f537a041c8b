#pragma once
#include <string>

#include "xmlModule.h"

// The module's way of saying things: one line at a time through the program's
// sink. The texts are the module's own; what came from outside (a file's
// name, a field's value) is only ever an argument.
void say(const S_TEXT_SINK* sink, const char* fmt, ...) __attribute__((format(printf, 2, 3)));
// A failure's line; returns the failure status, for "return fail(...)".
int fail(const S_TEXT_SINK* sink, const char* fmt, ...) __attribute__((format(printf, 2, 3)));
std::string strf(const char* fmt, ...) __attribute__((format(printf, 1, 2)));

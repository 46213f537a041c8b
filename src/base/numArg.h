#pragma once
#include "diagStatus.h"

// A number word of the command line: a whole number in decimal, "0x"
// hexadecimal or leading-zero octal, with no sign, blank or trailing text.
enum E_NUM_ARG { NUM_ARG_OK, NUM_ARG_NOT_A_NUMBER, NUM_ARG_OUT_OF_RANGE };
E_NUM_ARG parseNumArg(const char* text, unsigned long min, unsigned long max, unsigned long* value);

// Reads a number word for an option and refuses a bad one with one line that
// names the command, the option and the word: BAD_PARAMETER, else SUCCESS.
E_STATUS numArg(const char* who, const char* opt, const char* text, unsigned long min, unsigned long max,
                unsigned long* value);
// That refusal, for a number found bad later (a range that depends on the device);
// SUCCESS, and nothing said, for NUM_ARG_OK.
E_STATUS refuseNumArg(const char* who, const char* opt, const char* text, E_NUM_ARG why, unsigned long min,
                      unsigned long max);

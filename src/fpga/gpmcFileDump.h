#pragma once
#include <cstdio>

// Formats in which the gpmc command writes the words it reads to a file.
enum E_GPMC_DUMP {
  GPMC_DUMP_NONE = 0,
  GPMC_DUMP_DEC,    // -f: one decimal word a line
  GPMC_DUMP_BIN,    // -fb: the words as held in memory
  GPMC_DUMP_HEX,    // -fh: four hex words a line, and their 32-bit pairs unless sincorr
  GPMC_DUMP_SINE1,  // -fs1: channel-1 24-bit samples in decimal
  GPMC_DUMP_CTF     // -ctf: sample blocks written by the collection itself
};

// Writes one block of words read from the FPGA in the given format.
void gpmcDumpBlock(FILE* f, E_GPMC_DUMP kind, const unsigned short* w, unsigned long n, bool sincorr);
// The 24-bit sample held in a word pair: bits 23:8 in the second word, bits 7:0
// in the first word's high byte; sign-extended from bit 23.
long gpmcSample24(unsigned short first, unsigned short second);

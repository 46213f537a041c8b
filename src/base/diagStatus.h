#pragma once
// Status codes returned by every command, test and device operation.

enum E_STATUS {
  INVALID_STATUS = 0,
  SUCCESS = 1,
  FAILURE = 2,
  TIMEOUT = 5,
  BAD_PARAMETER = 6,
  ADDR_OUT_OF_RANGE = 7,
  CMD_NOT_FOUND = 8,
  NULL_POINTER = 9,
  WRONG_NUM_ARGS = 10,
  ENTRY_NOT_FOUND = 11,
  BUFFER_MISALIGNED = 12,
  SYS_CALL_FAILED = 13,
  MEMORY_ALLOC_FAILED = 14,
  ALGORITHM_NOT_RECOGNIZED = 15,
  MEMTEST_FAILED = 16,
  MEM_ERASURE_FAILED = 17,
  INVALID_STRING = 18,
  BUFFER_TOO_SMALL = 19,
  TOO_MANY_ARGS = 20,
  FXN_NOT_SUPPORTED = 21,
  THREAD_FAILED = 22,
  FAULT = 23,
  OVERRANGE = 24,
  OUTOFSPEC = 25
};

// The argument array of a command line: at most 20 rows of 200 characters.
constexpr int MAX_ARGS = 20;
constexpr int ARG_LEN = 200;

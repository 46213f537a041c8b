#pragma once
#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

inline bool contains(const std::string& text, const std::string& piece) { return text.find(piece) != std::string::npos; }

// How many times piece occurs in text.
inline size_t countOf(const std::string& text, const std::string& piece) {
  size_t n = 0;
  for (size_t at = text.find(piece); at != std::string::npos; at = text.find(piece, at + 1)) ++n;
  return n;
}

// One unsigned number as a printf format shows it: formatted("0x%04x", 18) is "0x0012".
inline std::string formatted(const char* format, unsigned v) {
  char buf[64];
  snprintf(buf, sizeof buf, format, v);
  return buf;
}

inline std::vector<std::string> splitLines(const std::string& text) {
  std::vector<std::string> out;
  std::istringstream in(text);
  for (std::string l; std::getline(in, l);) out.push_back(l);
  return out;
}

// Runs f with standard output captured; returns what it printed.
template <typename F>
std::string captured(F f) {
  ::testing::internal::CaptureStdout();
  f();
  return ::testing::internal::GetCapturedStdout();
}

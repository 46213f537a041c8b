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

// Values as a printf format shows them: formatted("0x%04x", 18) is "0x0012".
template <typename... V>
std::string formatted(const char* format, V... v) {
  char buf[256];
  snprintf(buf, sizeof buf, format, v...);
  return buf;
}

// Whether text holds each of pieces; a failure names every piece it lacks, then shows the text.
inline ::testing::AssertionResult holdsAll(const std::string& text, const std::vector<std::string>& pieces) {
  std::string lacks;
  for (const std::string& p : pieces)
    if (!contains(text, p)) lacks += "\"" + p + "\" ";
  if (lacks.empty()) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "lacks " << lacks << "in:\n" << text;
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

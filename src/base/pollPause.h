#pragma once
// Waiting by polling without spinning: each pause sleeps a little longer than
// the one before, from 50 us up to 10 ms, so that a short wait ends soon after
// its cause and a long one costs little. After 5 s of waiting the caller is
// told, once, so that it can say what it is waiting for.
class PollPause {
public:
  // Sleeps one pause; true at the first pause after the wait has lasted 5 s.
  bool sleep();

private:
  long long startMs = -1;
  long pauseUs = 50;
  bool told = false;
};

#pragma once
#include <sys/types.h>

#include <cstdint>
#include <string>

#include "diagStatus.h"

// How far the holder of a semaphore's lock got: "taking" from before its take
// to the end of its give (the semaphore's value tells the two apart), "held"
// when it took over a dead process's hold. "giving" is a phase of earlier
// builds, still read. Fixed-width fields: the 32-bit and the 64-bit build on
// one machine share the file.
enum E_SEM_PHASE : int32_t { SEM_FREE = 0, SEM_TAKING = 1, SEM_HELD = 2, SEM_GIVING = 3 };
struct SemRecord {
  int32_t phase;
  int32_t pid;
};

// The lock file beside a named semaphore, /dev/shm/<name>.lock: its flock, and
// the record of how far the last process of ours that held the flock got.
//
// Every user can write the file (mode 0666), so another user's program may cut
// it, grow it, overwrite it, replace it or put something else in its place.
// So the record is read and written with plain calls, never through a mapping
// (a mapping of a file cut short kills the process with SIGBUS at its next
// touch); the file is opened without following a symbolic link and must be a
// regular file; under the flock the path must still name the open file (if
// not, the file now there is opened and locked, as every other process does),
// and a record that is not whole is put back to "free" with one line saying so.
// Anything else (a link, a directory, a FIFO, a file this user cannot write) is
// refused with one line naming the file and what to do about it.
class LockFile {
public:
  constexpr LockFile() = default;
  // Opens, or makes when missing, the lock file of semaphore semName. False,
  // said in one line, when what is at the path is not a lock file of ours.
  bool open(const char* semName);
  // Takes the flock, polling; after 5 s of waiting says once which process
  // holds it, or that it cannot be named. FAILURE when the file is refused or
  // an interrupt ended the wait (errno EINTR then). The record found under the
  // lock (after any repair) in *found.
  E_STATUS lock(const char* semName, SemRecord* found = nullptr);
  void unlock() const;
  // Async-signal-safe: a process notes its phase from its ending signal too.
  void note(E_SEM_PHASE phase, int32_t pid) const;
  // In a forked child: an open file of its own, since a flock belongs to the
  // open file, which the child would otherwise share with its parent.
  void reopen();
  const char* path() const { return lockPath; }

private:
  E_STATUS waitFlock(const char* semName) const;
  bool stillAtPath(struct stat* opened) const;
  SemRecord record() const;
  SemRecord repaired(const char* semName, const struct stat& opened) const;
  void reportHolder(const char* semName) const;

  char lockPath[64] = {};
  int fd = -1;
};

// Read and write for every user: the mode of the semaphores and their lock
// files, which processes of every user share.
constexpr mode_t EVERY_USER = 0666;

// Puts a file, made whole under a name of its own, in its place with mode
// EVERY_USER whatever the umask, so that no process ever sees it half made or
// closed to another user. replace: over what is there; else a file that
// another process put there meanwhile is kept.
bool publishFile(const std::string& made, const std::string& path, bool replace);
// The name a process makes a file under before publishing it.
std::string madeName(const std::string& name);
// The process that holds a flock on the open file, from /proc/locks; 0 when
// none can be named (no /proc, or the holder is in another pid namespace).
pid_t flockHolder(int fd);

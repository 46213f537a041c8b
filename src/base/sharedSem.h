#pragma once
#include <semaphore.h>

#include <atomic>

#include "diagStatus.h"
#include "lockFile.h"

// One named semaphore as the processes of this program share it.
//
// Beside the semaphore in /dev/shm lies its lock file, "<name>.lock", mode
// 0666 like the semaphore (see lockFile.h for how it is kept whole against
// other users' programs). A process of ours holds the file's flock from
// before it takes the semaphore until after it has given it back, and keeps a
// small record in the file of how far it got (taking or holding, or free)
// and its process id. The kernel releases a flock when the process holding it
// dies, however it dies (kill -9 and a debugger's kill included). So whoever
// gets the lock is the only process of ours touching the semaphore, and if the
// record is not back to free, the process before it died half-way: the
// semaphore's value then says whether that process still held the semaphore
// (0: adopted, and said so) or not (an ordinary take follows).
//
// Why a flock: it lives in the kernel's open file and ends with it, whatever
// state the dying process was in; a robust process-shared mutex depends on the
// dying process's own list of held mutexes being consistent at that instant,
// and its layout differs between the 32-bit and 64-bit builds that meet on a
// development machine. An open-file-description lock would serve as well; flock
// is the simpler call with the same lifetime.
//
// The threads of a process share its open file and so its flock; they pass
// the semaphore among themselves through a gate of their own first.
//
// Other programs on the instrument may use the semaphore without the lock
// file; their hold is waited for like any other. The one case this cannot
// settle: a process of ours killed inside a take or a give, between its record
// and its semaphore call, while such a program holds the semaphore. The value
// 0 is then read as our dead process's hold.
class SharedSem {
public:
  // Constant: the semaphores are used from static initialisers of other files.
  constexpr explicit SharedSem(const char* name) : name(name) {}
  // Opens the lock file and, under its lock, the semaphore; creates either one
  // that is missing with mode 0666 whatever the umask (the semaphore at 1), and
  // replaces a semaphore of another build's layout. nullptr on failure, said in
  // one line naming the file. Called by one thread, before any take.
  sem_t* open();
  // Takes the semaphore for the calling thread, waiting while another thread
  // or process holds it. FAILURE also when an interrupt ended the wait (errno
  // EINTR then).
  E_STATUS take();
  // Gives the semaphore back if this process holds it. Async-signal-safe, and
  // any thread may call it: it runs when the process ends.
  void give();
  bool held() const { return isHeld.load(); }
  // In the child of a fork: the parent's hold and its lock stay the parent's.
  void forgetInherited();
  const char* semName() const { return name; }

private:
  sem_t* openSemLocked();
  E_STATUS enterGate();
  void leave();
  bool adoptFromDead(const SemRecord& r);
  int tryTake();

  const char* name;
  LockFile lockFile;  // an open file of our own, never shared with a forked child
  sem_t* sem = nullptr;
  // One thread of this process at a time between take and give. A semaphore
  // rather than a mutex: the give that ends the process may run in any thread.
  sem_t gate{};
  bool gateReady = false;
  std::atomic<bool> isHeld{false};
  // This process's id for the lock file's record, noted on every take and
  // give: asked once when opened and again in a forked child, not each time.
  int32_t pid = 0;
};

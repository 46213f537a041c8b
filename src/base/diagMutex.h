#pragma once
#include <semaphore.h>
#include "diagStatus.h"

// The two program-wide named semaphores: "diagGPMCSem" around every FPGA
// register word, "diagSem" around the use of an I2C device and its path.
// Handles are opened once per process and kept.
E_STATUS getGPMCMutx(sem_t** ppMutex);
E_STATUS getMutx(sem_t** ppMutex);

// Waiting and posting with a record of the holding process, so that a process
// that ends while holding a semaphore does not stop every later one:
// - a process releases what it holds when it exits or is stopped by a signal
//   (a stopping signal that arrives while a take or give is being recorded
//   takes effect right after it);
// - a waiter that finds the recorded holder gone (ended, or ended and not yet
//   collected by its parent) takes the semaphore over and says so.
// A semaphore left by a build whose sem_t has another size (64-bit and 32-bit
// builds on one machine) is replaced when opened: the two cannot share one.
// A process killed outright in the few instructions between taking the
// semaphore and recording itself as holder leaves no record: that one case is
// not recovered.
// semTake by the thread that already holds the semaphore goes on without
// waiting when reentrant is true (as the I2C accessor needs); each such take
// is matched by a semGive, and only the outermost give posts. The FPGA word
// access takes and gives the semaphore around each word.
E_STATUS semTake(sem_t* pMutex, bool reentrant = false);
void semGive(sem_t* pMutex);
// True when this process holds the semaphore.
bool semHeldHere(sem_t* pMutex);

#pragma once
#include <semaphore.h>
#include "diagStatus.h"

// The two program-wide named semaphores: "diagGPMCSem" around every FPGA
// register word, "diagSem" around the use of an I2C device and its path.
// Handles are opened once per process and kept.
E_STATUS getGPMCMutx(sem_t** ppMutex);
E_STATUS getMutx(sem_t** ppMutex);

// Taking and giving (see sharedSem.h for how a process of this program that
// dies at any instant, kill -9 included, is settled by the next one):
// - a process gives back what it holds when it exits or is ended by a signal
//   (an ending signal that arrives inside a take or a give takes effect right
//   after it);
// - the next process to take a semaphore whose holder died holding it takes
//   it over and says so once: "recovered semaphore NAME from process PID,
//   which ended while holding it".
// semTake by the thread that already holds the semaphore goes on without
// waiting when reentrant is true (as the I2C accessor needs); each such take
// is matched by a semGive, and only the outermost give posts. The FPGA word
// access takes and gives the semaphore around each word.
E_STATUS semTake(sem_t* pMutex, bool reentrant = false);
void semGive(sem_t* pMutex);
// True when this process holds the semaphore.
bool semHeldHere(sem_t* pMutex);

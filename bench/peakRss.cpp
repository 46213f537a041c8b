// diag_peak_rss PROGRAM [ARG...]: runs the program once and prints its peak
// resident size in KiB (what the kernel accounted to it, as wait4 reports).
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

int main(int argc, char** argv) {
  if (argc < 2) {
    fprintf(stderr, "usage: diag_peak_rss PROGRAM [ARG...]\n");
    return 2;
  }
  pid_t pid = fork();
  if (pid == 0) {
    execv(argv[1], argv + 1);
    _exit(127);
  }
  int status = 0;
  struct rusage ru = {};
  if (pid < 0 || wait4(pid, &status, 0, &ru) < 0) return 1;
  printf("%ld\n", ru.ru_maxrss);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? 0 : 1;
}

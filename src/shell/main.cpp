#include "dcli.h"

int main(int argc, char** argv) {
  setCmdLine(argc, argv);
  DCLI();
  return 0;
}

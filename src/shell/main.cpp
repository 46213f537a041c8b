#include "dcli.h"
#include "layers.h"
#include "termState.h"

int main(int argc, char** argv) {
  saveTermState();
  connectLayers();
  setCmdLine(argc, argv);
  DCLI();
  return 0;
}

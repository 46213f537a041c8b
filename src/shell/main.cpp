#include "dcli.h"
#include "layers.h"

int main(int argc, char** argv) {
  connectLayers();
  setCmdLine(argc, argv);
  DCLI();
  return 0;
}

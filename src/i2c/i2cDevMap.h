#pragma once
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "i2cDev.h"
#include "tstAxs.h"

typedef std::map<std::string, I2cDev*> I2cDevNameMap;

// Every named I2C device of the board the program runs on, by name. Building
// it finds the board (main host, signal host, front-panel or main-reference
// processor), and from revision 3 the address of each PCA9545 switch from
// sysfs and the address at which the main-reference sensor answers.
class I2cDevMap : public DiagObject {
public:
  // The process's registry: built on first use, lives until the process ends.
  static I2cDevMap* getI2cDevMap();
  // A registry built from what the board shows now.
  I2cDevMap();
  I2cDevMap(const I2cDevMap&) = delete;
  I2cDevMap& operator=(const I2cDevMap&) = delete;

  I2cDevNameMap map;
  std::string boardLabel;  // which board the registry was built for

  // One row of a board's device table.
  struct Entry {
    const char* name;
    unsigned address;
    E_HOST host;
    unsigned hostMux;
    unsigned localMux;
    bool smbus;
    const char* boardNo;
    const char* function;
    const char* part;
    bool post;
    bool notOnLaterRevs;
    bool scanIgnore;
  };
private:
  // The fixed-column description: host board, bus and channels, board number, function, part.
  static std::string describe(const char* hostLabel, bool twoLevels, const Entry& e);
  void add(const char* hostLabel, bool twoLevels, const Entry& e, unsigned address);
  std::vector<std::unique_ptr<TstAxs>> tests;
  std::vector<std::unique_ptr<I2cDev>> devices;
};

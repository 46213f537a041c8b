#pragma once
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "i2cBoardTables.h"
#include "i2cDev.h"
#include "i2cPath.h"
#include "tstAxs.h"

typedef std::map<std::string, I2cDev*> I2cDevNameMap;

// Every named I2C device of the board the program runs on, by name. Building
// it finds the board (main host, signal host, front-panel or main-reference
// processor), and from revision 3 the address of each PCA9545 switch from
// sysfs and the address at which the main-reference sensor answers. It owns
// the devices and their access tests, and hands each device's path the
// multiplexer chips of the device's host.
class I2cDevMap : public DiagObject {
public:
  // The process's registry: built on first use, lives until the process ends.
  static I2cDevMap* getI2cDevMap();
  // A registry built from what the board shows now.
  I2cDevMap();
  I2cDevMap(const I2cDevMap&) = delete;
  I2cDevMap& operator=(const I2cDevMap&) = delete;

  // The multiplexer chips of this board that a path behind host selects.
  I2cPathMuxes muxesFor(E_HOST host) const;

  I2cDevNameMap map;
  std::string boardLabel;  // which board the registry was built for

private:
  void add(const I2cBoardTable& t, const I2cBoardEntry& e, unsigned address);
  I2cDev* find(const char* name) const;
  std::vector<std::unique_ptr<I2cDev>> devices;
  std::vector<std::unique_ptr<TstAxs>> tests;
  // What each adapter carries, shared by its devices: asked once per registry.
  std::map<unsigned, std::shared_ptr<I2cAdapterCaps>> adapterCaps;
};

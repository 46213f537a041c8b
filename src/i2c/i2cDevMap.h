#pragma once
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "i2cBoardTables.h"
#include "i2cDev.h"
#include "i2cPath.h"
#include "programSem.h"
#include "rev.h"

typedef std::map<std::string, I2cDev*> I2cDevNameMap;

// Every named I2C device of the board the program runs on, by name, with
// "diagSem", the semaphore that its accesses take. The board holds one; it is
// filled on first use, for the board it finds then (main host, signal host,
// front-panel or main-reference processor), with from revision 3 the address
// of each PCA9545 switch from sysfs and the address at which the
// main-reference sensor answers. It owns the devices and their paths, and
// hands each path the multiplexer chips of its host and the board revision as
// the command sees it.
class I2cDevMap {
public:
  explicit I2cDevMap(ProgramSem& sem) : sem(sem) {}
  I2cDevMap(const I2cDevMap&) = delete;
  I2cDevMap& operator=(const I2cDevMap&) = delete;

  // The devices by name (the registry is filled at the first call).
  const I2cDevNameMap& devices();
  // The named device, or null; by iterator, or end().
  I2cDev* find(const std::string& name);
  I2cDevNameMap::const_iterator lookup(const std::string& name);
  I2cDevNameMap::const_iterator end() const { return map.end(); }
  // Which board the registry was filled for ("Main Host", ...).
  const std::string& boardLabel();
  // The multiplexer chips of this board that a path behind host selects.
  I2cPathMuxes muxesFor(E_HOST host);
  // A command begins: the board revision is read again when next needed.
  void beginCommand() { revision.forget(); }

  ProgramSem& sem;
  RevCache revision;

private:
  void fill();
  void placeMrefSensor();
  void add(const I2cBoardTable& t, const I2cBoardEntry& e, unsigned address);
  I2cDev* known(const char* name) const;

  bool filled = false;
  // The host switch's address while the main-reference sensor is still to be looked for; none once placed.
  std::optional<unsigned> mrefSwitch;
  I2cDevNameMap map;
  std::string label;
  std::vector<std::unique_ptr<I2cDev>> owned;
  std::vector<std::unique_ptr<I2CPath>> paths;
  // What each adapter carries, shared by its devices: asked once per registry.
  std::map<unsigned, std::shared_ptr<I2cAdapterCaps>> adapterCaps;
};

#pragma once
#include <string>

#include "devices.h"
#include "diagStatus.h"
#include "i2cHost.h"

// One source of the instrument's all-okay fault line: its own okay output,
// and the system all-okay input as it sees it. Operations a source does not
// have answer FXN_NOT_SUPPORTED.
class AllOkay {
public:
  AllOkay(const Devices& dev, std::string name, E_HOST host) : dev(dev), name(std::move(name)), host(host) {}
  virtual ~AllOkay() = default;
  virtual E_STATUS chk4OkayOut(bool* pOk) { return FXN_NOT_SUPPORTED; }
  virtual E_STATUS chk4AllOkayIn(bool* pOk) { return FXN_NOT_SUPPORTED; }
  virtual E_STATUS setOkayOut(bool ok, bool oldWay) { return FXN_NOT_SUPPORTED; }

  const Devices& dev;
  std::string name;
  E_HOST host;
};

// The main host, through its FPGA.
class MnAllOkay : public AllOkay {
public:
  explicit MnAllOkay(const Devices& dev) : AllOkay(dev, "mnhost", MAIN) {}
  E_STATUS chk4OkayOut(bool* pOk) override;
  E_STATUS chk4AllOkayIn(bool* pOk) override;
  E_STATUS setOkayOut(bool ok, bool oldWay) override;
};

// A signal host, through its FPGA.
class ShAllOkay : public AllOkay {
public:
  using AllOkay::AllOkay;
  E_STATUS chk4OkayOut(bool* pOk) override;
  E_STATUS chk4AllOkayIn(bool* pOk) override;
  E_STATUS setOkayOut(bool ok, bool oldWay) override;
};

class MsAllOkay : public ShAllOkay {
public:
  explicit MsAllOkay(const Devices& dev) : ShAllOkay(dev, "mshost", MEAS) {}
};

class SrcAllOkay : public ShAllOkay {
public:
  explicit SrcAllOkay(const Devices& dev) : ShAllOkay(dev, "srchost", SIGNAL) {}
};

// The front panel, through the general-purpose outputs of its FPGA.
class FpAllOkay : public AllOkay {
public:
  explicit FpAllOkay(const Devices& dev) : AllOkay(dev, "fp", MAIN) {}
  E_STATUS chk4OkayOut(bool* pOk) override;
  E_STATUS chk4AllOkayIn(bool* pOk) override;
  E_STATUS setOkayOut(bool ok, bool oldWay) override;
};

// The power-supply controller FPGA of voltage source 14.
class PscAllOkay : public AllOkay {
public:
  explicit PscAllOkay(const Devices& dev) : AllOkay(dev, "psc", SIGNAL) {}
  E_STATUS chk4OkayOut(bool* pOk) override;
  E_STATUS chk4AllOkayIn(bool* pOk) override;
  E_STATUS setOkayOut(bool ok, bool oldWay) override;
};

// The power-factor controller, through its status packets.
class PfcAllOkay : public AllOkay {
public:
  explicit PfcAllOkay(const Devices& dev) : AllOkay(dev, "pfc", MAIN) {}
  E_STATUS chk4OkayOut(bool* pOk) override;
  E_STATUS chk4AllOkayIn(bool* pOk) override;
};

// The main reference board: the over-temperature output of its sensor mrtmp1.
class MrAllOkay : public AllOkay {
public:
  explicit MrAllOkay(const Devices& dev) : AllOkay(dev, "mref", MAIN) {}
  E_STATUS chk4OkayOut(bool* pOk) override;
  E_STATUS setOkayOut(bool ok, bool oldWay) override;
};

// The fan controller board: the fault output of the fan controller, which any fan's fault asserts.
class FcAllOkay : public AllOkay {
public:
  explicit FcAllOkay(const Devices& dev) : AllOkay(dev, "fctl", MAIN) {}
  E_STATUS chk4OkayOut(bool* pOk) override;
  E_STATUS setOkayOut(bool ok, bool oldWay) override;
};

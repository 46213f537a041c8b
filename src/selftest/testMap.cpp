#include "testMap.h"

#include <memory>

#include "deviceTests.h"

TestMap::TestMap(const Devices& dev) {
  const bool R = true, C = false;  // report each step, stop at the first mismatch
  auto add = [this](std::unique_ptr<Test> t) {
    if (map.insert(TMap::value_type(t->nm, t.get())).second) tests.push_back(std::move(t));
  };
  add(std::make_unique<DDR3DataLineMemTest>("ddr3dl", "Test the DDR3 Main Memory data lines", &arbitraryMemLocation, 0, R, C));
  add(std::make_unique<Z9CoreTempRegTest>("tmp0reg", "Test a register in the TEMP0 sensor.", R, C));
  add(std::make_unique<Z9CoreTempRegTest>("tmp1reg", "Test a register in the TEMP1 sensor.", R, C));
  add(std::make_unique<Z9CoreTempRegTest>("tmp2reg", "Test a register in the TEMP2 sensor.", R, C));
  add(std::make_unique<Z9CoreTempRegTest>("tmp3reg", "Test a register in the TEMP3 sensor.", R, C));
  add(std::make_unique<Z9HostLEDDriverRegTest>("leddriver", "Test a register in the Host LED Driver.", R, C));
  add(std::make_unique<Z9CableConnTest>(dev, "cableconn", "Test cable connections.", R, C));
  add(std::make_unique<MeasFastRngRegTest>("mrr", "Pound meas. CPLD range reg.", R, C));
  add(std::make_unique<MeasBrdTest>("mbt", "Measurement board test", R, C));
  add(std::make_unique<GpmcRegTest>(dev, "gpmcreg", "Test a register in the GPMC FPGA.", R, C));
  add(std::make_unique<MeasAcqTest>("msacq", "Aquire a test signal and check it", R, C));
  add(std::make_unique<I2cScanTest>(dev, "i2cscn", "Test accessibility of I2C devices", R, C));
  add(std::make_unique<FpGPORegTest>(dev, "fpgpo", "Pound FP GPO scratch reg.", R, C));
  add(std::make_unique<PSCFPGAWCRegTest>("pscwcreg", "Test WF clipping LSB register in the PSC FPGA.", R, C));
  add(std::make_unique<PSCFPGASPRegTest>("pscspreg", "Test scratch pad register in the PSC FPGA.", R, C));
  add(std::make_unique<I2CFastRegAxsTest>(dev, "shswfa", "Fast access the shostmux register.", "shostsw", "00", 0, R, C));
  add(std::make_unique<I2CFastRegAxsTest>(dev, "pscfa", "Fast access the PSC WF clipping LSB register.", "hvuc3", "996200", 0, R, C));
  add(std::make_unique<I2CFastRegAxsTest>(dev, "fpfa", "Fast access the FPFPFA GPO scratchpad register.", "fpfpga", "390000", 0, R, C));
  add(std::make_unique<I2CFastRegAxsTest>(dev, "mc1i2cspifa", "Fast access the meas ch1 I2C-SPI bridge.", "mc1i2cspi",
                            "04000000000000000000000000000000", 160, R, C));
  add(std::make_unique<I2CFastRegAxsTest>(dev, "mc2i2cspifa", "Fast access the meas ch2 I2C-SPI bridge.", "mc2i2cspi",
                            "04000000000000000000000000000000", 160, R, C));
  add(std::make_unique<GndContChkTest>("gndcont", "Check ground continuity can be broken", R, C));
  add(std::make_unique<LVSInitNStatTest>("lvsins", "LVS initialize and check status", R, C));
  add(std::make_unique<FCPg0FltLimRegTest>(dev, "fcreg", "Test pg 0 limit register in the fan controller.", R, C));
  add(std::make_unique<Z9MRefTempRegTest>(dev, "mrtmp1reg", "Test a register in the main ref. TEMP1 sensor.", R, C));
  add(std::make_unique<Z9MRefTempRegTest>(dev, "mrtmp2reg", "Test a register in the main ref. TEMP2 sensor.", R, C));
}

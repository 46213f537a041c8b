#include "gpmcDevMap.h"

#include "gpmcDevCtl.h"

namespace {
struct TargetRow {
  const char* name;
  E_GPMC_FPGA_TGT target;
};
const TargetRow targetTable[] = {{"ibuf", FPGA_INPUT_BUFFER},   {"obuf", FPGA_OUTPUT_BUFFER},
                                 {"fgen", FPGA_FREQUENCY_GENERATOR}, {"reg", FPGA_REG},
                                 {"oled", FPGA_OLEDREG_PSOCBUF}, {"psocbuf", FPGA_OLEDREG_PSOCBUF}};
}  // namespace

GpmcDevMap::GpmcDevMap(ProgramSem& sem) : device(sem) {
  for (const TargetRow& r : targetTable) map.try_emplace(r.name, device, r.target);
}

GpmcDev* GpmcDevMap::find(const std::string& name) {
  auto it = map.find(name);
  return it == map.end() ? nullptr : &it->second;
}

std::vector<std::string> GpmcDevMap::names() const {
  std::vector<std::string> out;
  for (const auto& entry : map) out.push_back(entry.first);
  return out;
}

void GpmcDevMap::pulseTrigger() {
  GpmcDev* reg = find("reg");
  if (!reg) return;
  GpmcDevCtl ctl(*reg);
  ctl.GPMCEnPrimarySrc();
  ctl.GPMCDisPrimarySrc();
}

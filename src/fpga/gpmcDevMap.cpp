#include "gpmcDevMap.h"

namespace {
struct TargetRow {
  const char* name;
  E_GPMC_FPGA_TGT target;
};
const TargetRow targetTable[] = {{"ibuf", FPGA_INPUT_BUFFER},   {"obuf", FPGA_OUTPUT_BUFFER},
                                 {"fgen", FPGA_FREQUENCY_GENERATOR}, {"reg", FPGA_REG},
                                 {"oled", FPGA_OLEDREG_PSOCBUF}, {"psocbuf", FPGA_OLEDREG_PSOCBUF}};
}  // namespace

GpmcDevMap::GpmcDevMap() {
  for (const TargetRow& r : targetTable) map.try_emplace(r.name, r.target);
}

GpmcDevMap& GpmcDevMap::getGpmcDevMap() {
  static GpmcDevMap m;
  return m;
}

GpmcDev* GpmcDevMap::find(const std::string& name) {
  auto& m = getGpmcDevMap().map;
  auto it = m.find(name);
  return it == m.end() ? nullptr : &it->second;
}

std::vector<std::string> GpmcDevMap::names() {
  std::vector<std::string> out;
  for (const auto& entry : getGpmcDevMap().map) out.push_back(entry.first);
  return out;
}

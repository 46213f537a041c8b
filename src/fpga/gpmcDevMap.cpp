#include "gpmcDevMap.h"

GpmcDevMap* GpmcDevMap::pGpmcDevM = nullptr;
bool GpmcDevMap::mapInitialized = false;

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
  mapInitialized = true;
  for (const TargetRow& r : targetTable) map.insert(GpmcDevMapT::value_type(r.name, new GpmcDev(r.target)));
}

GpmcDevMap* GpmcDevMap::getGpmcDevMap() {
  if (!mapInitialized) pGpmcDevM = new GpmcDevMap();
  return pGpmcDevM;
}

GpmcDev* GpmcDevMap::find(const std::string& name) {
  GpmcDevMapT& m = getGpmcDevMap()->map;
  auto it = m.find(name);
  return it == m.end() ? nullptr : it->second;
}

#include "allOkayMap.h"

AllOkayMap::AllOkayMap() {
  auto add = [this](std::unique_ptr<AllOkay> src) { map.emplace(src->name, std::move(src)); };
  add(std::make_unique<MnAllOkay>());
  add(std::make_unique<MsAllOkay>());
  add(std::make_unique<SrcAllOkay>());
  add(std::make_unique<FpAllOkay>());
  add(std::make_unique<PscAllOkay>());
  add(std::make_unique<PfcAllOkay>());
  add(std::make_unique<MrAllOkay>());
  add(std::make_unique<FcAllOkay>());
}

AllOkay* AllOkayMap::find(const std::string& name) {
  auto it = map.find(name);
  return it == map.end() ? nullptr : it->second.get();
}

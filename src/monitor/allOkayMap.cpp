#include "allOkayMap.h"

AllOkayMap::AllOkayMap(const Devices& dev) {
  auto add = [this](std::unique_ptr<AllOkay> src) { map.emplace(src->name, std::move(src)); };
  add(std::make_unique<MnAllOkay>(dev));
  add(std::make_unique<MsAllOkay>(dev));
  add(std::make_unique<SrcAllOkay>(dev));
  add(std::make_unique<FpAllOkay>(dev));
  add(std::make_unique<PscAllOkay>(dev));
  add(std::make_unique<PfcAllOkay>(dev));
  add(std::make_unique<MrAllOkay>(dev));
  add(std::make_unique<FcAllOkay>(dev));
}

AllOkay* AllOkayMap::find(const std::string& name) {
  auto it = map.find(name);
  return it == map.end() ? nullptr : it->second.get();
}

#include "allOkayMap.h"

AllOkayMap::AllOkayMap() {
  auto add = [this](AllOkay* src) { map.emplace(src->name, std::unique_ptr<AllOkay>(src)); };
  add(new MnAllOkay());
  add(new MsAllOkay());
  add(new SrcAllOkay());
  add(new FpAllOkay());
  add(new PscAllOkay());
  add(new PfcAllOkay());
  add(new MrAllOkay());
  add(new FcAllOkay());
}

AllOkay* AllOkayMap::find(const std::string& name) {
  auto it = map.find(name);
  return it == map.end() ? nullptr : it->second.get();
}

#include "sync/model/SharedRules.h"

namespace velmora {

Uuid SharedBlocklist::mainID() {
  return Uuid({0xB3, 0xA7, 0, 0, 0, 0, 0x40, 0, 0x80, 0, 0, 0, 0, 0, 0, 1});
}

SharedBlocklist SharedBlocklist::main() {
  return {mainID(), "Distracting", "flame", {}, {}, {}};
}

SharedBlocklist SharedRules::blocklist(const std::optional<Uuid>& id) const {
  const auto find = [this](const Uuid& wanted) -> const SharedBlocklist* {
    for (const auto& list : blocklists)
      if (list.id == wanted) return &list;
    return nullptr;
  };
  if (id)
    if (const auto* list = find(*id)) return *list;
  if (const auto* list = find(SharedBlocklist::mainID())) return *list;
  return SharedBlocklist::main();
}

}  // namespace velmora

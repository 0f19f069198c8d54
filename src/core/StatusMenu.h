#pragma once

#include <vector>

#include "core/ModuleStore.h"
#include "core/TimerService.h"
#include "ports/StatusItem.h"

namespace velmora {

// The menu of the status item as session state wants it now. The action of an item is the command
// line that does the same: "window show", "end" or "quit".
std::vector<StatusMenuItem> statusMenu(const TimerService& timer,
                                       const LateRef<ModuleStore::Commitment>& commitment);

}  // namespace velmora

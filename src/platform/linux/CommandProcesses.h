#pragma once

#include "ports/Processes.h"

namespace velmora {

// Programs found by the PATH. They get no descriptor and no blocked signal of ours. Safe from every
// thread.
class CommandProcesses : public Processes {
 public:
  std::optional<Outcome> run(const std::vector<std::string>& arguments) override;
};

}  // namespace velmora

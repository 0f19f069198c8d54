#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/App.h"
#include "control/StateDocument.h"
#include "ports/Authentication.h"
#include "ports/Diagnostics.h"

namespace velmora {

// What a command answers. Exit codes: 0 done, 1 refused or failed with one line in `error`,
// 2 wrong usage.
struct CommandResult {
  int status = 0;
  std::string output;  // for standard output, with its line ends
  std::string error;   // one line, without line end
  std::string hint;    // what helps at the command line; a window has its own ways

  static CommandResult done(std::string output = {}) { return {0, std::move(output), {}, {}}; }
  static CommandResult refused(std::string why, std::string hint = {}) {
    return {1, {}, std::move(why), std::move(hint)};
  }
  static CommandResult misused(std::string usage) { return {2, {}, std::move(usage), {}}; }
};

// Every command that the program obeys, by name. The command line and the windows use this one
// table, so what one can do, the other can do; and it obeys the locks of the timer screen: what a
// hard session refuses there, it refuses here. Main lane only.
class CommandTable {
 public:
  using Arguments = std::vector<std::string>;
  struct Environment {
    App& app;
    const AppCatalog& catalog;
    Preferences& preferences;
    const StateDocument& state;
    Diagnostics& diagnostics;
    Authentication& authentication;
    std::function<void()> quit;  // ends the program soon, after the answer
    // Touches only files; the same without the resident program.
    std::function<CommandResult(const Arguments&)> installBrowserLink;
  };
  struct Command {
    std::string_view name;
    std::string_view usage;  // of the arguments
    std::string_view help;
    std::function<CommandResult(const Environment&, const Arguments&)> run;
  };

  explicit CommandTable(Environment environment) : environment_(std::move(environment)) {}

  static const std::vector<Command>& commands();
  // An unknown name and arguments that are not UTF-8 are wrong usage.
  CommandResult run(std::string_view name, const Arguments& arguments) const;

 private:
  Environment environment_;
};

}  // namespace velmora

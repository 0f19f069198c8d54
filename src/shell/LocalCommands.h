#pragma once

#include <string>
#include <vector>

#include "control/CommandTable.h"

namespace velmora {

// Commands that work whether or not the program runs, since they touch only files.
namespace local {

// prefs read KEY | prefs dump [--json]
CommandResult prefs(const std::vector<std::string>& arguments);
// install-browser-link [--json]: lets every browser that is found reach our native messaging host,
// and tells what is left to the user.
CommandResult installBrowserLink(const std::vector<std::string>& arguments);
// Puts the program into the desktop's list of applications, for this user.
CommandResult installDesktop(const std::vector<std::string>& arguments);
std::string help();

// Where this program's own files are: the folder of the executables, and of what they share.
std::string programFolder();
std::string residentProgram();
std::string shareFolder();

}  // namespace local
}  // namespace velmora

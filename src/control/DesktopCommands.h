#pragma once

#include <string>
#include <string_view>

#include "base/Json.h"
#include "control/CommandTable.h"

// The commands about the program's place on the desktop, and what all commands share.
namespace velmora::commands {

using Arguments = CommandTable::Arguments;
using Environment = CommandTable::Environment;

CommandResult hardRefusal();
std::string line(std::string text);
std::string jsonLine(const json::Value& value);
std::string joined(const Arguments& words, size_t from = 0);
// Whether the flag was there; it is not afterwards.
bool takeFlag(Arguments& arguments, std::string_view flag);
// By name, letter case ignored, or by identity; null when there is none.
const FocusPreset* findPreset(const Environment& e, std::string_view name);

CommandResult applications(const Environment& e, const Arguments& arguments);
CommandResult window(const Environment& e, const Arguments& arguments);
CommandResult hud(const Environment& e, const Arguments& arguments);
CommandResult notice(const Environment& e, const Arguments& arguments);
CommandResult dock(const Environment& e, const Arguments& arguments);
CommandResult sidebar(const Environment& e, const Arguments& arguments);
CommandResult login(const Environment& e, const Arguments& arguments);
CommandResult end(const Environment& e, const Arguments& arguments);
CommandResult welcome(const Environment& e, const Arguments& arguments);
CommandResult alive(const Environment& e, const Arguments& arguments);
CommandResult quit(const Environment& e, const Arguments& arguments);

}  // namespace velmora::commands

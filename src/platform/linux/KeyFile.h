#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace velmora {

// Group name -> key -> value, as desktop files and icon themes are written. Of what is given twice
// the first counts; a line that is neither a group nor a key is passed over.
using KeyFile = std::map<std::string, std::map<std::string, std::string, std::less<>>, std::less<>>;

KeyFile parseKeyFile(std::string_view text);
// Reads at most a megabyte of a regular file; empty when there is none. Never waits for a pipe.
KeyFile readKeyFile(const std::string& path);
// The value as it is written, escapes and all; empty when it is absent.
std::string_view keyFileValue(const KeyFile& file, std::string_view group, std::string_view key);
// The elements of a list, without empty ones.
std::vector<std::string> keyFileList(std::string_view value, char separator);

}  // namespace velmora

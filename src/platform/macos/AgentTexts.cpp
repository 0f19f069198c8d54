#include "platform/macos/AgentTexts.h"

#include <filesystem>
#include <fstream>

namespace velmora {

std::string xmlEscaped(std::string_view text) {
  std::string out;
  for (const char c : text) {
    if (c == '&')
      out += "&amp;";
    else if (c == '<')
      out += "&lt;";
    else
      out += c;
  }
  return out;
}

std::string shellEscaped(std::string_view text) {
  std::string out;
  for (const char c : text) {
    if (c == '"' || c == '\\' || c == '$' || c == '`') out += '\\';
    out += c;
  }
  return out;
}

bool writeWhole(const std::string& path, const std::string& content) {
  namespace fs = std::filesystem;
  const std::string draft = path + ".new";
  std::ofstream file(draft, std::ios::binary | std::ios::trunc);
  file << content;
  file.close();
  std::error_code error;
  if (!file) return fs::remove(draft, error), false;
  fs::rename(draft, path, error);
  return !error;
}

}  // namespace velmora

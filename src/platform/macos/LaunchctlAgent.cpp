#include "platform/macos/LaunchctlAgent.h"

#include <filesystem>
#include <fstream>
#include <vector>

namespace velmora {
namespace {

namespace fs = std::filesystem;

std::string escaped(const std::string& text) {
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

// For a place between double quotes.
std::string shellEscaped(const std::string& text) {
  std::string out;
  for (const char c : text) {
    if (c == '"' || c == '\\' || c == '$' || c == '`') out += '\\';
    out += c;
  }
  return out;
}

std::string entry(const std::string& key, const std::string& value) {
  return "    <key>" + key + "</key>\n    " + value + "\n";
}

std::string text(const std::string& value) {
  return "<string>" + escaped(value) + "</string>";
}

std::string list(const std::vector<std::string>& values) {
  std::string out = "<array>\n";
  for (const auto& value : values) out += "        " + text(value) + "\n";
  return out + "    </array>";
}

// All of the file or nothing.
bool writeWhole(const std::string& path, const std::string& content) {
  const std::string draft = path + ".new";
  std::ofstream file(draft, std::ios::binary | std::ios::trunc);
  file << content;
  file.close();
  std::error_code error;
  if (!file) return fs::remove(draft, error), false;
  fs::rename(draft, path, error);
  return !error;
}

}  // namespace

LaunchctlAgent LaunchctlAgent::guardian(Processes& processes, const std::string& folder,
                                        const std::string& bundlePath) {
  const std::string command =
      "pgrep -x \"Velmora\" > /dev/null 2>&1 || open -g \"" + shellEscaped(bundlePath) + "\"";
  return {processes, folder, "com.velmora.guardian",
          entry("ProgramArguments", list({"/bin/sh", "-c", command})) +
              entry("StartInterval", "<integer>15</integer>") +
              entry("ProcessType", text("Background"))};
}

LaunchctlAgent LaunchctlAgent::login(Processes& processes, const std::string& folder,
                                     const std::string& bundlePath) {
  return {processes, folder, "com.velmora.launch",
          entry("ProgramArguments", list({"/usr/bin/open", bundlePath})) +
              entry("RunAtLoad", "<true/>") + entry("KeepAlive", "<false/>")};
}

LaunchctlAgent::LaunchctlAgent(Processes& processes, const std::string& folder,
                               const std::string& label, const std::string& keys)
    : processes_(processes),
      path_(folder + "/" + label + ".plist"),
      text_(
          "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
          "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
          "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
          "<plist version=\"1.0\">\n<dict>\n" +
          entry("Label", text(label)) + keys + "</dict>\n</plist>\n") {}

bool LaunchctlAgent::isInstalled() const {
  std::error_code error;
  return fs::exists(path_, error);
}

void LaunchctlAgent::install() {
  std::error_code error;
  fs::create_directories(fs::path(path_).parent_path(), error);
  if (writeWhole(path_, text_)) processes_.run({"/bin/launchctl", "load", path_});
}

void LaunchctlAgent::remove() {
  if (!isInstalled()) return;
  processes_.run({"/bin/launchctl", "unload", path_});
  std::error_code error;
  fs::remove(path_, error);
}

}  // namespace velmora

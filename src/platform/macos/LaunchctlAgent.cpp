#include "platform/macos/LaunchctlAgent.h"

#include <filesystem>
#include <vector>

#include "platform/macos/AgentTexts.h"

namespace velmora {
namespace {

namespace fs = std::filesystem;

std::string entry(const std::string& key, const std::string& value) {
  return "    <key>" + key + "</key>\n    " + value + "\n";
}

std::string text(const std::string& value) {
  return "<string>" + xmlEscaped(value) + "</string>";
}

std::string list(const std::vector<std::string>& values) {
  std::string out = "<array>\n";
  for (const auto& value : values) out += "        " + text(value) + "\n";
  return out + "    </array>";
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
      text_(std::string(kPropertyListHead) + "<plist version=\"1.0\">\n<dict>\n" +
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

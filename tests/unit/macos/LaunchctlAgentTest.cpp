#include "platform/macos/LaunchctlAgent.h"

#include "platform/sim/Fakes.h"
#include "support/TempFolder.h"

namespace velmora {
namespace {

// Without the white space between tags.
TEST(LaunchctlAgent, WritesThesePropertyListsAndTellsTheSystem) {
  const TempFolder temp;
  sim::FakeProcesses processes;
  const auto installs = [&](LaunchctlAgent agent, const std::string& label, const char* rest) {
    const std::string path = temp / "Library/" + label + ".plist";
    agent.install();
    std::ifstream file(path);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    EXPECT_EQ(text.substr(0, text.find("<dict>")),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST "
              "1.0//EN\" \"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n<plist version=\"1.0\">\n");
    std::string flat = text.substr(text.find("<dict>"));
    for (size_t end; (end = flat.find('\n')) != flat.npos;)
      flat.erase(end, flat.find_first_not_of("\n ", end) - end);
    EXPECT_EQ(flat, "<dict><key>Label</key><string>" + label +
                        "</string><key>ProgramArguments</key><array><string>" + rest);
    for (int i = 0; i < 2; ++i) agent.remove();
    EXPECT_EQ(processes.runs, (std::vector<std::vector<std::string>>{
                                  {"/bin/launchctl", "load", path}, {"/bin/launchctl", "unload", path}}));
    EXPECT_FALSE(agent.isInstalled());
    processes.runs.clear();
  };
  installs(LaunchctlAgent::guardian(processes, temp / "Library", "/A & $/Velmora.app"),
           "com.velmora.guardian",
           "/bin/sh</string><string>-c</string><string>pgrep -x \"Velmora\" > /dev/null 2>&amp;1 || "
           "open -g \"/A &amp; \\$/Velmora.app\"</string></array><key>StartInterval</key><integer>15"
           "</integer><key>ProcessType</key><string>Background</string></dict></plist>");
  installs(LaunchctlAgent::login(processes, temp / "Library", "/V.app"), "com.velmora.launch",
           "/usr/bin/open</string><string>/V.app</string></array><key>RunAtLoad</key><true/>"
           "<key>KeepAlive</key><false/></dict></plist>");
}

}  // namespace
}  // namespace velmora

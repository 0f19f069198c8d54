#include "platform/macos/LaunchctlAgent.h"

#include <regex>

#include "platform/sim/Fakes.h"
#include "support/TempFolder.h"

namespace velmora {
namespace {

TEST(LaunchctlAgent, WritesThesePropertyListsAndTellsTheSystem) {
  const TempFolder temp;
  sim::FakeProcesses processes;
  // What is between the tags of the dictionary, without white space between them.
  const auto installed = [&](LaunchctlAgent agent, const std::string& label) {
    const std::string path = temp / "Library" + "/" + label + ".plist";
    agent.install();
    std::ifstream file(path);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    for (int i = 0; i < 2; ++i) agent.remove();
    const std::vector<std::vector<std::string>> runs{{"/bin/launchctl", "load", path},
                                                     {"/bin/launchctl", "unload", path}};
    EXPECT_EQ(std::exchange(processes.runs, {}), runs);
    EXPECT_FALSE(agent.isInstalled());
    return std::regex_replace(text.substr(text.find("<dict>")), std::regex(">\n *"), ">");
  };
  EXPECT_EQ(installed(LaunchctlAgent::guardian(processes, temp / "Library", "/A & $/Velmora.app"),
                      "com.velmora.guardian"),
            "<dict><key>Label</key><string>com.velmora.guardian</string><key>ProgramArguments</key>"
            "<array><string>/bin/sh</string><string>-c</string><string>pgrep -x \"Velmora\" > "
            "/dev/null 2>&amp;1 || open -g \"/A &amp; \\$/Velmora.app\"</string></array>"
            "<key>StartInterval</key><integer>15</integer>"
            "<key>ProcessType</key><string>Background</string></dict></plist>");
  EXPECT_EQ(installed(LaunchctlAgent::login(processes, temp / "Library", "/V.app"),
                      "com.velmora.launch"),
            "<dict><key>Label</key><string>com.velmora.launch</string><key>ProgramArguments</key>"
            "<array><string>/usr/bin/open</string><string>/V.app</string></array>"
            "<key>RunAtLoad</key><true/><key>KeepAlive</key><false/></dict></plist>");
}

}  // namespace
}  // namespace velmora

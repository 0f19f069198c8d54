#pragma once

#include "linux/PrivateXServer.h"
#include "support/TempFolder.h"

namespace velmora::test {

// A message bus of the test's own, on which everybody may do everything. Its address stands in a
// variable of this process, whether the bus runs or not.
class PrivateBus {
 public:
  explicit PrivateBus(const char* variable) : variable_(variable) {
    const std::string address = "unix:path=" + socket_;
    putContent(folder_ / "bus.conf",
               "<busconfig><listen>" + address +
                   "</listen><policy context='default'><allow send_destination='*'/>"
                   "<allow receive_sender='*'/><allow own='*'/></policy></busconfig>");
    setenv(variable_, address.c_str(), 1);
  }
  ~PrivateBus() { unsetenv(variable_); }

  static bool canMock() {
    return hasProgram("dbus-daemon") &&
           access("/usr/lib/python3/dist-packages/dbusmock", F_OK) == 0;
  }
  void start() {
    unlink(socket_.c_str());
    daemon_ = Child({"dbus-daemon", "--nofork", "--config-file", folder_ / "bus.conf"});
    ASSERT_TRUE(eventually([&] { return access(socket_.c_str(), F_OK) == 0; }));
  }
  void kill() { daemon_.kill(); }

 private:
  TempFolder folder_;
  const std::string socket_ = folder_ / "bus";
  const char* const variable_;
  Child daemon_;
};

}  // namespace velmora::test

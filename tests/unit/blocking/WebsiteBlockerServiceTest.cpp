#include "blocking/WebsiteBlockerService.h"

#include "platform/sim/FakeFiles.h"
#include "platform/sim/FakeListeners.h"
#include "platform/sim/Fakes.h"

namespace velmora {
namespace {

TEST(Websites, AreToldKeptBehindTheWallAndAnOldHelperStandsDown) {
  sim::World world;
  sim::FakeListeners listeners;
  sim::Lane loop{world};
  sim::FakeLog log;
  sim::FakeFiles files;
  BlockPageServer server{listeners, loop, loop, log, "page"};
  const WebsiteBlockerService::Neighbours nobody;
  WebsiteBlockerService service{server, files, nobody};

  service.startBlocking({"https://www.X.com/a", " ", "b.org", "https://"}, "long break");
  EXPECT_EQ(service.status.get(), (NativeBlockerStatus{{"b.org", "x.com"}, "long break"}));
  world.settle();
  EXPECT_TRUE(listeners.isListening("52700"));
  service.disableBlocking();
  EXPECT_EQ(service.status.get(), (NativeBlockerStatus{{}, "idle"}));
  EXPECT_TRUE(files.texts.empty());
  files.texts["/Library/LaunchDaemons/com.velmora.helper.plist"] = "";
  bool done = false;
  service.disableBlocking([&] { done = files.texts["/tmp/vm_trigger"] == "idle"; });
  EXPECT_TRUE(done);
}

}  // namespace
}  // namespace velmora

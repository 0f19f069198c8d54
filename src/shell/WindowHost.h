#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

#include "base/Date.h"
#include "base/Subscription.h"
#include "ports/Log.h"

namespace velmora {

class EventLoop;

// Keeps the window process alive while a surface of it is wanted, and only then. The loop's thread
// only; the destructor ends the process.
class WindowHost {
 public:
  struct Wants {
    bool any = false;   // some surface is to be seen
    bool gate = false;  // among them the one that must stand
    bool operator==(const Wants&) const = default;
  };
  struct Times {
    Seconds restart{0.1};  // from a death to the next start
    Seconds early{5.0};    // who dies sooner after its start is no good
    Seconds pause{4.0};    // before the next start once several were no good
    Seconds first{10.0};   // until the gate's first sign of life
    Seconds mute{5.0};     // between its further signs, or of one that has been up for longer
    Seconds leave{3.0};    // to end by itself when nothing is wanted; then again to end when told
  };

  // `command` starts the process. Without a display nothing is ever started.
  WindowHost(EventLoop& loop, Log& log, std::vector<std::string> command)
      : WindowHost(loop, log, std::move(command), Times()) {}
  WindowHost(EventLoop& loop, Log& log, std::vector<std::string> command, Times times);
  ~WindowHost();
  WindowHost(const WindowHost&) = delete;
  WindowHost& operator=(const WindowHost&) = delete;

  // A process that dies while it is wanted is started again at once. When it dies early several
  // times in a row that stops, with a notice in the log, until a surface is wanted anew; for the
  // gate it goes on for ever, with pauses.
  void setWanted(Wants wanted);
  // Somebody asks to see a window: as setWanted, but forgets earlier failures.
  void request();
  // The process has said that it draws. While the gate is wanted and it stays mute, it is replaced.
  void noteSign();

 private:
  using Clock = std::chrono::steady_clock;
  void start();
  void onEnd();
  void replaceIfMute();
  void endSoon();
  void signal(int number) const;
  void forget();

  EventLoop& loop_;
  Log& log_;
  const std::vector<std::string> command_;
  const Times times_;
  Wants wanted_;
  int earlyDeaths_ = 0;
  pid_t pid_ = 0;
  int pidFd_ = -1;
  Clock::time_point started_;
  Clock::time_point patientUntil_;
  Subscription end_;      // of the process
  Subscription next_;     // start
  Subscription leaving_;  // while nothing is wanted
  Subscription looking_;  // while the gate is wanted
};

}  // namespace velmora

#include "platform/linux/WorkerQueue.h"

#include <pthread.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/linux/EventLoop.h"

namespace velmora {
namespace {

constexpr size_t kStackBytes = 512u << 10;

}  // namespace

struct WorkerQueue::Thread {
  static void* run(void* self) {
    static_cast<Thread*>(self)->loop.run();
    return nullptr;
  }
  EventLoop loop;
  pthread_t id{};
};

WorkerQueue::WorkerQueue(const std::string& name) : thread_(std::make_unique<Thread>()) {
  sigset_t all;
  sigfillset(&all);
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, kStackBytes);
  pthread_attr_setsigmask_np(&attributes, &all);
  const int error = pthread_create(&thread_->id, &attributes, &Thread::run, thread_.get());
  pthread_attr_destroy(&attributes);
  if (error != 0) {
    std::fprintf(stderr, "velmora: no thread for %s: %s\n", name.c_str(), std::strerror(error));
    std::abort();
  }
  pthread_setname_np(thread_->id, name.substr(0, 15).c_str());
}

WorkerQueue::~WorkerQueue() {
  thread_->loop.quit();
  pthread_join(thread_->id, nullptr);
}

void WorkerQueue::post(Task task) {
  thread_->loop.post(std::move(task));
}

Subscription WorkerQueue::after(Seconds delay, Task task) {
  return thread_->loop.after(delay, std::move(task));
}

EventLoop& WorkerQueue::loop() {
  return thread_->loop;
}

}  // namespace velmora

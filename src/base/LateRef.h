#pragma once

#include <cstdio>
#include <cstdlib>

namespace velmora {

// A reference to something built later, bound once while the application is wired. An unbound
// reference tests false; whoever uses it without asking has made a wiring error, which ends the
// program in every build.
template <class T>
class LateRef {
 public:
  void bind(T& target) {
    if (target_) fail("bound twice");
    target_ = &target;
  }
  explicit operator bool() const { return target_ != nullptr; }
  T& operator*() const {
    if (!target_) fail("used before it was bound");
    return *target_;
  }
  T* operator->() const { return &**this; }

 private:
  [[noreturn]] static void fail(const char* what) {
    std::fprintf(stderr, "velmora: a late reference was %s\n", what);
    std::abort();
  }
  T* target_ = nullptr;
};

}  // namespace velmora

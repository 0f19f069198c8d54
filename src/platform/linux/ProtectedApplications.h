#pragma once

#include <span>
#include <string_view>

namespace velmora {

// What keeps a Linux desktop usable, or would end work that cannot be taken up again: its shells,
// file managers and settings; lockers; whoever asks for a password or on behalf of another program;
// what people need to read, type or look on from elsewhere.
struct ProtectedApplication {
  std::string_view id;
  std::string_view names;  // file names, window classes and programs of the same, by blanks
};

std::span<const ProtectedApplication> protectedApplications();

}  // namespace velmora

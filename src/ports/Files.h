#pragma once

#include <optional>
#include <string>

namespace velmora {

// Small text files of others, by absolute path. Main thread only; for files that are quickly read.
class Files {
 public:
  virtual ~Files() = default;
  // Follows links; false also for what this user may not see.
  virtual bool exists(const std::string& path) const = 0;
  // The whole file; nothing when it is no regular file, can't be read or is beyond a mebibyte.
  virtual std::optional<std::string> readText(const std::string& path) const = 0;
  // A reader finds the text of before or this one, whole, also after a power cut. A link at the
  // path is replaced, not followed; the file is this user's alone. False when it failed, and then
  // nothing has changed.
  virtual bool writeTextAtomically(const std::string& path, const std::string& text) = 0;
};

}  // namespace velmora

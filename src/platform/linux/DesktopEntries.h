#pragma once

#include <array>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/linux/KeyFile.h"

namespace velmora {

// What one desktop file tells of an application.
struct DesktopEntry {
  std::string id;    // its path below the folder, "/" written as "-", without the suffix
  std::string path;
  std::string name;  // in the user's language
  std::string icon;  // the name of an icon or the path of an image
  std::string windowClass;  // StartupWMClass
  std::string program;      // base name of what it starts; empty behind a launcher or interpreter
  bool isPlainStart = false;  // it starts that program with nothing but what to open
  bool isForPeople = false;  // a menu of this user's desktop would show it
  size_t folder = 0;         // its place among the data folders
};

// The desktop files of this computer and the names by which applications go that have one. Safe
// from every thread.
class DesktopEntries {
 public:
  struct Environment {
    std::string home;
    std::string configHome;
    std::vector<std::string> dataFolders;  // the user's first; exports of flatpak and snap included
    std::vector<std::string> languages;    // as in "Name[de_AT]", the best first
    std::vector<std::string> desktops;     // $XDG_CURRENT_DESKTOP
    std::vector<std::string> path;         // folders of $PATH
    static Environment current();
  };
  explicit DesktopEntries(Environment environment) : environment_(std::move(environment)) {}

  const Environment& environment() const { return environment_; }
  // Reads the disk, folder by folder. A file that hides one of the same identity in a later folder
  // stands alone. Damaged files, and those that are no applications, are left out.
  std::vector<DesktopEntry> read() const;

  // What one file tells, whatever its place; nothing when it is damaged or no application.
  std::optional<DesktopEntry> entryOf(const KeyFile& file) const;

  // The identity of the application that has this file name, window class or program; letter case
  // is ignored. Quick, unless a folder has changed since it was last read.
  std::optional<std::string> named(std::string_view name) const;
  // The identity of the application for people that starts this program; of several the one that
  // does no more than that, and nothing when there is no such one.
  std::optional<std::string> startedBy(std::string_view program) const;

 private:
  using Names = std::unordered_map<std::string, std::string>;  // by lower case name
  // Which folder stands at a path, and when it last changed; nothing where there is none.
  using Stamp = std::optional<std::array<uint64_t, 4>>;
  using Stamps = std::vector<std::pair<std::string, Stamp>>;
  struct Found {
    std::vector<DesktopEntry> entries;  // also those that others hide
    Stamps folders;
  };
  static Stamp stampOf(const std::string& folder);
  Found readAll() const;
  void readFolder(size_t place, const std::string& folder, const std::string& prefix,
                  Found& into) const;
  bool isForPeople(const KeyFile& file) const;
  void refresh() const;
  void index(const Found& found) const;

  const Environment environment_;
  mutable std::mutex mutex_;  // guards what follows
  mutable bool isIndexed_ = false;
  mutable Stamps stamps_;
  mutable Names names_;
  mutable Names programs_;
};

}  // namespace velmora

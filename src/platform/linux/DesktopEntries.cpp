#include "platform/linux/DesktopEntries.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <ranges>
#include <unordered_set>

#include "base/Text.h"
#include "platform/linux/Paths.h"

namespace velmora {
namespace fs = std::filesystem;
namespace {

constexpr std::string_view kGroup = "Desktop Entry";
constexpr std::string_view kSuffix = ".desktop";

// What runs other programs tells nothing of which one.
constexpr auto kLaunchers = std::to_array<std::string_view>(
    {"sh",    "bash",    "dash",  "env",  "flatpak", "snap", "gtk-launch", "gapplication", "pkexec",
     "sudo",  "su",      "xdg-open", "exo-open", "java", "perl", "ruby", "node", "electron", "gjs",
     "mono",  "wine",    "bwrap", "dbus-launch", "dbus-run-session", "systemd-run", "nice"});

std::string variable(const char* name, std::string otherwise = {}) {
  const char* value = std::getenv(name);
  return value && *value ? value : std::move(otherwise);
}

std::string_view baseName(std::string_view path) {
  return path.substr(path.rfind('/') + 1);
}

// "de_AT.UTF-8@euro": de_AT@euro, de_AT, de@euro, de.
void appendLanguages(std::string_view locale, std::vector<std::string>& to) {
  const size_t at = locale.find('@');
  const std::string modifier(at == std::string_view::npos ? "" : locale.substr(at));
  const std::string territory(locale.substr(0, locale.find_first_of(".@")));
  const std::string language = territory.substr(0, territory.find('_'));
  for (const auto& candidate : {territory + modifier, territory, language + modifier, language}) {
    if (!candidate.empty() && std::ranges::find(to, candidate) == to.end()) {
      to.push_back(candidate);
    }
  }
}

std::vector<std::string> userLanguages() {
  const std::string locale = variable("LC_ALL", variable("LC_MESSAGES", variable("LANG")));
  std::vector<std::string> out;
  if (locale.empty() || locale == "POSIX" || locale == "C" || locale.starts_with("C.")) return out;
  for (const auto& wish : keyFileList(variable("LANGUAGE"), ':')) appendLanguages(wish, out);
  appendLanguages(locale, out);
  return out;
}

std::string unescaped(std::string_view value) {
  std::string out;
  for (size_t i = 0; i < value.size(); ++i) {
    if (value[i] != '\\' || i + 1 == value.size()) {
      out += value[i];
      continue;
    }
    const char c = value[++i];
    out += c == 's' ? ' ' : c == 'n' ? '\n' : c == 't' ? '\t' : c == 'r' ? '\r' : c;
  }
  return out;
}

// The words of a command line, quotes taken off.
std::vector<std::string> wordsOf(std::string_view command) {
  std::vector<std::string> words;
  bool isQuoted = false, isInWord = false;
  for (size_t i = 0; i < command.size(); ++i) {
    const char c = command[i];
    if (c == ' ' && !isQuoted) {
      isInWord = false;
      continue;
    }
    if (!std::exchange(isInWord, true)) words.emplace_back();
    if (c == '"') {
      isQuoted = !isQuoted;
    } else if (c == '\\' && isQuoted && i + 1 < command.size()) {
      words.back() += command[++i];
    } else {
      words.back() += c;
    }
  }
  return words;
}

void readCommand(std::string_view command, DesktopEntry& entry) {
  auto words = wordsOf(command);
  const auto isProgram = [](const std::string& word) {
    return baseName(word) != "env" && word.find('=') == std::string::npos;
  };
  const auto program = std::ranges::find_if(words, isProgram);
  if (program == words.end()) return;
  const std::string_view name = baseName(*program);
  if (std::ranges::find(kLaunchers, name) != kLaunchers.end() || name.starts_with("python")) return;
  entry.program = name;
  entry.isPlainStart =
      std::all_of(program + 1, words.end(), [](const auto& word) { return word.starts_with('%'); });
}

}  // namespace

DesktopEntries::Environment DesktopEntries::Environment::current() {
  Environment e;
  e.home = paths::home();
  e.configHome = variable("XDG_CONFIG_HOME", e.home + "/.config");
  const std::string own = variable("XDG_DATA_HOME", e.home + "/.local/share");
  std::vector<std::string> folders{own, own + "/flatpak/exports/share"};
  for (auto& folder : keyFileList(variable("XDG_DATA_DIRS", "/usr/local/share:/usr/share"), ':')) {
    while (folder.size() > 1 && folder.back() == '/') folder.pop_back();
    folders.push_back(std::move(folder));
  }
  folders.insert(folders.end(), {"/var/lib/flatpak/exports/share", "/var/lib/snapd/desktop"});
  for (auto& folder : folders) {
    if (std::ranges::find(e.dataFolders, folder) == e.dataFolders.end()) {
      e.dataFolders.push_back(std::move(folder));
    }
  }
  e.languages = userLanguages();
  e.desktops = keyFileList(variable("XDG_CURRENT_DESKTOP"), ':');
  e.path = keyFileList(variable("PATH", "/usr/local/bin:/usr/bin:/bin"), ':');
  return e;
}

std::vector<DesktopEntry> DesktopEntries::read() const {
  Found found = readAll();
  {
    const std::lock_guard lock(mutex_);
    index(found);
  }
  std::unordered_set<std::string> seen;
  std::erase_if(found.entries, [&](const auto& entry) { return !seen.insert(entry.id).second; });
  return std::move(found.entries);
}

std::optional<std::string> DesktopEntries::named(std::string_view name) const {
  const std::lock_guard lock(mutex_);
  refresh();
  const auto found = names_.find(text::lowercased(name));
  return found == names_.end() ? std::nullopt : std::optional(found->second);
}

std::optional<std::string> DesktopEntries::startedBy(std::string_view program) const {
  const std::lock_guard lock(mutex_);
  refresh();
  const auto found = programs_.find(text::lowercased(program));
  const bool isKnown = found != programs_.end() && !found->second.empty();
  return isKnown ? std::optional(found->second) : std::nullopt;
}

DesktopEntries::Found DesktopEntries::readAll() const {
  Found found;
  for (size_t place = 0; place < environment_.dataFolders.size(); ++place) {
    readFolder(place, environment_.dataFolders[place] + "/applications", "", found);
  }
  return found;
}

DesktopEntries::Stamp DesktopEntries::stampOf(const std::string& folder) {
  struct stat status{};
  if (stat(folder.c_str(), &status) != 0) return std::nullopt;
  return {{status.st_dev, status.st_ino, static_cast<uint64_t>(status.st_mtim.tv_sec),
           static_cast<uint64_t>(status.st_mtim.tv_nsec)}};
}

void DesktopEntries::readFolder(size_t place, const std::string& folder,
                                const std::string& prefix, Found& into) const {
  // Before what is in it, so that a change meanwhile is seen the next time.
  const Stamp stamp = stampOf(folder);
  const auto isSame = [&](const auto& read) {
    return stamp && read.second && std::ranges::equal(*stamp | std::views::take(2),
                                                      *read.second | std::views::take(2));
  };
  // Links may lead in a circle.
  if (std::ranges::any_of(into.folders, isSame)) return;
  into.folders.emplace_back(folder, stamp);
  std::error_code error;
  std::vector<std::string> names;
  for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
    names.push_back(it->path().filename().string());
  }
  std::ranges::sort(names);
  for (const auto& name : names) {
    const std::string path = folder + "/" + name;
    if (fs::is_directory(path, error)) {
      readFolder(place, path, prefix + name + "-", into);
    } else if (name.ends_with(kSuffix)) {
      auto entry = entryOf(readKeyFile(path));
      if (!entry) continue;
      entry->id = prefix + name.substr(0, name.size() - kSuffix.size());
      entry->path = path;
      entry->folder = place;
      into.entries.push_back(std::move(*entry));
    }
  }
}

std::optional<DesktopEntry> DesktopEntries::entryOf(const KeyFile& file) const {
  const auto value = [&](std::string_view key) { return keyFileValue(file, kGroup, key); };
  DesktopEntry entry;
  for (const auto& language : environment_.languages) {
    entry.name = unescaped(value("Name[" + language + "]"));
    if (!entry.name.empty()) break;
  }
  if (entry.name.empty()) entry.name = unescaped(value("Name"));
  // A file that says no more than that it is hidden takes away the one of a later folder.
  const bool isHidden = value("Hidden") == "true";
  if (!isHidden && (value("Type") != "Application" || entry.name.empty())) return std::nullopt;
  if (!text::isValidUtf8(entry.name)) return std::nullopt;
  entry.icon = unescaped(value("Icon"));
  entry.windowClass = unescaped(value("StartupWMClass"));
  readCommand(unescaped(value("Exec")), entry);
  entry.isForPeople = !isHidden && isForPeople(file);
  return entry;
}

bool DesktopEntries::isForPeople(const KeyFile& file) const {
  const auto value = [&](std::string_view key) { return keyFileValue(file, kGroup, key); };
  if (value("NoDisplay") == "true" || value("Terminal") == "true") return false;
  const auto isOurDesktop = [&](std::string_view key) {
    const auto listed = keyFileList(value(key), ';');
    return std::ranges::find_first_of(listed, environment_.desktops) != listed.end();
  };
  if (!value("OnlyShowIn").empty() && !isOurDesktop("OnlyShowIn")) return false;
  if (isOurDesktop("NotShowIn")) return false;
  const std::string needed = unescaped(value("TryExec"));
  if (needed.empty()) return true;
  if (needed.front() == '/') return access(needed.c_str(), X_OK) == 0;
  return std::ranges::any_of(environment_.path, [&](const auto& folder) {
    return access((folder + "/" + needed).c_str(), X_OK) == 0;
  });
}

void DesktopEntries::refresh() const {
  const auto isSame = [](const auto& stamp) { return stampOf(stamp.first) == stamp.second; };
  if (!isIndexed_ || !std::ranges::all_of(stamps_, isSame)) index(readAll());
}

// Where two lay claim to a name, the one of the later folder has it: what the system installed can
// be given no other name by a file of the user's own.
void DesktopEntries::index(const Found& found) const {
  isIndexed_ = true;
  stamps_ = found.folders;
  names_.clear();
  programs_.clear();
  std::unordered_map<std::string, std::pair<size_t, bool>> claims;  // the best so far
  for (const auto& entry : found.entries | std::views::reverse) {
    names_.emplace(text::lowercased(entry.id), entry.id);
    if (!entry.isForPeople || entry.program.empty()) continue;
    const std::string program = text::lowercased(entry.program);
    const std::pair claim{entry.folder, entry.isPlainStart};
    const auto [best, isFirst] = claims.emplace(program, claim);
    if (isFirst || best->second < claim) {
      best->second = claim;
      programs_[program] = entry.id;
    } else if (best->second == claim && programs_[program] != entry.id) {
      programs_[program].clear();  // it does not tell which of them runs
    }
  }
  for (const auto& entry : found.entries | std::views::reverse) {
    if (!entry.windowClass.empty()) names_.emplace(text::lowercased(entry.windowClass), entry.id);
  }
  for (const auto& [program, id] : programs_) {
    if (!id.empty()) names_.emplace(program, id);
  }
}

}  // namespace velmora

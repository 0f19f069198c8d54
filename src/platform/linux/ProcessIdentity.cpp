#include "platform/linux/ProcessIdentity.h"

#include <fcntl.h>
#include <limits.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <vector>

#include "base/Text.h"
#include "platform/linux/LinuxAppCatalog.h"

namespace velmora {
namespace {

std::string procPath(int32_t pid, const char* name) {
  return "/proc/" + std::to_string(pid) + "/" + name;
}

// The first few kilobytes, which hold all that is looked for.
std::string contents(const std::string& path) {
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return {};
  std::array<char, 8192> buffer;
  const ssize_t size = read(fd, buffer.data(), buffer.size());
  close(fd);
  return size > 0 ? std::string(buffer.data(), static_cast<size_t>(size)) : std::string();
}

std::string_view baseName(std::string_view path) {
  constexpr std::string_view upgraded = " (deleted)";  // the file was replaced since the start
  if (path.ends_with(upgraded)) path.remove_suffix(upgraded.size());
  const size_t slash = path.rfind('/');
  return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

// Unit names write "-" inside a part as \x2d.
std::string unescaped(std::string_view part) {
  std::string out;
  for (size_t i = 0; i < part.size(); ++i) {
    const bool escape = part[i] == '\\' && i + 3 < part.size() && part[i + 1] == 'x' &&
                        hexDigit(part[i + 2]) >= 0 && hexDigit(part[i + 3]) >= 0;
    if (!escape) {
      out += part[i];
      continue;
    }
    out += static_cast<char>(hexDigit(part[i + 2]) * 16 + hexDigit(part[i + 3]));
    i += 3;
  }
  return out;
}

bool takeSuffix(std::string_view& text, std::string_view suffix) {
  if (!text.ends_with(suffix)) return false;
  text.remove_suffix(suffix.size());
  return true;
}

bool takePrefix(std::string_view& text, std::string_view prefix) {
  if (!text.starts_with(prefix)) return false;
  text.remove_prefix(prefix.size());
  return true;
}

// app[-launcher]-ID-RANDOM.scope, app[-launcher]-ID[@RANDOM].service, app[-launcher]-ID.slice
std::string applicationOfAppUnit(std::string_view rest, bool isScope) {
  rest = rest.substr(0, rest.find('@'));
  const auto parts = text::split(rest, '-');
  const size_t behind = isScope ? 1 : 0;  // how many parts follow the identity
  if (parts.size() <= behind) return {};
  return unescaped(parts[parts.size() - 1 - behind]);
}

// snap.NAME.COMMAND-UUID.scope: desktop files of snaps are called NAME_COMMAND.
std::string applicationOfSnap(std::string_view rest) {
  const auto parts = text::split(rest, '.');
  if (parts.size() < 2) return {};
  constexpr size_t uuid = 36 + 1;
  std::string_view command = parts[1];
  if (command.size() > uuid) command.remove_suffix(uuid);
  return std::string(parts[0]) + "_" + std::string(command);
}

// Nothing means: look at the group above.
std::optional<std::string> applicationOfUnit(std::string_view unit) {
  const bool isScope = takeSuffix(unit, ".scope");
  const bool isService = !isScope && takeSuffix(unit, ".service");
  const bool isSlice = !isScope && !isService && takeSuffix(unit, ".slice");
  if (isScope || isService || isSlice) {
    if (takePrefix(unit, "app-")) return applicationOfAppUnit(unit, isScope);
    if (takePrefix(unit, "snap.")) return applicationOfSnap(unit);
  }
  // A scope or service that names no application is a boundary: a shell in a terminal's scope is
  // not the terminal.
  if (isScope || isService) return std::string();
  return std::nullopt;
}

}  // namespace

std::string applicationOfCgroup(std::string_view cgroup) {
  for (const std::string_view line : text::split(cgroup, '\n')) {
    const size_t path = line.find('/');
    if (path == std::string_view::npos) continue;
    const auto units = text::split(line.substr(path + 1), '/');
    for (auto unit = units.rbegin(); unit != units.rend(); ++unit) {
      const auto application = applicationOfUnit(*unit);
      if (!application) continue;
      if (!application->empty()) return *application;
      break;
    }
  }
  return {};
}

std::optional<uint64_t> startTimeOfStat(std::string_view stat) {
  // The second field is the program's name in parentheses and may itself hold any character.
  const size_t nameEnd = stat.rfind(')');
  if (nameEnd == std::string_view::npos) return std::nullopt;
  const auto fields = text::split(stat.substr(nameEnd + 1), ' ');
  constexpr size_t startTime = 20;  // field 22 of all, after a leading empty piece
  if (fields.size() <= startTime) return std::nullopt;
  return text::digits(fields[startTime]);
}

ProcessIdentity::ProcessIdentity(const LinuxAppCatalog& catalog, const Source& source)
    : catalog_(catalog), source_(source) {}

const std::string& ProcessIdentity::of(int32_t pid, std::string_view windowClass,
                                       std::string_view instance) {
  auto entry = known_.find(pid);
  if (entry == known_.end()) entry = known_.emplace(pid, found(pid)).first;
  Known& known = entry->second;
  for (const std::string_view name : {windowClass, instance}) {
    const bool isNews = !name.empty() && known.evidence != Evidence::program &&
                        std::ranges::find(known.names, name) == known.names.end();
    if (isNews) consider(name, known);
  }
  return known.id;
}

void ProcessIdentity::recheck(int32_t pid) {
  const auto found = known_.find(pid);
  if (found != known_.end() && found->second.startTime != source_.startTime(pid)) {
    known_.erase(found);
  }
}

void ProcessIdentity::keepOnly(const std::unordered_set<int32_t>& pids) {
  std::erase_if(known_, [&](const auto& entry) { return !pids.contains(entry.first); });
}

ProcessIdentity::Known ProcessIdentity::found(int32_t pid) const {
  Known known;
  known.startTime = source_.startTime(pid);
  if (const auto id = catalog_.ofProgram(baseName(source_.executable(pid)))) {
    known.id = *id;
    known.evidence = Evidence::program;
    return known;
  }
  const auto id = catalog_.canonicalID(applicationOfCgroup(source_.cgroup(pid)));
  // Whatever a file manager or a browser started would be spared as they are.
  const bool isSpared =
      catalog_.browserBundleIDs().contains(id) || catalog_.protectedBundleIDs().contains(id);
  if (!id.empty() && !isSpared) {
    known.id = id;
    known.evidence = Evidence::group;
  }
  return known;
}

void ProcessIdentity::consider(std::string_view name, Known& known) const {
  known.names.emplace_back(name);
  const auto id = catalog_.known(name);
  const auto evidence = !id                                             ? Evidence::windowName
                        : catalog_.browserBundleIDs().contains(*id)   ? Evidence::browserName
                        : catalog_.protectedBundleIDs().contains(*id) ? Evidence::protectedName
                                                                      : Evidence::knownName;
  if (evidence <= known.evidence) return;
  known.id = id.value_or(catalog_.canonicalID(name));
  known.evidence = evidence;
}

std::optional<uint64_t> ProcSource::startTime(int32_t pid) const {
  return startTimeOfStat(contents(procPath(pid, "stat")));
}

std::string ProcSource::cgroup(int32_t pid) const {
  return contents(procPath(pid, "cgroup"));
}

std::string ProcSource::executable(int32_t pid) const {
  std::array<char, PATH_MAX> buffer;
  const ssize_t size = readlink(procPath(pid, "exe").c_str(), buffer.data(), buffer.size());
  return size > 0 ? std::string(buffer.data(), static_cast<size_t>(size)) : std::string();
}

}  // namespace velmora

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace velmora {

class LinuxAppCatalog;

// Which application a process is. What is found stays known as long as the process lives and has a
// window; a process that got the number of an earlier one is another process.
//
// What the process runs decides, where an application is known by its program. Otherwise it is what
// its windows claim: where they claim several a browser wins, then a protected application, then
// one that is known, then the first. The control group counts only where no window claims a known
// one, as groups are inherited: a browser that a chat program opened lives in the chat program's.
class ProcessIdentity {
 public:
  // What the system tells of a process.
  class Source {
   public:
    virtual ~Source() = default;
    // Changes when the number goes to another process; nothing when there is no such process.
    virtual std::optional<uint64_t> startTime(int32_t pid) const = 0;
    virtual std::string cgroup(int32_t pid) const = 0;      // lines "hierarchy:controllers:path"
    virtual std::string executable(int32_t pid) const = 0;  // path
  };

  // Both must outlive this object.
  ProcessIdentity(const LinuxAppCatalog& catalog, const Source& source);

  // The canonical identity; empty as long as neither the system nor a window names the process.
  // Asks the system once for each process, but considers the names of every window.
  const std::string& of(int32_t pid, std::string_view windowClass, std::string_view instance);
  // To be called when a window appears: forgets what is known unless it is still that process.
  void recheck(int32_t pid);
  // Forgets all processes but these.
  void keepOnly(const std::unordered_set<int32_t>& pids);

 private:
  // What an identity rests on; the later, the better.
  enum class Evidence { none, windowName, group, knownName, protectedName, browserName, program };
  struct Known {
    std::optional<uint64_t> startTime;
    std::string id;
    Evidence evidence = Evidence::none;
    std::vector<std::string> names;  // of its windows, as far as they were considered
  };
  Known found(int32_t pid) const;
  void consider(std::string_view name, Known& known) const;

  const LinuxAppCatalog& catalog_;
  const Source& source_;
  std::unordered_map<int32_t, Known> known_;
};

// Reads /proc.
class ProcSource final : public ProcessIdentity::Source {
 public:
  std::optional<uint64_t> startTime(int32_t pid) const override;
  std::string cgroup(int32_t pid) const override;
  std::string executable(int32_t pid) const override;
};

// The application named by the control group that a desktop or a user manager started it in; empty
// when the group names none.
std::string applicationOfCgroup(std::string_view cgroup);
// The start time in the text of /proc/<pid>/stat.
std::optional<uint64_t> startTimeOfStat(std::string_view stat);

}  // namespace velmora

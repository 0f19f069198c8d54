#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "schedule/model/ScheduleEntry.h"

namespace velmora {

// Steps that can be taken back and done again. A step registered while another is being undone
// becomes what redo does, and the other way about. Main lane.
class UndoManager {
 public:
  // A planner's whole list.
  struct List {
    ScheduleOperatingMode planner = ScheduleOperatingMode::calendar;
    std::vector<ScheduleEntry> entries;
  };

  // `restores` is what `action` puts in place, for whoever must judge it before it is taken.
  void registerUndo(std::string actionName, List restores, std::function<void()> action);
  // False when there is nothing.
  bool undo();
  bool redo();
  void removeAllActions();
  // The names of what would be undone or redone: "Move Mission".
  std::optional<std::string> undoActionName() const;
  std::optional<std::string> redoActionName() const;
  // What would be put in place; null when there is nothing. Valid until the next change.
  const List* undoRestores() const;
  const List* redoRestores() const;

 private:
  struct Step {
    std::string name;
    List restores;
    std::function<void()> action;
  };
  enum class Doing { nothing, undoing, redoing };
  bool take(std::vector<Step>& from, Doing doing);

  std::vector<Step> undo_;
  std::vector<Step> redo_;
  Doing doing_ = Doing::nothing;
};

}  // namespace velmora

#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace velmora {

// Steps that can be taken back and done again. A step registered while another is being undone
// becomes what redo does, and the other way about. Main lane.
class UndoManager {
 public:
  void registerUndo(std::string actionName, std::function<void()> action);
  // False when there is nothing.
  bool undo();
  bool redo();
  void removeAllActions();
  // The names of what would be undone or redone: "Move Mission".
  std::optional<std::string> undoActionName() const;
  std::optional<std::string> redoActionName() const;

 private:
  struct Step {
    std::string name;
    std::function<void()> action;
  };
  enum class Doing { nothing, undoing, redoing };
  bool take(std::vector<Step>& from, Doing doing);

  std::vector<Step> undo_;
  std::vector<Step> redo_;
  Doing doing_ = Doing::nothing;
};

}  // namespace velmora

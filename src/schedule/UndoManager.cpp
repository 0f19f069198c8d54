#include "schedule/UndoManager.h"

#include <utility>

namespace velmora {

void UndoManager::registerUndo(std::string actionName, List restores,
                               std::function<void()> action) {
  auto& to = doing_ == Doing::undoing ? redo_ : undo_;
  to.push_back({std::move(actionName), std::move(restores), std::move(action)});
  if (doing_ == Doing::nothing) redo_.clear();
}

bool UndoManager::undo() {
  return take(undo_, Doing::undoing);
}

bool UndoManager::redo() {
  return take(redo_, Doing::redoing);
}

bool UndoManager::take(std::vector<Step>& from, Doing doing) {
  if (from.empty() || doing_ != Doing::nothing) return false;
  const Step step = std::move(from.back());
  from.pop_back();
  doing_ = doing;
  step.action();
  doing_ = Doing::nothing;
  return true;
}

void UndoManager::removeAllActions() {
  undo_.clear();
  redo_.clear();
}

std::optional<std::string> UndoManager::undoActionName() const {
  return undo_.empty() ? std::nullopt : std::optional(undo_.back().name);
}

std::optional<std::string> UndoManager::redoActionName() const {
  return redo_.empty() ? std::nullopt : std::optional(redo_.back().name);
}

const UndoManager::List* UndoManager::undoRestores() const {
  return undo_.empty() ? nullptr : &undo_.back().restores;
}

const UndoManager::List* UndoManager::redoRestores() const {
  return redo_.empty() ? nullptr : &redo_.back().restores;
}

}  // namespace velmora

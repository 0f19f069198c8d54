#pragma once

#include "core/BlockingCoordinator.h"
#include "sync/model/SyncDocument.h"

namespace velmora {

// Keeps the document that the user's devices share. This device is on no line yet: the document
// is the empty one, and nothing is followed.
class SyncBridge final : public BlockingCoordinator::SharedState {
 public:
  bool followsRemoteSession() const override { return false; }
  FocusStanding standing(Date at, const Calendar& calendar) const override {
    return FocusStanding::current(at, calendar, document_);
  }
  const SharedRules& rules() const override { return document_.rules; }

 private:
  SyncDocument document_;
};

}  // namespace velmora

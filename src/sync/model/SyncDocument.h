#pragma once

#include <optional>

#include "base/Calendar.h"
#include "sync/model/SharedRules.h"
#include "sync/model/SharedSession.h"

namespace velmora {

// The state that a user's devices share. A device that has not joined a line has the empty one:
// no session, and a main list that stands for the local lists.
struct SyncDocument {
  SharedRules rules;
  bool operator==(const SyncDocument&) const = default;
};

// What a document says must be closed at one moment.
struct FocusStanding {
  std::optional<SharedSession> session;  // the one that decides, if any
  Uuid blocklistID = SharedBlocklist::mainID();

  // The empty document has no session that could decide.
  static FocusStanding current(Date at, const Calendar& calendar, const SyncDocument& document);
};

}  // namespace velmora

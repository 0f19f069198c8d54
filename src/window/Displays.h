#pragma once

#include <QObject>

namespace velmora {

// Tells that displays have come, gone or changed. A word may come for several changes, and it comes
// from the event loop, when Qt has moved its windows to what is left. Main thread.
class Displays final : public QObject {
  Q_OBJECT

 public:
  Displays();

 signals:
  void changed();
};

}  // namespace velmora

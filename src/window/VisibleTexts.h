#pragma once

#include <QObject>
#include <QStringList>
#include <QTimer>

namespace velmora {

// The texts that stand in the windows of this process now: items that are hidden or wholly
// transparent are left out, and items outside a window's visible part count. A button's name counts
// as its text, since some bear a drawing instead.
QStringList visibleTexts();

// Prints them to standard output whenever they have changed, as one JSON list a line. For tests.
class TextPrinter final : public QObject {
  Q_OBJECT

 public:
  TextPrinter();

 private:
  void look();

  QTimer timer_;
  QStringList last_;
};

}  // namespace velmora

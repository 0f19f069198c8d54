#pragma once

#include "window/Surface.h"
#include "window/Velmora.h"

namespace velmora {

// The one main window. Closing it asks the program to have it hidden, which then ends it.
class MainWindow final : public Surface {
  Q_OBJECT

 public:
  // `file` is what it shows.
  MainWindow(QQmlEngine& engine, Velmora& velmora, const QString& file);
  // In front of the other windows, with the focus, brought back if it is minimised.
  void present();
  void setSkippingTaskBar(bool skips);

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  Velmora& velmora_;
};

}  // namespace velmora

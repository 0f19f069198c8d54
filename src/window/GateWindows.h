#pragma once

#include <QQmlEngine>
#include <QTimer>
#include <map>
#include <memory>

#include "window/Surface.h"
#include "window/Velmora.h"

namespace velmora {

// The gate: a black window over each display, in front of everything, with the form on the display
// that was under the mouse. The windows are none of the window manager's, and while they stand they
// hold the keyboard and the pointer, so that nothing that the manager offers leads away from them.
// The X server takes both back with the process, however it ends.
class GateWindows final : public QObject {
  Q_OBJECT

 public:
  GateWindows(QQmlEngine& engine, Velmora& velmora);

 signals:
  // The program has not answered for some seconds: nobody could pass the gate.
  void programIsMute();

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void cover();
  void stand();
  void hold();
  std::unique_ptr<Surface> makeWindow(const QString& file, QScreen& screen);

  QQmlEngine& engine_;
  Velmora& velmora_;
  std::unique_ptr<Surface> form_;
  std::map<QScreen*, std::unique_ptr<Surface>> notes_;  // every display but the form's
  bool hasKeyboard_ = false;
  bool hasPointer_ = false;
  int unanswered_ = 0;
  QTimer cadence_;
  QTimer retry_;
};

}  // namespace velmora

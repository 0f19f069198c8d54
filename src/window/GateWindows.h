#pragma once

#include <QJsonObject>
#include <QQmlEngine>
#include <QTimer>
#include <map>
#include <memory>

#include "window/Displays.h"
#include "window/Surface.h"
#include "window/Velmora.h"

namespace velmora {

// The gate: a black window over each display, in front of everything, with the form on the display
// that was under the mouse. The windows are none of the window manager's, and while they stand they
// hold the keyboard and the pointer, so that nothing that the manager offers leads away from them.
// The X server takes both back with the process, however it ends. For a screen locker, which needs
// both, they leave the screen, and come back to it when the locker has gone.
class GateWindows final : public QObject {
  Q_OBJECT

 public:
  GateWindows(QQmlEngine& engine, Velmora& velmora);
  // Who had the focus when the gate rose gets it back.
  ~GateWindows() override;
  // Stands or makes room, as the program's record of the gate says.
  void follow(const QJsonObject& gate);

 signals:
  // Nobody could pass the gate: it can't be shown, is not drawn any more, or the program does not
  // answer.
  void failed(const QString& why);

 private:
  enum class Place { standing, aside, returning };
  void onCadence();
  void onDrawn();
  void giveSign();
  void stand();
  void leave();
  bool cover();
  void hold();
  std::unique_ptr<Surface> makeForm(QScreen& screen);
  bool eventFilter(QObject* watched, QEvent* event) override;

  QQmlEngine& engine_;
  Velmora& velmora_;
  Displays displays_;
  Place place_ = Place::standing;
  bool isScreenLocked_ = false;
  std::unique_ptr<Surface> form_;
  std::map<QScreen*, std::unique_ptr<Surface>> notes_;  // every display but the form's
  bool hasKeyboard_ = false;
  bool hasPointer_ = false;
  bool isDrawn_ = false;  // since the last sign of life
  bool isShown_ = false;  // has been drawn at all
  int silence_ = 0;       // seconds since the program last answered to one
  uint32_t focusBefore_ = 0;
  QTimer cadence_;
  QTimer retry_;
};

}  // namespace velmora

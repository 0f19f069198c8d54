#pragma once

#include <QQmlEngine>
#include <memory>

#include "window/GateWindows.h"
#include "window/MainWindow.h"
#include "window/Panels.h"
#include "window/Velmora.h"

namespace velmora {

// Has the surfaces that the program wants, and no other: each is made when it is first wanted and
// gone when it is not. Tells when none is left.
class Surfaces final : public QObject {
  Q_OBJECT

 public:
  // `velmora` must live longer.
  explicit Surfaces(Velmora& velmora);
  ~Surfaces() override;

 signals:
  void allGone();
  // As of the gate.
  void gateFailed(const QString& why);

 private:
  // What goes to the window manager anew when any of it changes.
  struct InTaskBar {
    bool isShown = true;
    bool isSession = false;
    bool operator==(const InTaskBar&) const = default;
  };
  void follow();
  void followGate(const QJsonObject& gate);
  void followHud(const QJsonObject& hud);
  void followNotice(const QJsonObject& notice);
  void followWindow(const QJsonObject& window, const QJsonObject& desktop);

  Velmora& velmora_;
  QQmlEngine engine_;
  std::unique_ptr<MainWindow> window_;
  InTaskBar inTaskBar_;  // as the manager was told last
  int request_ = 0;  // the last one that was heard
  std::unique_ptr<GateWindows> gate_;
  std::unique_ptr<Hud> hud_;
  std::unique_ptr<Notice> notice_;
};

}  // namespace velmora

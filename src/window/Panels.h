#pragma once

#include <QTimer>
#include <optional>

#include "window/Displays.h"
#include "window/Surface.h"
#include "window/Velmora.h"

namespace velmora {

// The HUD: a small bar above other windows, on every workspace, that never takes the focus and that
// the mouse drags. Where the user has moved it, by the mouse or by the window manager, is told to
// the program.
class Hud final : public Surface {
  Q_OBJECT

 public:
  Hud(QQmlEngine& engine, Velmora& velmora);
  // Where it stands by the program's record, if that is news; centred at the top of the main screen
  // without one, or while no screen shows that place. Does nothing while it is dragged.
  void follow(const QJsonObject& hud);

 protected:
  void moveEvent(QMoveEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;

 private:
  void place();
  void tellPlace();

  Velmora& velmora_;
  Displays displays_;
  std::optional<QJsonObject> followed_;  // what was last done
  std::optional<QPoint> told_;           // the place that comes back to us as a record
  std::optional<QPoint> grip_;           // where the mouse holds it
  QTimer settling_;  // a move that comes so soon is the manager's answer to one of ours
  QTimer moved_;     // by the manager, for the user
};

// The notice that a mission begins: over the whole display under the mouse, until it is told away,
// is clicked, or has stood for its time, whether or not the program answers.
class Notice final : public Surface {
  Q_OBJECT

 public:
  explicit Notice(QQmlEngine& engine);
  // Shows the program's record of it, if that is another one than before.
  void follow(const QJsonObject& notice);

 protected:
  void mouseReleaseEvent(QMouseEvent* event) override;

 private:
  QJsonObject followed_;
  QTimer end_;
};

}  // namespace velmora

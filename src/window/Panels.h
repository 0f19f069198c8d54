#pragma once

#include <optional>

#include "window/Surface.h"
#include "window/Velmora.h"

namespace velmora {

// The HUD: a small bar above other windows, on every workspace, that never takes the focus and that
// the mouse drags.
class Hud final : public Surface {
  Q_OBJECT

 public:
  Hud(QQmlEngine& engine, Velmora& velmora);
  // Where it stands by the program's record, if that is news; centred at the top of the main screen
  // without one, or when no screen shows that place any more. Does nothing while it is dragged.
  void follow(const QJsonObject& hud);

 protected:
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;

 private:
  Velmora& velmora_;
  std::optional<QJsonObject> followed_;  // what was last done
  std::optional<QPoint> grip_;  // where the mouse holds it
};

// The notice that a mission begins: over the whole display under the mouse, until it is told away.
class Notice final : public Surface {
  Q_OBJECT

 public:
  explicit Notice(QQmlEngine& engine);
};

}  // namespace velmora

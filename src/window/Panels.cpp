#include "window/Panels.h"

#include <QCursor>
#include <QGuiApplication>
#include <QMouseEvent>
#include <QPainterPath>
#include <QScreen>
#include <utility>

#include "window/X11Window.h"

namespace velmora {
namespace {

constexpr uint32_t kFloatingLayer = 3;
constexpr uint32_t kNoticeLayer = 1000;
constexpr QSize kHudSize(540, 58);
constexpr int kHudRadius = 16;
constexpr int kTopMargin = 10;

QPoint usualPlace() {
  const QRect room = QGuiApplication::primaryScreen()->availableGeometry();
  return {room.center().x() - kHudSize.width() / 2, room.top() + kTopMargin};
}

bool isOnScreen(QPoint origin) {
  return QGuiApplication::screenAt(QRect(origin, kHudSize).center()) != nullptr;
}

}  // namespace

Hud::Hud(QQmlEngine& engine, Velmora& velmora)
    : Surface(engine, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                          Qt::WindowDoesNotAcceptFocus),
      velmora_(velmora) {
  setTitle("Velmora");
  setColor(Qt::transparent);
  QSurfaceFormat seeThrough = format();
  seeThrough.setAlphaBufferSize(8);
  setFormat(seeThrough);
  resize(kHudSize);
  if (!x11::hasCompositor()) {
    QPainterPath bar;
    bar.addRoundedRect(QRect(QPoint(), kHudSize), kHudRadius, kHudRadius);
    setMask(QRegion(bar.toFillPolygon().toPolygon()));
  }
  x11::setLayer(*this, kFloatingLayer);
  x11::setOnAllDesktops(*this);
  x11::setSkippingTaskBar(*this, true);
  load("Hud.qml");
}

void Hud::follow(const QJsonObject& hud) {
  if (grip_ || followed_ == hud) return;
  followed_ = hud;
  const QPoint stored(qRound(hud.value("x").toDouble()), qRound(hud.value("y").toDouble()));
  const bool isKnown = hud.value("x").isDouble() && hud.value("y").isDouble();
  const QPoint origin = isKnown && isOnScreen(stored) ? stored : usualPlace();
  if (position() != origin) setPosition(origin);
}

void Hud::mousePressEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton) grip_ = event->position().toPoint();
}

void Hud::mouseMoveEvent(QMouseEvent* event) {
  if (grip_) setPosition(event->globalPosition().toPoint() - *grip_);
}

void Hud::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton || !std::exchange(grip_, std::nullopt)) return;
  velmora_.run("hud", {"move", QString::number(x()), QString::number(y())});
}

Notice::Notice(QQmlEngine& engine)
    : Surface(engine, Qt::FramelessWindowHint | Qt::X11BypassWindowManagerHint |
                          Qt::WindowDoesNotAcceptFocus) {
  QScreen* display = QGuiApplication::screenAt(QCursor::pos());
  if (!display) display = QGuiApplication::primaryScreen();
  setTitle("Velmora");
  setScreen(display);
  setGeometry(display->geometry());
  x11::setLayer(*this, kNoticeLayer);
  load("Notice.qml");
}

}  // namespace velmora

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
constexpr int kSettleMs = 500;
constexpr int kMoveMs = 300;  // from the last step of a move until it is over

std::optional<QPoint> storedPlace(const QJsonObject& hud) {
  const auto x = hud.value("x"), y = hud.value("y");
  if (!x.isDouble() || !y.isDouble()) return std::nullopt;
  return QPoint(qRound(x.toDouble()), qRound(y.toDouble()));
}

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
  for (QTimer* timer : {&settling_, &moved_}) timer->setSingleShot(true);
  connect(&moved_, &QTimer::timeout, this, &Hud::tellPlace);
  connect(&displays_, &Displays::changed, this, &Hud::place);
}

void Hud::follow(const QJsonObject& hud) {
  if (grip_ || followed_ == hud) return;
  followed_ = hud;
  const auto stored = storedPlace(hud);
  if (!stored || stored != told_) place();
}

void Hud::place() {
  if (grip_ || !followed_) return;
  settling_.start(kSettleMs);
  moved_.stop();
  const auto stored = storedPlace(*followed_);
  const QPoint origin = stored && isOnScreen(*stored) ? *stored : usualPlace();
  if (position() != origin) setPosition(origin);
}

void Hud::moveEvent(QMoveEvent* event) {
  Surface::moveEvent(event);
  if (!grip_ && isExposed() && !settling_.isActive()) moved_.start(kMoveMs);
}

void Hud::tellPlace() {
  told_ = position();
  velmora_.run("hud", {"move", QString::number(x()), QString::number(y())});
}

void Hud::mousePressEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton) grip_ = event->position().toPoint();
}

void Hud::mouseMoveEvent(QMouseEvent* event) {
  if (grip_) setPosition(event->globalPosition().toPoint() - *grip_);
}

void Hud::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton || !std::exchange(grip_, std::nullopt)) return;
  tellPlace();
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
  end_.setSingleShot(true);
  connect(&end_, &QTimer::timeout, this, &Notice::hide);
}

void Notice::follow(const QJsonObject& notice) {
  if (std::exchange(followed_, notice) == notice) return;
  if (const auto duration = notice.value("duration"); duration.isDouble())
    end_.start(qRound(duration.toDouble() * 1000));
  show();
  raise();
}

void Notice::mouseReleaseEvent(QMouseEvent* event) {
  Surface::mouseReleaseEvent(event);
  hide();
}

}  // namespace velmora

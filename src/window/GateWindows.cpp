#include "window/GateWindows.h"

#include <QCursor>
#include <QEvent>
#include <QGuiApplication>
#include <QScreen>
#include <utility>

#include "window/X11Window.h"

namespace velmora {
namespace {

using namespace std::chrono_literals;

constexpr uint32_t kLayer = 1000;
constexpr auto kCadence = 1s;
constexpr auto kRetry = 50ms;  // while somebody else holds the keyboard, as an open menu does
constexpr int kMuteAfter = 5;  // questions without an answer, one each second

QScreen* screenUnderMouse() {
  QScreen* screen = QGuiApplication::screenAt(QCursor::pos());
  return screen ? screen : QGuiApplication::primaryScreen();
}

void lay(Surface& window, QScreen& screen) {
  if (window.screen() != &screen) window.setScreen(&screen);
  if (window.geometry() != screen.geometry()) window.setGeometry(screen.geometry());
}

}  // namespace

GateWindows::GateWindows(QQmlEngine& engine, Velmora& velmora)
    : engine_(engine), velmora_(velmora) {
  connect(qGuiApp, &QGuiApplication::screenAdded, this, &GateWindows::cover, Qt::QueuedConnection);
  connect(qGuiApp, &QGuiApplication::screenRemoved, this, &GateWindows::cover,
          Qt::QueuedConnection);
  connect(qGuiApp, &QGuiApplication::focusWindowChanged, this, [this] { retry_.start(kRetry); });
  connect(&cadence_, &QTimer::timeout, this, &GateWindows::stand);
  connect(&retry_, &QTimer::timeout, this, &GateWindows::hold);
  retry_.setSingleShot(true);
  cover();
  stand();
  cadence_.start(kCadence);
}

std::unique_ptr<Surface> GateWindows::makeWindow(const QString& file, QScreen& screen) {
  auto window = std::make_unique<Surface>(
      engine_, Qt::FramelessWindowHint | Qt::X11BypassWindowManagerHint);
  window->setTitle("Velmora");
  lay(*window, screen);
  window->load(file);
  x11::setLayer(*window, kLayer);
  window->show();
  return window;
}

// A window for each display as they are now. Windows stay as they are where nothing changed, so
// that what was typed outlives a display.
void GateWindows::cover() {
  const auto screens = QGuiApplication::screens();
  if (screens.isEmpty()) return;
  if (!form_) {
    form_ = makeWindow("Gate.qml", *screenUnderMouse());
    form_->installEventFilter(this);
    hasKeyboard_ = hasPointer_ = false;
  } else if (!screens.contains(form_->screen())) {
    lay(*form_, *screenUnderMouse());
  }
  std::erase_if(notes_, [&](const auto& note) {
    return note.first == form_->screen() || !screens.contains(note.first);
  });
  for (QScreen* screen : screens) {
    connect(screen, &QScreen::geometryChanged, this, &GateWindows::cover,
            static_cast<Qt::ConnectionType>(Qt::QueuedConnection | Qt::UniqueConnection));
    if (screen == form_->screen()) {
      lay(*form_, *screen);
    } else if (const auto note = notes_.find(screen); note != notes_.end()) {
      lay(*note->second, *screen);
    } else {
      notes_.emplace(screen, makeWindow("surfaces/GateNote.qml", *screen));
    }
  }
}

void GateWindows::stand() {
  cover();
  for (const auto& [screen, note] : notes_) note->raise();
  if (form_) form_->raise();
  hold();
  if (++unanswered_ > kMuteAfter) return emit programIsMute();
  velmora_.ask("alive", {}, [this](const ProgramLink::Answer&) { unanswered_ = 0; });
}

// Keys come to the form by the grab, whoever else has been given the focus meanwhile: what is typed
// until it is taken back is not lost if the form does not notice.
bool GateWindows::eventFilter(QObject* watched, QEvent* event) {
  return watched == form_.get() && event->type() == QEvent::FocusOut;
}

// A grab that was had stays until its window is not on screen any more.
void GateWindows::hold() {
  if (!form_ || !form_->isExposed()) {
    hasKeyboard_ = hasPointer_ = false;
    retry_.start(kRetry);
    return;
  }
  if (!hasKeyboard_) hasKeyboard_ = form_->setKeyboardGrabEnabled(true);
  if (!hasPointer_) hasPointer_ = form_->setMouseGrabEnabled(true);
  if (QGuiApplication::focusWindow() != form_.get()) x11::takeFocus(*form_);
  if (!hasKeyboard_ || !hasPointer_) retry_.start(kRetry);
}

}  // namespace velmora

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
constexpr auto kReturn = 250ms;  // to see that a locker has gone, maybe for hours
constexpr int kMuteAfter = 5;  // seconds

QScreen* screenUnderMouse() {
  QScreen* screen = QGuiApplication::screenAt(QCursor::pos());
  return screen ? screen : QGuiApplication::primaryScreen();
}

void lay(Surface& window, QScreen& screen) {
  if (window.screen() != &screen) window.setScreen(&screen);
  if (window.geometry() != screen.geometry()) window.setGeometry(screen.geometry());
}

std::unique_ptr<Surface> makeWindow(QQmlEngine& engine, const QString& file, QScreen& screen) {
  auto window = std::make_unique<Surface>(
      engine, Qt::FramelessWindowHint | Qt::X11BypassWindowManagerHint);
  window->setTitle("Velmora");
  lay(*window, screen);
  if (!window->load(file)) return nullptr;
  x11::setLayer(*window, kLayer);
  return window;
}

}  // namespace

GateWindows::GateWindows(QQmlEngine& engine, Velmora& velmora)
    : engine_(engine), velmora_(velmora) {
  connect(&displays_, &Displays::changed, this, &GateWindows::stand);
  connect(qGuiApp, &QGuiApplication::focusWindowChanged, this, [this] {
    if (place_ == Place::standing) retry_.start(kRetry);
  });
  connect(&cadence_, &QTimer::timeout, this, &GateWindows::onCadence);
  connect(&retry_, &QTimer::timeout, this,
          [this] { place_ == Place::standing ? hold() : stand(); });
  retry_.setSingleShot(true);
  cadence_.start(kCadence);
}

GateWindows::~GateWindows() {
  if (place_ == Place::standing && focusBefore_) x11::giveFocus(focusBefore_);
}

void GateWindows::follow(const QJsonObject& gate) {
  const QString lock = gate.value("lock").toString("none");
  if (lock != "none")
    place_ = Place::aside;
  else if (place_ == Place::aside)
    place_ = isScreenLocked_ ? Place::standing : Place::returning;
  isScreenLocked_ = lock == "locked";
  stand();
}

// A form that is not drawn lets nobody through: it gives no sign of life, and is replaced.
void GateWindows::onCadence() {
  if (++silence_ > kMuteAfter) return emit failed("The gate is not drawn, or Velmora is mute");
  if (std::exchange(isDrawn_, false) || place_ != Place::standing)
    giveSign();
  hasKeyboard_ = hasPointer_ = false;  // taken anew, whatever has become of them
  stand();
  if (form_) form_->update();
}

void GateWindows::onDrawn() {
  isDrawn_ = true;
  if (!std::exchange(isShown_, true)) giveSign();
}

void GateWindows::giveSign() {
  velmora_.ask(this, "alive", {}, [this](const ProgramLink::Answer&) { silence_ = 0; });
}

void GateWindows::stand() {
  // A locker that does not tell the system when it is done still holds the keyboard while it locks.
  if (place_ == Place::returning && x11::isKeyboardFree()) place_ = Place::standing;
  if (place_ != Place::standing) return leave();
  if (!cover()) return;
  for (const auto& [screen, note] : notes_) note->raise();
  form_->raise();
  hold();
}

// What was typed stays. The grabs end with the windows.
void GateWindows::leave() {
  for (const auto& [screen, note] : notes_) note->hide();
  if (form_) form_->hide();
  hasKeyboard_ = hasPointer_ = false;
  if (place_ == Place::returning) retry_.start(kReturn);
}

std::unique_ptr<Surface> GateWindows::makeForm(QScreen& screen) {
  auto form = makeWindow(engine_, "Gate.qml", screen);
  if (!form) return nullptr;
  form->installEventFilter(this);
  connect(form.get(), &QQuickWindow::frameSwapped, this, &GateWindows::onDrawn);
  return form;
}

// A window on each display as they are now. Windows stay as they are where nothing changed, so that
// what was typed outlives a display. False without a form.
bool GateWindows::cover() {
  const auto screens = QGuiApplication::screens();
  if (screens.isEmpty()) return false;
  if (!form_) {
    form_ = makeForm(*screenUnderMouse());
    if (!form_) {
      emit failed("The gate can't be shown");
      return false;
    }
  } else if (!screens.contains(form_->screen())) {
    lay(*form_, *screenUnderMouse());
  }
  std::erase_if(notes_, [&](const auto& note) {
    return note.first == form_->screen() || !screens.contains(note.first);
  });
  for (QScreen* screen : screens) {
    if (screen == form_->screen()) {
      lay(*form_, *screen);
    } else if (const auto note = notes_.find(screen); note != notes_.end()) {
      lay(*note->second, *screen);
    } else if (auto made = makeWindow(engine_, "surfaces/GateNote.qml", *screen)) {
      notes_.emplace(screen, std::move(made));
    }
  }
  form_->show();
  for (const auto& [screen, note] : notes_) note->show();
  return true;
}

// Keys come to the form by the grab, whoever else has been given the focus meanwhile: what is typed
// until it is taken back is not lost if the form does not notice.
bool GateWindows::eventFilter(QObject* watched, QEvent* event) {
  return watched == form_.get() && event->type() == QEvent::FocusOut;
}

void GateWindows::hold() {
  if (!x11::isThere()) return;
  if (!form_ || !form_->isExposed()) {
    retry_.start(kRetry);
    return;
  }
  if (!hasKeyboard_) hasKeyboard_ = x11::grabKeyboard(*form_);
  if (!hasPointer_) hasPointer_ = x11::grabPointer(*form_);
  if (QGuiApplication::focusWindow() != form_.get()) {
    if (!focusBefore_) focusBefore_ = x11::focusedWindow();
    x11::takeFocus(*form_);
  }
  if (!hasKeyboard_ || !hasPointer_) retry_.start(kRetry);
}

}  // namespace velmora

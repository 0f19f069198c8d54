#include "window/Displays.h"

#include <QGuiApplication>
#include <QScreen>

namespace velmora {

Displays::Displays() {
  const auto follow = [this](QScreen* screen) {
    connect(screen, &QScreen::geometryChanged, this, &Displays::changed, Qt::QueuedConnection);
  };
  for (QScreen* screen : QGuiApplication::screens()) follow(screen);
  connect(qGuiApp, &QGuiApplication::screenAdded, this, follow);
  connect(qGuiApp, &QGuiApplication::screenAdded, this, &Displays::changed, Qt::QueuedConnection);
  connect(qGuiApp, &QGuiApplication::screenRemoved, this, &Displays::changed,
          Qt::QueuedConnection);
  connect(qGuiApp, &QGuiApplication::primaryScreenChanged, this, &Displays::changed,
          Qt::QueuedConnection);
}

}  // namespace velmora

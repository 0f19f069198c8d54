#include "window/Surface.h"

#include <QQmlEngine>

namespace velmora {
namespace {

constexpr QColor kNight(0x06, 0x04, 0x0a);

}  // namespace

Surface::Surface(QQmlEngine& engine, Qt::WindowFlags flags) : QQuickView(&engine, nullptr) {
  setFlags(flags);
  setColor(kNight);
  setResizeMode(SizeRootObjectToView);
}

bool Surface::load(const QString& file, const QVariantMap& properties) {
  setInitialProperties(properties);
  setSource(QUrl("qrc:/Velmora/" + file));
  return status() == Ready && rootObject() != nullptr;
}

}  // namespace velmora

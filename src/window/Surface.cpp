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

void Surface::load(const QString& file, const QVariantMap& properties) {
  setInitialProperties(properties);
  setSource(QUrl("qrc:/Velmora/" + file));
}

}  // namespace velmora

#pragma once

#include <QQuickView>

namespace velmora {

// A window that shows one QML file in it, filling it. The file's root is an Item. Main thread.
class Surface : public QQuickView {
  Q_OBJECT

 public:
  // `engine` must live longer.
  Surface(QQmlEngine& engine, Qt::WindowFlags flags);
  // Loads `file`, a path below qml/, with `properties` set before anything in it is evaluated. A
  // file with errors leaves the window empty and its errors on standard error: false.
  bool load(const QString& file, const QVariantMap& properties = {});
};

}  // namespace velmora

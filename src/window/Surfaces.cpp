#include "window/Surfaces.h"

namespace velmora {

Surfaces::Surfaces(Velmora& velmora) : velmora_(velmora) {
  engine_.addImportPath("qrc:/");
  velmora_.provideTo(engine_);
  connect(&velmora_, &Velmora::stateSettled, this, &Surfaces::follow);
}

Surfaces::~Surfaces() = default;

void Surfaces::follow() {
  const QJsonObject wanted = velmora_.member("surfaces");
  followWindow(wanted.value("window").toObject(), velmora_.member("desktop"));
  if (!window_) emit allGone();
}

void Surfaces::followWindow(const QJsonObject& window, const QJsonObject& desktop) {
  if (!window.value("wanted").toBool()) {
    window_.reset();
    return;
  }
  const int request = window.value("request").toInt();
  const bool isNew = !window_;
  if (isNew) window_ = std::make_unique<MainWindow>(engine_, velmora_, "Main.qml");
  window_->setSkippingTaskBar(!desktop.value("showInDock").toBool(true));
  if (isNew || request > request_) window_->present();
  request_ = request;
}

}  // namespace velmora

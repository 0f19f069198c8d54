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
  followGate(wanted.value("gate").toObject());
  followHud(wanted.value("hud").toObject());
  followNotice(wanted.value("notice").toObject());
  followWindow(wanted.value("window").toObject(), velmora_.member("desktop"));
  if (!gate_ && !hud_ && !notice_ && !window_) emit allGone();
}

void Surfaces::followGate(const QJsonObject& gate) {
  if (!gate.value("showing").toBool()) return gate_.reset();
  if (!gate_) {
    gate_ = std::make_unique<GateWindows>(engine_, velmora_);
    connect(gate_.get(), &GateWindows::failed, this, &Surfaces::gateFailed);
  }
  gate_->follow(gate);
}

void Surfaces::followHud(const QJsonObject& hud) {
  if (!hud.value("showing").toBool()) return hud_.reset();
  if (!hud_) hud_ = std::make_unique<Hud>(engine_, velmora_);
  hud_->follow(hud);
  hud_->show();
}

void Surfaces::followNotice(const QJsonObject& notice) {
  if (notice.isEmpty()) return notice_.reset();
  if (!notice_) notice_ = std::make_unique<Notice>(engine_);
  notice_->follow(notice);
}

void Surfaces::followWindow(const QJsonObject& window, const QJsonObject& desktop) {
  if (!window.value("wanted").toBool()) {
    window_.reset();
    return;
  }
  const int request = window.value("request").toInt();
  const bool isNew = !window_;
  if (isNew) window_ = std::make_unique<MainWindow>(engine_, velmora_, "Main.qml");
  const InTaskBar now{desktop.value("showInDock").toBool(true),
                      velmora_.member("session").value("active").toBool()};
  if (isNew || now != inTaskBar_) window_->setSkippingTaskBar(!now.isShown);
  inTaskBar_ = now;
  if (isNew || request > request_) window_->present();
  request_ = request;
}

}  // namespace velmora

#include "window/ControlLink.h"

#include <unistd.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <utility>

namespace velmora {

ControlLink::ControlLink(const QString& socketPath) : path_(socketPath) {
  connect(&socket_, &QLocalSocket::connected, this, [this] { send({{"subscribe", true}}); });
  connect(&socket_, &QLocalSocket::readyRead, this, [this] { readLines(); });
  connect(&socket_, &QLocalSocket::errorOccurred, this, [this](QLocalSocket::LocalSocketError e) {
    const bool ran = e == QLocalSocket::PeerClosedError;
    emit ended(ran ? "Velmora has ended" : "Velmora is not running. Start it with: velmora");
  });
}

QString ControlLink::usualSocketPath() {
  QString folder = qEnvironmentVariable("XDG_RUNTIME_DIR");
  if (folder.isEmpty()) folder = QStringLiteral("/run/user/%1").arg(getuid());
  return folder + "/velmora/control.sock";
}

void ControlLink::open() {
  socket_.connectToServer(path_);
}

void ControlLink::run(const QString& command, const QStringList& arguments,
                      std::function<void(const Answer&)> answered) {
  if (answered) waiting_.insert(lastId_ + 1, std::move(answered));
  send({{"command", command}, {"arguments", QJsonArray::fromStringList(arguments)}});
}

void ControlLink::send(QJsonObject request) {
  request.insert("id", ++lastId_);
  socket_.write(QJsonDocument(request).toJson(QJsonDocument::Compact) + '\n');
}

void ControlLink::readLines() {
  while (socket_.canReadLine())
    read(QJsonDocument::fromJson(socket_.readLine()).object());
}

void ControlLink::read(const QJsonObject& message) {
  if (const auto state = message.value("state"); state.isObject()) {
    emit stateReplaced(state.toObject());
  } else if (const auto changes = message.value("changes"); changes.isObject()) {
    emit stateChanged(changes.toObject());
  } else if (const auto answered = waiting_.take(message.value("id").toInt())) {
    answered({message.value("status").toInt(), message.value("output").toString(),
              message.value("error").toString()});
  }
}

}  // namespace velmora

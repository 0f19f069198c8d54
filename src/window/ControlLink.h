#pragma once

#include <QHash>
#include <QLocalSocket>

#include "window/ProgramLink.h"

namespace velmora {

// The control channel of the running program.
class ControlLink final : public ProgramLink {
  Q_OBJECT

 public:
  explicit ControlLink(const QString& socketPath);
  // Where the control socket of this user's program is.
  static QString usualSocketPath();

  void open() override;
  void run(const QString& command, const QStringList& arguments,
           std::function<void(const Answer&)> answered) override;

 private:
  void send(QJsonObject request);
  void readLines();
  void read(const QJsonObject& message);

  const QString path_;
  QLocalSocket socket_;
  int lastId_ = 0;
  QHash<int, std::function<void(const Answer&)>> waiting_;
};

}  // namespace velmora

#pragma once

#include <QFileSystemWatcher>

#include "window/ProgramLink.h"

namespace velmora {

// For work on the screens and for pictures of them: the state document stands in a file, which is
// read again whenever it is written. Commands are printed on standard error and answered with
// "done" and the output that the member `answers` has for them: by the command and its first word,
// or by the command. A document without `surfaces` shows the main window.
class FileLink final : public ProgramLink {
  Q_OBJECT

 public:
  explicit FileLink(const QString& path);

  void open() override;
  void run(const QString& command, const QStringList& arguments,
           std::function<void(const Answer&)> answered) override;

 private:
  void read();

  const QString path_;
  QFileSystemWatcher watcher_;
  QJsonObject answers_;
};

}  // namespace velmora

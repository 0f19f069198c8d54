#include "window/FileLink.h"

#include <QFile>
#include <QJsonDocument>
#include <QTimer>
#include <cstdio>
#include <utility>

namespace velmora {

FileLink::FileLink(const QString& path) : path_(path) {
  connect(&watcher_, &QFileSystemWatcher::fileChanged, this, [this] { read(); });
}

void FileLink::open() {
  read();
}

void FileLink::run(const QString& command, const QStringList& arguments,
                   std::function<void(const Answer&)> answered) {
  const QByteArray line = (QStringList(command) + arguments).join(' ').toUtf8();
  std::fprintf(stderr, "%s\n", line.constData());
  if (!answered) return;
  const auto named = answers_.value((QStringList(command) + arguments.mid(0, 1)).join(' '));
  const auto output = named.isString() ? named : answers_.value(command);
  const Answer answer{.output = output.toString(), .error = {}};
  QTimer::singleShot(0, this, [answered = std::move(answered), answer] { answered(answer); });
}

void FileLink::read() {
  QFile file(path_);
  if (!file.open(QFile::ReadOnly)) return emit ended("no state in " + path_);
  watcher_.addPath(path_);  // again: an editor may have put another file in its place
  QJsonParseError error;
  auto state = QJsonDocument::fromJson(file.readAll(), &error).object();
  if (state.isEmpty() && error.error != QJsonParseError::NoError) {
    std::fprintf(stderr, "%s: %s\n", qPrintable(path_), qPrintable(error.errorString()));
    return;
  }
  answers_ = state.take("answers").toObject();
  if (!state.contains("surfaces"))
    state.insert("surfaces",
                 QJsonObject{{"window", QJsonObject{{"wanted", true}, {"request", 1}}}});
  emit stateReplaced(state);
}

}  // namespace velmora

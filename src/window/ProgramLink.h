#pragma once

#include <QJsonObject>
#include <QObject>
#include <QString>
#include <QStringList>
#include <functional>

namespace velmora {

// The resident program as the window process sees it: a document of its state that changes, and
// commands. Main thread.
class ProgramLink : public QObject {
  Q_OBJECT

 public:
  struct Answer {
    int status = 0;  // 0 done, 1 refused or failed, 2 wrong usage
    QString output;
    QString error;  // one line; empty when done
  };

  // Begins; news come by the signals from the event loop on.
  virtual void open() = 0;
  // `answered` may be empty. It is not called when the link ends first.
  virtual void run(const QString& command, const QStringList& arguments,
                   std::function<void(const Answer&)> answered) = 0;

 signals:
  // A whole document, in place of what was known.
  void stateReplaced(const QJsonObject& state);
  // A JSON merge patch (RFC 7386) to the document.
  void stateChanged(const QJsonObject& patch);
  // There is no resident program, or it has ended: `why` is one line. Nothing follows.
  void ended(const QString& why);
};

}  // namespace velmora

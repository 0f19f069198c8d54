#pragma once

#include <QJSValue>
#include <QJsonObject>
#include <QObject>
#include <QQmlEngine>
#include <QQmlPropertyMap>
#include <functional>

#include "window/DesktopMotion.h"
#include "window/ProgramLink.h"

namespace velmora {

// What the screens know and can do: the state document of the resident program and its commands.
// One object for a QML engine, which must be given it by `provideTo` before it loads anything.
class Velmora final : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_SINGLETON
  // One property for each member of the document, undefined while it has none; each tells of its
  // own changes only.
  Q_PROPERTY(QQmlPropertyMap* state READ state CONSTANT)
  // Whether a document has come. The process ends soon after the link has.
  Q_PROPERTY(bool connected READ isConnected NOTIFY connectedChanged)
  // Whether the user wants nothing to move by itself, as the desktop said at the start.
  Q_PROPERTY(bool reducedMotion READ reducesMotion CONSTANT)

 public:
  // `link` must live longer.
  explicit Velmora(ProgramLink& link);
  static Velmora* create(QQmlEngine* engine, QJSEngine*);
  void provideTo(QQmlEngine& engine);

  QQmlPropertyMap* state() { return &state_; }
  // A member of the document; an empty object unless it is one.
  QJsonObject member(const QString& name) const { return document_.value(name).toObject(); }
  bool isConnected() const { return isConnected_; }
  bool reducesMotion() const { return reducesMotion_; }
  // Like `run` of the link; nothing is called any more when `asker` has gone.
  void ask(const QObject* asker, const QString& command, const QStringList& arguments,
           std::function<void(const ProgramLink::Answer&)> answered);
  // `done`, when it is a function, gets {status, output, error} of the answer.
  Q_INVOKABLE void run(const QString& command, const QStringList& arguments = {},
                       const QJSValue& done = {});

 signals:
  void connectedChanged();
  // After all that one message of the program changed is in `state`.
  void stateSettled();

 private:
  void take(const QJsonObject& document);

  ProgramLink& link_;
  QJsonObject document_;
  QQmlPropertyMap state_;
  bool isConnected_ = false;
  const bool reducesMotion_ = desktopAvoidsMotion();
};

// `target` with a JSON merge patch (RFC 7386) applied.
QJsonObject merged(QJsonObject target, const QJsonObject& patch);

}  // namespace velmora

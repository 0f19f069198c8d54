#include "window/Velmora.h"

#include <QPointer>
#include <utility>

namespace velmora {
namespace {

constexpr const char* kProvided = "velmora";

}  // namespace

QJsonObject merged(QJsonObject target, const QJsonObject& patch) {
  for (auto it = patch.begin(); it != patch.end(); ++it) {
    if (it.value().isNull())
      target.remove(it.key());
    else if (it.value().isObject())
      target.insert(it.key(), merged(target.value(it.key()).toObject(), it.value().toObject()));
    else
      target.insert(it.key(), it.value());
  }
  return target;
}

Velmora::Velmora(ProgramLink& link) : link_(link) {
  connect(&link, &ProgramLink::stateReplaced, this, &Velmora::take);
  connect(&link, &ProgramLink::stateChanged, this,
          [this](const QJsonObject& patch) { take(merged(document_, patch)); });
  connect(&link, &ProgramLink::ended, this, [this] {
    isConnected_ = false;
    emit connectedChanged();
  });
}

Velmora* Velmora::create(QQmlEngine* engine, QJSEngine*) {
  auto* velmora = engine->property(kProvided).value<Velmora*>();
  QJSEngine::setObjectOwnership(velmora, QJSEngine::CppOwnership);
  return velmora;
}

void Velmora::provideTo(QQmlEngine& engine) {
  engine.setProperty(kProvided, QVariant::fromValue(this));
}

void Velmora::ask(const QObject* asker, const QString& command, const QStringList& arguments,
                  std::function<void(const ProgramLink::Answer&)> answered) {
  link_.run(command, arguments,
            [asker = QPointer(asker), answered = std::move(answered)](const auto& answer) {
              if (asker) answered(answer);
            });
}

void Velmora::run(const QString& command, const QStringList& arguments, const QJSValue& done) {
  link_.run(command, arguments, [this, done](const ProgramLink::Answer& answer) {
    auto* engine = qjsEngine(this);
    if (!done.isCallable() || !engine) return;
    QJSValue result = engine->newObject();
    result.setProperty("status", answer.status);
    result.setProperty("output", answer.output);
    // How a command is written helps at the command line only.
    result.setProperty("error", answer.status == 2 ? "Velmora can't do that" : answer.error);
    done.call({result});
  });
}

void Velmora::take(const QJsonObject& document) {
  const QJsonObject before = std::exchange(document_, document);
  for (auto it = before.begin(); it != before.end(); ++it)
    if (!document.contains(it.key())) state_.insert(it.key(), {});
  for (auto it = document.begin(); it != document.end(); ++it)
    if (before.value(it.key()) != it.value()) state_.insert(it.key(), it.value().toVariant());
  if (!std::exchange(isConnected_, true)) emit connectedChanged();
  emit stateSettled();
}

}  // namespace velmora

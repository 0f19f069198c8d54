#include "window/VisibleTexts.h"

#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QQuickItem>
#include <QQuickWindow>
#include <cstdio>

namespace velmora {
namespace {

constexpr int kLookMs = 100;

void collect(const QQuickItem& item, QStringList& out) {
  if (!item.isVisible() || item.opacity() == 0) return;
  if (item.inherits("QQuickText") || item.inherits("QQuickTextInput") ||
      item.inherits("QQuickAbstractButton")) {
    const QString text = item.property("text").toString().trimmed();
    if (!text.isEmpty()) out.append(text);
  }
  for (const QQuickItem* child : item.childItems()) collect(*child, out);
}

}  // namespace

QStringList visibleTexts() {
  QStringList out;
  for (const QWindow* window : QGuiApplication::allWindows())
    if (const auto* quick = qobject_cast<const QQuickWindow*>(window); quick && quick->isVisible())
      collect(*quick->contentItem(), out);
  return out;
}

TextPrinter::TextPrinter() {
  connect(&timer_, &QTimer::timeout, this, &TextPrinter::look);
  timer_.start(kLookMs);
}

void TextPrinter::look() {
  const QStringList now = visibleTexts();
  if (now == last_) return;
  last_ = now;
  const auto line = QJsonDocument(QJsonArray::fromStringList(now)).toJson(QJsonDocument::Compact);
  std::printf("%s\n", line.constData());
  std::fflush(stdout);
}

}  // namespace velmora

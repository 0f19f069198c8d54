#include <QCommandLineParser>
#include <QGuiApplication>
#include <QIcon>
#include <QQuickWindow>
#include <QTimer>
#include <cstdio>
#include <memory>
#include <optional>

#include "window/ControlLink.h"
#include "window/FileLink.h"
#include "window/Surfaces.h"
#include "window/Velmora.h"
#include "window/VisibleTexts.h"

namespace {

using namespace velmora;

// The controls in each state, beside a program or without one.
int showGallery(QGuiApplication& app) {
  QQmlEngine engine;
  engine.addImportPath("qrc:/");
  FileLink none("");
  Velmora velmora(none);
  velmora.provideTo(engine);
  Surface gallery(engine, Qt::Window);
  gallery.setTitle("Velmora gallery");
  gallery.resize(1100, 800);
  gallery.load("pages/Gallery.qml");
  gallery.show();
  return app.exec();
}

}  // namespace

int main(int argc, char** argv) {
  // The software renderer holds all that is drawn here, starts at once and takes a third of the
  // memory of the other.
  if (qEnvironmentVariableIsEmpty("QT_QUICK_BACKEND"))
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
  QGuiApplication app(argc, argv);
  app.setApplicationName("velmora");
  app.setApplicationVersion(VELMORA_VERSION);
  app.setDesktopFileName("com.velmora.app");
  app.setQuitOnLastWindowClosed(false);
  app.setWindowIcon(QIcon::fromTheme("com.velmora.app"));

  QCommandLineParser words;
  words.setApplicationDescription("Velmora's windows. The resident program starts and ends this.");
  const QCommandLineOption socket("socket", "The program's control socket.", "path");
  const QCommandLineOption fake("fake", "Show the state in this JSON file.", "file");
  const QCommandLineOption gallery("gallery", "Show every control in each of its states.");
  const QCommandLineOption texts("texts", "Print the visible texts whenever they change.");
  words.addHelpOption();
  words.addVersionOption();
  words.addOptions({socket, fake, gallery, texts});
  words.process(app);
  std::optional<TextPrinter> printer;
  if (words.isSet(texts)) printer.emplace();
  if (words.isSet(gallery)) return showGallery(app);

  std::unique_ptr<ProgramLink> link;
  if (words.isSet(fake))
    link = std::make_unique<FileLink>(words.value(fake));
  else
    link = std::make_unique<ControlLink>(words.isSet(socket) ? words.value(socket)
                                                             : ControlLink::usualSocketPath());
  Velmora velmora(*link);
  Surfaces surfaces(velmora);
  QObject::connect(&surfaces, &Surfaces::allGone, &app, &QGuiApplication::quit,
                   Qt::QueuedConnection);
  const auto fail = [](const QString& why) {
    std::fprintf(stderr, "velmora-window: %s\n", qPrintable(why));
    QGuiApplication::exit(1);
  };
  QObject::connect(link.get(), &ProgramLink::ended, &app, fail, Qt::QueuedConnection);
  QObject::connect(
      &surfaces, &Surfaces::programIsMute, &app, [fail] { fail("Velmora does not answer"); },
      Qt::QueuedConnection);
  link->open();
  return app.exec();
}

#include <sys/prctl.h>
#include <unistd.h>

#include <QCommandLineParser>
#include <QGuiApplication>
#include <QIcon>
#include <QQuickWindow>
#include <QTimer>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>

#include "window/ControlLink.h"
#include "window/FileLink.h"
#include "window/Surfaces.h"
#include "window/Velmora.h"
#include "window/VisibleTexts.h"

namespace {

using namespace velmora;

// Started by the resident program, whose number is given after `--resident`, we end with it even
// when we are stuck: a gate would hold the keyboard for ever. Before anything else, since that
// program may die at any moment.
void endWithResident(int argc, char** argv) {
  for (int i = 1; i + 1 < argc; ++i) {
    if (std::strcmp(argv[i], "--resident") != 0) continue;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != std::atoi(argv[i + 1])) std::_Exit(1);
  }
}

// The gate holds under X11 only, so a session that has both gets that, whatever is set for others.
void preferX11() {
  const QByteArray platform = qgetenv("QT_QPA_PLATFORM");
  const bool isOpen = platform.isEmpty() || platform.startsWith("wayland");
  if (isOpen && !qEnvironmentVariableIsEmpty("DISPLAY"))
    qputenv("QT_QPA_PLATFORM", "xcb;" + (platform.isEmpty() ? QByteArray("wayland") : platform));
}

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
  endWithResident(argc, argv);
  preferX11();
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
  const QCommandLineOption resident("resident", "The program to end with.", "process");
  const QCommandLineOption fake("fake", "Show the state in this JSON file.", "file");
  const QCommandLineOption gallery("gallery", "Show every control in each of its states.");
  const QCommandLineOption texts("texts", "Print the visible texts whenever they change.");
  words.addHelpOption();
  words.addVersionOption();
  words.addOptions({socket, resident, fake, gallery, texts});
  words.process(app);
  // The hours of missions are in the user's zone, not in that of one start.
  if (!words.isSet(fake)) qunsetenv("TZ");
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
  QObject::connect(&surfaces, &Surfaces::gateFailed, &app, fail, Qt::QueuedConnection);
  link->open();
  return app.exec();
}

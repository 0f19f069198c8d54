#include "window/MainWindow.h"

#include <QCloseEvent>
#include <QGuiApplication>
#include <QScreen>

#include "window/X11Window.h"

namespace velmora {
namespace {

constexpr QSize kSmallest(920, 640);
constexpr QSize kUsual(1000, 720);
constexpr int kWidest = 1100;
constexpr int kTallest = 16384;

}  // namespace

MainWindow::MainWindow(QQmlEngine& engine, Velmora& velmora, const QString& file)
    : Surface(engine, Qt::Window), velmora_(velmora) {
  setTitle("Velmora");
  setMinimumSize(kSmallest);
  setMaximumSize(QSize(kWidest, kTallest));
  const QSize room = screen()->availableSize();
  resize(kUsual.boundedTo(room).expandedTo(kSmallest));
  load(file);
}

void MainWindow::present() {
  if (windowStates() & Qt::WindowMinimized) setWindowStates(windowStates() & ~Qt::WindowMinimized);
  show();
  raise();
  x11::activate(*this);
}

void MainWindow::setSkippingTaskBar(bool skips) {
  x11::setSkippingTaskBar(*this, skips);
}

void MainWindow::closeEvent(QCloseEvent* event) {
  event->ignore();
  velmora_.run("window", {"hide"});
}

}  // namespace velmora

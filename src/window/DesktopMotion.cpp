#include "window/DesktopMotion.h"

#include <xcb/xcb.h>

#include <QDataStream>
#include <QGuiApplication>
#include <QSettings>
#include <QStandardPaths>
#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string_view>

namespace velmora {
namespace {

template <typename T>
using Reply = std::unique_ptr<T, decltype(&std::free)>;

xcb_atom_t atom(xcb_connection_t* x, std::string_view name) {
  const auto asked = xcb_intern_atom(x, 0, static_cast<uint16_t>(name.size()), name.data());
  const Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(x, asked, nullptr), &std::free);
  return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

// The settings of the first screen's manager; empty without one.
QByteArray xsettings() {
  const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
  xcb_connection_t* x = x11 ? x11->connection() : nullptr;
  if (!x) return {};
  const Reply<xcb_get_selection_owner_reply_t> owner(
      xcb_get_selection_owner_reply(x, xcb_get_selection_owner(x, atom(x, "_XSETTINGS_S0")),
                                    nullptr),
      &std::free);
  if (!owner || owner->owner == XCB_NONE) return {};
  constexpr uint32_t kMostWords = 16384;
  const xcb_atom_t name = atom(x, "_XSETTINGS_SETTINGS");
  const auto asked = xcb_get_property(x, 0, owner->owner, name, name, 0, kMostWords);
  const Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(x, asked, nullptr),
                                              &std::free);
  if (!reply) return {};
  return {static_cast<const char*>(xcb_get_property_value(reply.get())),
          xcb_get_property_value_length(reply.get())};
}

bool kdeAvoidsMotion() {
  const QString file = QStandardPaths::locate(QStandardPaths::GenericConfigLocation, "kdeglobals");
  if (file.isEmpty()) return false;
  const QSettings settings(file, QSettings::IniFormat);
  return settings.value("KDE/AnimationDurationFactor", 1).toDouble() == 0;
}

}  // namespace

bool settingsAvoidMotion(const QByteArray& property) {
  enum Type : uint8_t { integer, text, color };
  if (property.isEmpty()) return false;
  QDataStream in(property);
  in.setByteOrder(property[0] == 0 ? QDataStream::LittleEndian : QDataStream::BigEndian);
  uint32_t serial = 0, count = 0;
  in.skipRawData(4);
  in >> serial >> count;
  const auto padded = [](uint32_t length) {
    return static_cast<int>((std::min(length, 0xfffffU) + 3U) & ~3U);
  };
  for (uint32_t i = 0; i < count && in.status() == QDataStream::Ok; ++i) {
    uint8_t type = 0, unused = 0;
    uint16_t length = 0;
    in >> type >> unused >> length;
    QByteArray name(padded(length), '\0');
    in.readRawData(name.data(), static_cast<int>(name.size()));
    name.truncate(length);
    uint32_t value = 0;
    in >> serial >> value;
    if (type == integer && name == "Gtk/EnableAnimations" && in.status() == QDataStream::Ok)
      return value == 0;
    if (type == text) in.skipRawData(padded(value));
    if (type == color) in.skipRawData(4);
  }
  return false;
}

bool desktopAvoidsMotion() {
  return settingsAvoidMotion(xsettings()) || kdeAvoidsMotion();
}

}  // namespace velmora

#pragma once

#include <QByteArray>

namespace velmora {

// Whether the user has turned animations off in the desktop's settings, as desktops on X11 tell
// their programs (XSETTINGS, Gtk/EnableAnimations) and KDE writes into its own file. False where
// nothing is told. Needs a QGuiApplication.
bool desktopAvoidsMotion();

// The same of the bytes of an XSETTINGS property, which may be damaged.
bool settingsAvoidMotion(const QByteArray& property);

}  // namespace velmora

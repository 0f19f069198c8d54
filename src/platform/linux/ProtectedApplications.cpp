#include "platform/linux/ProtectedApplications.h"

namespace velmora {
namespace {

constexpr ProtectedApplication kProtected[] = {
    // GNOME
    {"org.gnome.Shell", "gnome-shell org.gnome.Shell.PortalHelper gnome-shell-portal-helper"},
    {"org.gnome.SessionManager", "gnome-session gnome-session-binary gnome-session-quit"},
    {"org.gnome.Nautilus", "nautilus"},
    {"org.gnome.Settings", "gnome-control-center"},
    // Plasma
    {"org.kde.plasmashell", "plasmashell plasmawindowed org.kde.plasmawindowed"},
    {"org.kde.kwin", "kwin kwin_x11 kwin_wayland kwin_killer_helper kwin_rules_dialog"},
    {"org.kde.krunner", "krunner"},
    {"org.kde.ksmserver", "ksmserver ksmserver-logout-greeter"},
    {"org.kde.dolphin", "dolphin"},
    {"systemsettings", "systemsettings5 kdesystemsettings kcmshell5 kcmshell6"},
    // Xfce
    {"xfce4-panel", "wrapper-2.0 panel-preferences panel-desktop-handler"},
    {"xfce4-session", "xfce4-session-logout xfce4-session-settings"},
    {"xfdesktop", "xfdesktop-settings xfce-backdrop-settings"},
    {"xfwm4", "xfwm4-settings xfwm4-tweaks-settings xfwm4-workspace-settings"},
    {"thunar", "thunar-settings thunar-bulk-rename"},
    {"xfce-settings-manager",
     "xfce4-settings-manager xfce4-settings-editor xfce4-accessibility-settings "
     "xfce4-appearance-settings xfce4-color-settings xfce4-display-settings "
     "xfce4-keyboard-settings xfce4-mime-settings xfce4-mouse-settings xfsettingsd "
     "xfce-ui-settings xfce-display-settings xfce-keyboard-settings xfce-mouse-settings "
     "xfce4-power-manager-settings xfce4-notifyd-config xfce4-screensaver-preferences"},
    // Cinnamon
    {"cinnamon", "cinnamon2d cinnamon-launcher cinnamon-session cinnamon-session-quit"},
    {"nemo", "nemo-desktop nemo-autostart"},
    {"cinnamon-settings", "cinnamon-settings.py cinnamon-control-center cinnamon-settings-users"},
    // MATE
    {"mate-panel", ""},
    {"mate-session", "mate-session-save mate-session-logout"},
    {"marco", ""},
    {"caja", "caja-browser caja-file-management-properties"},
    {"matecc",
     "mate-control-center mate-about-me mate-appearance-properties mate-at-properties "
     "mate-default-applications-properties mate-display-properties mate-keybinding-properties "
     "mate-keyboard-properties mate-mouse-properties mate-network-properties mate-time-admin "
     "mate-window-properties mate-settings-daemon"},
    // LXQt
    {"lxqt-panel", ""},
    {"lxqt-session", "lxqt-leave"},
    {"lxqt-runner", ""},
    {"pcmanfm-qt", "pcmanfm-qt-desktop-pref lxqt-desktop"},
    {"lxqt-config",
     "lxqt-config-appearance lxqt-config-brightness lxqt-config-file-associations "
     "lxqt-config-input lxqt-config-locale lxqt-config-monitor lxqt-config-session "
     "lxqt-config-globalkeyshortcuts lxqt-config-notificationd lxqt-config-powermanagement "
     "lxqt-admin-time lxqt-admin-user"},
    // Lockers
    {"i3lock", ""},
    {"slock", ""},
    {"xsecurelock", ""},
    {"physlock", ""},
    {"light-locker", ""},
    {"xscreensaver", "xscreensaver-auth xscreensaver-gfx xscreensaver-settings"},
    {"gnome-screensaver", "gnome-screensaver-dialog"},
    {"mate-screensaver", "mate-screensaver-dialog"},
    {"xfce4-screensaver", "xfce4-screensaver-dialog"},
    {"org.cinnamon.ScreenSaver", "cinnamon-screensaver cinnamon-unlock-desktop"},
    {"kscreenlocker_greet", ""},
    // Passwords and permissions
    {"polkit-gnome-authentication-agent-1", ""},
    {"polkit-mate-authentication-agent-1", ""},
    {"org.kde.polkit-kde-authentication-agent-1", "polkit-kde-authentication-agent-1"},
    {"lxqt-policykit-agent", ""},
    {"lxpolkit", ""},
    {"xfce-polkit", ""},
    {"pinentry",
     "pinentry-gnome3 pinentry-gtk pinentry-gtk-2 pinentry-qt pinentry-qt5 pinentry-x11 "
     "pinentry-fltk pinentry-tqt"},
    {"gcr-prompter", "gcr-ssh-askpass"},
    {"ssh-askpass", "x11-ssh-askpass gnome-ssh-askpass ksshaskpass"},
    {"org.kde.kwalletd5", "kwalletd5 kwalletd6 org.kde.kwalletd6"},
    {"xdg-desktop-portal",
     "xdg-desktop-portal-gtk xdg-desktop-portal-gnome xdg-desktop-portal-kde "
     "xdg-desktop-portal-lxqt xdg-desktop-portal-xapp xdg-desktop-portal-wlr "
     "org.freedesktop.impl.portal.desktop.kde"},
    // Reading and typing
    {"orca", ""},
    {"onboard", "onboard-settings"},
    {"florence", ""},
    {"xvkbd", ""},
    {"matchbox-keyboard", ""},
    {"maliit-keyboard", "com.github.maliit.keyboard"},
    {"ibus",
     "ibus-daemon ibus-setup ibus-ui-gtk3 ibus-ui-emojier ibus-extension-gtk3 ibus-x11 "
     "org.freedesktop.ibus.setup org.freedesktop.ibus.panel.emojier "
     "org.freedesktop.ibus.panel.extension.gtk3"},
    {"fcitx", "fcitx-configtool fcitx-config-gtk3 kbd-layout-viewer"},
    {"org.fcitx.Fcitx5",
     "fcitx5 fcitx5-config-qt org.fcitx.fcitx5-config-qt org.fcitx.fcitx5-migrator "
     "fcitx5-migrator kbd-layout-viewer5"},
    {"uim", "uim-xim uim-pref-gtk3 uim-pref-qt5 uim-toolbar-gtk3 uim-toolbar-qt5"},
    // Looking on from elsewhere
    {"org.remmina.Remmina", "remmina remmina-gnome org.remmina.remmina-file"},
    {"org.gnome.Connections", "gnome-connections"},
    {"org.kde.krdc", "krdc"},
    {"vinagre", "org.gnome.vinagre"},
    {"xfreerdp", "xfreerdp3 sdl-freerdp"},
    {"rdesktop", ""},
    {"vncviewer", "xtigervncviewer tigervnc xvncviewer"},
    {"x2goclient", ""},
    {"nxplayer", "nxplayer.bin"},
    {"remote-viewer", "virt-viewer"},
    {"rustdesk", "com.rustdesk.rustdesk"},
    {"anydesk", "com.anydesk.anydesk"},
    {"teamviewer", "com.teamviewer.teamviewer"},
};

}  // namespace

std::span<const ProtectedApplication> protectedApplications() {
  return kProtected;
}

}  // namespace velmora

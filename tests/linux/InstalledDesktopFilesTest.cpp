#include <gtest/gtest.h>

#include "platform/linux/InstalledDesktopFiles.h"
#include "platform/linux/LinuxAppCatalog.h"
#include "support/TempFolder.h"

namespace velmora {
namespace {

class InstalledDesktopFilesTest : public testing::Test {
 protected:
  // A desktop file "ID" or "FOLDER/ID" in one of the data folders, with these lines.
  void add(const std::string& place, const std::string& lines = "") {
    put(place + ".desktop", "[Desktop Entry]\nType=Application\nName=" + place + "\n" + lines);
  }
  void put(const std::string& place, const std::string& content) {
    const std::string path = folder / place;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    putContent(path, content);
  }
  TempFolder folder;
  DesktopEntries entries{{.home = folder / "home",
                          .configHome = folder / "config",
                          .dataFolders = {folder / "own", folder / "usr"},
                          .languages = {"de_AT", "de"},
                          .desktops = {"GNOME"},
                          .path = {"/bin"}}};
  LinuxAppCatalog catalog{&entries};
  InstalledDesktopFiles installed{catalog, entries};
};

TEST_F(InstalledDesktopFilesTest, ShowsWhatAMenuWouldShow) {
  add("own/applications/b", "Name[de]=Bär\nName[fr]=Ours\n");
  add("own/applications/gone", "Hidden=true\n");
  add("own/applications/here", "OnlyShowIn=KDE;GNOME;\nTryExec=sh\n");
  add("usr/applications/gone");
  add("usr/applications/b");
  add("usr/applications/kde/deep", "StartupWMClass=x\n");
  for (const char* reason : {"NoDisplay=true", "Terminal=true", "OnlyShowIn=KDE;", "NotShowIn=GNOME",
                             "TryExec=no-such-program", "Type=Link\n[Desktop Entry]"}) {
    put(std::string("usr/applications/not ") + reason[0] + ".desktop",
        std::string("[Desktop Entry]\n") + reason + "\nType=Application\nName=x\n");
  }
  put("usr/applications/damaged.desktop", "Name=x\n[Desktop Entry\n\xff=\n=");
  put("usr/applications/noname.desktop", "[Desktop Entry]\nType=Application\n");
  put("usr/applications/latin.desktop", "[Desktop Entry]\nType=Application\nName=\xe4\n");
  add("usr/applications/discord");
  std::filesystem::create_directory_symlink(".", folder / "usr/applications/circle");
  std::string scanned;
  for (const auto& app : installed.scan()) scanned += app.name + "=" + app.bundleID + " ";
  EXPECT_EQ(scanned, "Bär=b own/applications/here=here usr/applications/discord=com.hnc.Discord "
                       "usr/applications/kde/deep=kde-deep ");
}

TEST_F(InstalledDesktopFilesTest, IconsAreTakenFromTheThemeThenItsParentsThenLoosePictures) {
  put("config/gtk-3.0/settings.ini", "[Settings]\ngtk-icon-theme-name=Own\n");
  put("own/icons/Own/index.theme",
      "[Icon Theme]\nInherits=Base\nDirectories=a,b\n[a]\nSize=512\n[b]\nSize=16\nScale=4\n");
  put("usr/icons/Base/index.theme", "[Icon Theme]\nInherits=Own\nDirectories=s\n[s]\nSize=48\n");
  for (const auto& [icon, best] : std::map<std::string, std::string>{
           {"one", "usr/icons/Own/b/one.png"}, {"two", "usr/icons/Base/s/two.svg"},
           {"three.xpm", "usr/pixmaps/three.xpm"}, {folder / "own/a b.png", "own/a b.png"}}) {
    put(best, "");
    put("usr/icons/Base/s/one.svg", "");
    put("own/icons/Own/a/one.png", "");
    add("own/applications/a b", "Icon=" + icon + "\n");
    EXPECT_EQ(installed.scan().at(0).icon, folder / best);
  }
  EXPECT_EQ(installed.scan().at(0).url, "file://" + (folder / "own/applications/a%20b.desktop"));
}

TEST_F(InstalledDesktopFilesTest, AnApplicationGoesByItsWindowsAndItsProgram) {
  EXPECT_EQ(catalog.canonicalID("XTerm"), "XTerm");
  add("usr/applications/debian-xterm", "StartupWMClass=XTerm\nExec=\"/usr/bin/xt\" %F\n");
  add("own/applications/cheat", "StartupWMClass=XTerm\nExec=env A=1 xt\n");
  add("usr/applications/office-a", "Exec=office -a\n");
  add("usr/applications/office-b", "Exec=office -b\n");
  add("usr/applications/edit", "Exec=edit %U\n");
  add("usr/applications/edit-settings", "Exec=edit --settings\n");
  add("usr/applications/script", "Exec=python3 /usr/share/script.py\n");
  for (const char* name : {"XTerm", "xt", "Debian-XTerm"}) {
    EXPECT_EQ(catalog.canonicalID(name), "debian-xterm") << name;
  }
  EXPECT_EQ(catalog.ofProgram("xt"), "debian-xterm");
  EXPECT_EQ(catalog.ofProgram("edit"), "edit");
  for (const char* program : {"office", "python3", "debian-xterm"}) {
    EXPECT_EQ(catalog.ofProgram(program), std::nullopt) << program;
  }
}

}  // namespace
}  // namespace velmora

#include "platform/desktop/posix_file_system.h"
#include "platform/desktop/xdg_shell.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <map>
#include <optional>
#include <regex>
#include <set>

#include "foundation/text.h"
#include "support/expect_vb_error.h"
#include "support/temp_folder.h"

namespace vellix::desktop {
namespace {

using vellix::test::ErrorNumber;
using vellix::test::ReadText;
using vellix::test::WriteText;

TEST(PathMapping, WindowsPathsLandUnderTheirDriveRootAndReadBack) {
  // POSIX paths stay; separators of either kind are taken; ".." never leaves a drive root.
  const PathMapping map("/data");
  const struct {
    const char *logic, *native;
  } cases[] = {{"c:\\Orvane Vellix Store", "/data/drives/c/Orvane Vellix Store"},
               {"D:\\Backup\\2026\\", "/data/drives/d/Backup/2026"},
               {"C:", "/data/drives/c"},
               {"", "/data/drives/c"},
               {"\\Top\\file.pst", "/data/drives/c/Top/file.pst"},
               {"relative\\x", "/data/drives/c/relative/x"},
               {"\\\\server\\share\\a", "/data/unc/server/share/a"},
               {"/home//user/./Backups/", "/home/user/Backups"},
               {"c:/a\\b/c", "/data/drives/c/a/b/c"},
               {"c:\\..\\..\\etc\\passwd", "/data/drives/c/etc/passwd"},
               {"c:\\a\\b\\..\\c", "/data/drives/c/a/c"},
               {"/../etc", "/etc"}};
  for (const auto& c : cases)
    EXPECT_EQ(map.ToNative(c.logic), c.native) << c.logic;

  EXPECT_EQ(map.ToLogic("/data/drives/c/Orvane Vellix Store"), "C:\\Orvane Vellix Store");
  EXPECT_EQ(map.ToLogic("/data/drives/d"), "D:\\");
  EXPECT_EQ(map.ToLogic("/home/user/x"), "/home/user/x");
  EXPECT_EQ(map.ToLogic(map.ToNative("e:\\A\\B")), "E:\\A\\B");
}

TEST(FileSystem, CreatesFoldersOneLevelDeepWritesPrivateFilesBesideTheTempFolderAndListsFiles) {
  const vellix::test::TempFolder scratch;
  const PathMapping mapping(scratch.Path());
  PosixFileSystem fs{mapping};
  EXPECT_FALSE(fs.FolderExists("C:\\Orvane Vellix Store"));
  fs.CreateFolder("C:\\Orvane Vellix Store");
  EXPECT_TRUE(fs.FolderExists("c:\\Orvane Vellix Store\\"));
  EXPECT_TRUE(std::filesystem::is_directory(scratch.Path() / "drives/c/Orvane Vellix Store"));
  EXPECT_EQ(ErrorNumber([&] { fs.CreateFolder("C:\\Orvane Vellix Store"); }), 58);

  // Two levels below anything that is there: nothing is made at all.
  EXPECT_EQ(ErrorNumber([&] { fs.CreateFolder("D:\\Archive\\2026"); }), 76);
  EXPECT_FALSE(fs.FolderExists("D:\\Archive"));
  EXPECT_TRUE(fs.FolderExists("D:\\")) << "every drive is there";

  // POSIX paths are taken as they stand.
  const auto posix = (scratch.Path() / "posix").string();
  fs.CreateFolder(posix);
  EXPECT_TRUE(fs.FolderExists(posix));

  fs.WriteTextFile("C:\\file.txt", "x");
  for (const char* notAFolder : {"", "   ", "C:\\file.txt"})
    EXPECT_FALSE(fs.FolderExists(notAFolder)) << notAFolder;
  for (const std::string& bad : {std::string(), posix + "/a/b", std::string("C:\\file.txt\\sub")})
    EXPECT_EQ(ErrorNumber([&] { fs.CreateFolder(bad); }), 76) << bad;

  // The help page is written beside the temporary folder.
  const auto temp = fs.GetSpecialFolder(2);
  EXPECT_EQ(temp, "C:\\Temp");
  EXPECT_TRUE(fs.FolderExists(temp));
  std::set<std::string> names;
  for (int i = 0; i < 20; ++i) {
    auto name = fs.GetTempName();
    EXPECT_TRUE(std::regex_match(name, std::regex("rad[0-9A-F]{5}\\.tmp"))) << name;
    names.insert(name);
  }
  EXPECT_GT(names.size(), 15U) << "names are fresh";

  // Joined with no separator, the file lies beside the folder, not in it.
  const auto page = Replace(temp + fs.GetTempName(), ".tmp", ".htm");
  fs.WriteTextFile(page, "<HTML> <\\HTML>");
  EXPECT_TRUE(fs.FileExists(page));
  const auto native = mapping.ToNative(page);
  EXPECT_EQ(native.parent_path(), scratch.Path() / "drives/c");
  EXPECT_EQ(ReadText(native), "<HTML> <\\HTML>");
  fs.WriteTextFile(page, "again");
  EXPECT_EQ(ReadText(native), "again") << "replaced, not appended";

  fs.DeleteFile(page);
  EXPECT_FALSE(fs.FileExists(page));
  EXPECT_EQ(ErrorNumber([&] { fs.DeleteFile(page); }), 53);
  EXPECT_EQ(ErrorNumber([&] { fs.DeleteFile(temp); }), 53) << "a folder is no file";
  EXPECT_EQ(ErrorNumber([&] { fs.WriteTextFile("C:\\Nowhere\\page.htm", "x"); }), 76);
  EXPECT_EQ(ErrorNumber([&] { fs.WriteTextFile(temp, "x"); }), 70);
  EXPECT_TRUE(fs.FolderExists(temp)) << "the folder survives a refused write";
  EXPECT_EQ(ErrorNumber([&] { fs.GetSpecialFolder(3); }), 5);

  // The files directly in a folder, as path texts.
  fs.CreateFolder("E:\\Backups");
  fs.CreateFolder("E:\\Backups\\Older");
  fs.WriteTextFile("E:\\Backups\\Older\\deep.xml", "x");
  fs.WriteTextFile("E:\\Backups\\Saved.xml", "x");
  fs.WriteTextFile("E:\\Backups\\File 2024.pst", "x");
  const auto backups = mapping.ToNative("E:\\Backups");
  std::filesystem::create_symlink(backups / "Saved.xml", backups / "Link.xml");
  std::filesystem::create_symlink(backups / "gone.xml", backups / "Broken.xml");

  std::vector<std::string> files;
  for (const FolderFile& file : fs.FilesOf("e:\\Backups\\")) {
    EXPECT_EQ(file.path, "E:\\Backups\\" + file.name);
    files.push_back(file.path);
  }
  std::sort(files.begin(), files.end());
  // Sub-folders and what they hold, and a link to nothing, are no files here.
  EXPECT_EQ(files, (std::vector<std::string>{"E:\\Backups\\File 2024.pst", "E:\\Backups\\Link.xml",
                                             "E:\\Backups\\Saved.xml"}));
  EXPECT_EQ(fs.FilesOf("E:\\Backups\\Older\\..\\Older").size(), 1U);
  fs.CreateFolder("E:\\Empty");
  EXPECT_TRUE(fs.FilesOf("E:\\Empty").empty());

  for (const char* missing : {"", " ", "E:\\Gone", "E:\\Backups\\Saved.xml"})
    EXPECT_EQ(ErrorNumber([&] { (void)fs.FilesOf(missing); }), 76) << missing;

  // A new file is the user's alone, whatever the umask; an existing one keeps its mode.
  const mode_t mask = ::umask(022);
  fs.WriteTextFile("C:\\Process Log.txt", "log");
  WriteText(scratch / "drives/c/shared.txt", "old");
  std::filesystem::permissions(scratch / "drives/c/shared.txt", std::filesystem::perms(0644));
  fs.WriteTextFile("C:\\shared.txt", "new");
  ::umask(mask);
  EXPECT_EQ(std::filesystem::status(scratch / "drives/c/Process Log.txt").permissions(),
            std::filesystem::perms(0600));
  EXPECT_EQ(std::filesystem::status(scratch / "drives/c/shared.txt").permissions(),
            std::filesystem::perms(0644));
  EXPECT_EQ(ReadText(scratch / "drives/c/shared.txt"), "new");
}

TEST(PersonalFolder, IsTheXdgDocumentsFolderWhenOneIsThereAndNothingOtherwise) {
  const vellix::test::TempFolder scratch;
  const auto folder = [&](const std::string& relative) {
    std::filesystem::create_directories(scratch / relative);
    return scratch / relative;
  };
  const auto home = folder("home");
  const PathMapping mapping(scratch.Path() / "data");
  std::map<std::string, std::string> vars{{"HOME", home.string()}};
  auto shellWith = [&] {
    return XdgShell(mapping, nullptr, [&](const std::string& name) -> std::optional<std::string> {
      return vars.contains(name) ? std::optional(vars.at(name)) : std::nullopt;
    });
  };

  EXPECT_EQ(shellWith().PersonalFolder(), std::nullopt);

  folder("home/Documents");
  EXPECT_EQ(shellWith().PersonalFolder(), (home / "Documents").string());

  // The user's own choice in user-dirs.dirs comes first, once it is there.
  WriteText(scratch / "home/.config/user-dirs.dirs",
            "# written by xdg-user-dirs-update\nXDG_DOCUMENTS_DIR=\"$HOME/Dokumente\"\n");
  EXPECT_EQ(shellWith().PersonalFolder(), (home / "Documents").string());
  folder("home/Dokumente");
  EXPECT_EQ(shellWith().PersonalFolder(), (home / "Dokumente").string());

  // Set to the home folder itself, the documents folder is switched off.
  WriteText(scratch / "home/.config/user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"$HOME/\"\n");
  EXPECT_EQ(shellWith().PersonalFolder(), (home / "Documents").string());

  const auto config = folder("config");
  const auto papers = folder("papers");
  WriteText(scratch / "config/user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"" + papers.string() + "\"\n");
  vars["XDG_CONFIG_HOME"] = config.string();
  EXPECT_EQ(shellWith().PersonalFolder(), papers.string());

  vars["XDG_DOCUMENTS_DIR"] = (scratch.Path() / "missing").string();
  EXPECT_EQ(shellWith().PersonalFolder(), papers.string());
  const auto mine = folder("data/drives/c/Users/alex/My Documents");
  vars["XDG_DOCUMENTS_DIR"] = mine.string() + "/";
  EXPECT_EQ(shellWith().PersonalFolder(), "C:\\Users\\alex\\My Documents")
      << "a folder under a drive root reads back as a drive path";

  vars = {{"HOME", "relative/home"}};
  EXPECT_EQ(shellWith().PersonalFolder(), std::nullopt);
}

TEST(BrowseForFolder, GivesTheChosenFolderAsThePanelWritesPathsAndNothingOnCancel) {
  const PathMapping mapping("/data");
  std::vector<std::string> titles;
  std::vector<std::string> starts;
  std::optional<std::filesystem::path> answer = "/data/drives/d/Backups";
  XdgShell shell(mapping, [&](const std::string& title, const std::filesystem::path& start) {
    titles.push_back(title);
    starts.push_back(start.string());
    return answer;
  });

  EXPECT_EQ(shell.BrowseForFolder("Find a folder", "E:\\Old"), "D:\\Backups");
  answer = "/home/alex/Backups";
  EXPECT_EQ(shell.BrowseForFolder("Again", ""), "/home/alex/Backups");
  answer.reset();
  EXPECT_EQ(shell.BrowseForFolder("Cancel me", "/home/alex"), std::nullopt);
  EXPECT_EQ(titles, (std::vector<std::string>{"Find a folder", "Again", "Cancel me"}));
  // The dialog opens at the native folder of the path it was given.
  EXPECT_EQ(starts, (std::vector<std::string>{"/data/drives/e/Old", "", "/home/alex"}));

  EXPECT_EQ(XdgShell(mapping, nullptr).BrowseForFolder("No dialog", ""), std::nullopt);
}

}  // namespace
}  // namespace vellix::desktop

#include "platform/desktop/posix_file_system.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "foundation/text.h"
#include "support/expect_vb_error.h"
#include "support/temp_folder.h"

namespace vellix::desktop {
namespace {

using vellix::test::ErrorNumber;

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

TEST(FileSystem, CreatesFoldersOneLevelDeepAndWritesTheHelpPageBesideTheTemporaryFolder) {
  const vellix::test::TempFolder scratch;
  PosixFileSystem fs{PathMapping(scratch.Path())};
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
  EXPECT_EQ(ErrorNumber([&] { fs.CreateFolder(posix + "/a/b"); }), 76);

  fs.WriteTextFile("C:\\file.txt", "x");
  for (const char* notAFolder : {"", "   ", "C:\\file.txt"})
    EXPECT_FALSE(fs.FolderExists(notAFolder)) << notAFolder;
  EXPECT_EQ(ErrorNumber([&] { fs.CreateFolder(""); }), 76);
  EXPECT_EQ(ErrorNumber([&] { fs.CreateFolder("C:\\file.txt\\sub"); }), 76);

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
  const auto native = PathMapping(scratch.Path()).ToNative(page);
  EXPECT_EQ(native.parent_path(), scratch.Path() / "drives/c");
  EXPECT_EQ(vellix::test::ReadText(native), "<HTML> <\\HTML>");
  fs.WriteTextFile(page, "again");
  EXPECT_EQ(vellix::test::ReadText(native), "again") << "replaced, not appended";

  fs.DeleteFile(page);
  EXPECT_FALSE(fs.FileExists(page));
  EXPECT_EQ(ErrorNumber([&] { fs.DeleteFile(page); }), 53);
  EXPECT_EQ(ErrorNumber([&] { fs.DeleteFile(temp); }), 53) << "a folder is no file";
  EXPECT_EQ(ErrorNumber([&] { fs.WriteTextFile("C:\\Nowhere\\page.htm", "x"); }), 76);
  EXPECT_EQ(ErrorNumber([&] { fs.WriteTextFile(temp, "x"); }), 70);
  EXPECT_TRUE(fs.FolderExists(temp)) << "the folder survives a refused write";
  EXPECT_EQ(ErrorNumber([&] { fs.GetSpecialFolder(3); }), 5);
}

TEST(FileSystem, ListsTheFilesDirectlyInAFolderAsPathTextsAndRefusesAMissingOne) {
  const vellix::test::TempFolder scratch;
  PosixFileSystem fs{PathMapping(scratch.Path())};
  fs.CreateFolder("E:\\Backups");
  fs.CreateFolder("E:\\Backups\\Older");
  fs.WriteTextFile("E:\\Backups\\Older\\deep.xml", "x");
  fs.WriteTextFile("E:\\Backups\\Saved.xml", "x");
  fs.WriteTextFile("E:\\Backups\\File 2024.pst", "x");
  const auto native = PathMapping(scratch.Path()).ToNative("E:\\Backups");
  std::filesystem::create_symlink(native / "Saved.xml", native / "Link.xml");
  std::filesystem::create_symlink(native / "gone.xml", native / "Broken.xml");

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
}

}  // namespace
}  // namespace vellix::desktop

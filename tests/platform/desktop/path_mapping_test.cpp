#include "platform/desktop/path_mapping.h"

#include <gtest/gtest.h>

namespace vellix::desktop {
namespace {

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

}  // namespace
}  // namespace vellix::desktop

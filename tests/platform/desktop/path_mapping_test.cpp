#include "platform/desktop/path_mapping.h"

#include <gtest/gtest.h>

namespace vellix::desktop {
namespace {

TEST(PathMapping, WindowsStylePathsLandUnderTheirDriveRoot) {
  PathMapping map("/data");
  EXPECT_EQ(map.ToNative("c:\\Orvane Vellix Store"), "/data/drives/c/Orvane Vellix Store");
  EXPECT_EQ(map.ToNative("D:\\Backup\\2026\\"), "/data/drives/d/Backup/2026");
  EXPECT_EQ(map.ToNative("C:"), "/data/drives/c");
  EXPECT_EQ(map.ToNative("\\Top\\file.pst"), "/data/drives/c/Top/file.pst");
  EXPECT_EQ(map.ToNative("relative\\x"), "/data/drives/c/relative/x");
  EXPECT_EQ(map.ToNative("\\\\server\\share\\a"), "/data/unc/server/share/a");
  EXPECT_EQ(map.ToNative(""), "/data/drives/c");
}

TEST(PathMapping, PosixPathsStayAndMixedSeparatorsAreAccepted) {
  PathMapping map("/data");
  EXPECT_EQ(map.ToNative("/home/user/Backups"), "/home/user/Backups");
  EXPECT_EQ(map.ToNative("/home//user/./Backups/"), "/home/user/Backups");
  EXPECT_EQ(map.ToNative("c:/a\\b/c"), "/data/drives/c/a/b/c");
}

TEST(PathMapping, DotDotNeverLeavesTheDriveRoot) {
  PathMapping map("/data");
  EXPECT_EQ(map.ToNative("c:\\..\\..\\etc\\passwd"), "/data/drives/c/etc/passwd");
  EXPECT_EQ(map.ToNative("c:\\a\\b\\..\\c"), "/data/drives/c/a/c");
  EXPECT_EQ(map.ToNative("/../etc"), "/etc");
}

TEST(PathMapping, NativePathsInsideADriveRootReadBackAsDrivePaths) {
  PathMapping map("/data");
  EXPECT_EQ(map.ToLogic("/data/drives/c/Orvane Vellix Store"), "C:\\Orvane Vellix Store");
  EXPECT_EQ(map.ToLogic("/data/drives/d"), "D:\\");
  EXPECT_EQ(map.ToLogic("/home/user/x"), "/home/user/x");
  EXPECT_EQ(map.ToLogic(map.ToNative("e:\\A\\B")), "E:\\A\\B");
}

}  // namespace
}  // namespace vellix::desktop

#include "servers/config/atomic_file.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <iterator>
#include <string>

#include "support/child_process.h"
#include "support/temp_folder.h"

namespace vellix {
namespace {

long CountFiles(const std::filesystem::path& folder) {
  return std::distance(std::filesystem::directory_iterator(folder), {});
}

TEST(AtomicFile, ReplacesKeepingPermissionsClearsOnlyItsOwnTempFilesAndReadsWithinALimit) {
  test::TempFolder folder;
  const auto file = folder / "tree.xml";
  std::string error;
  ASSERT_TRUE(WriteFileAtomically(file, "first", &error)) << error;
  ::chmod(file.c_str(), 0640);
  ASSERT_TRUE(WriteFileAtomically(file, "second, longer", &error)) << error;
  EXPECT_EQ(test::ReadText(file), "second, longer");
  struct stat info {};
  ASSERT_EQ(::stat(file.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0640u);
  EXPECT_EQ(CountFiles(folder.Path()), 1);
  EXPECT_FALSE(WriteFileAtomically(folder / "no-such-folder" / "tree.xml", "x", &error));
  EXPECT_NE(error.find("no-such-folder"), std::string::npos) << error;
  for (const char* name :
       {".tree.xml.a1B2c3", ".tree.xml.ZZZZZZ", ".tree.xml.keep", ".other.xml.a1B2c3", "notes.txt"})
    test::WriteText(folder / name, "x");
  EXPECT_EQ(RemoveStaleTempFiles(file), 2u);
  EXPECT_EQ(CountFiles(folder.Path()), 4);
  EXPECT_TRUE(std::filesystem::exists(folder / ".tree.xml.keep"));
  // Reading back takes a whole file within its limit and nothing else.
  test::WriteText(folder / "f", "12345");
  std::string bytes;
  EXPECT_TRUE(ReadFileLimited(folder / "f", 5, &bytes, &error));
  EXPECT_EQ(bytes, "12345");
  EXPECT_FALSE(ReadFileLimited(folder / "f", 4, &bytes, &error));
  EXPECT_NE(error.find("limit"), std::string::npos);
  EXPECT_FALSE(ReadFileLimited(folder / "missing", 5, &bytes, &error));
  // A named pipe where the file should be is refused, not waited on.
  ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
  EXPECT_FALSE(ReadFileLimited(folder / "pipe", 5, &bytes, &error));
  EXPECT_EQ(bytes, "12345");
}

TEST(AtomicFile, AFailedWriteLeavesTheOldFileAndNoTemporaryFile) {
  test::TempFolder folder;
  const auto file = folder / "tree.xml";
  ASSERT_TRUE(WriteFileAtomically(file, "old content", nullptr));
  // A child process with a small file size limit fails half way through the write.
  test::ChildProcess child([&](int out) {
    ::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{4096, 4096};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    std::string error;
    const bool written = WriteFileAtomically(file, std::string(100000, 'n'), &error);
    if (!written && error.find("Unable to write") != std::string::npos) test::Tell(out, 'y');
  });
  EXPECT_EQ(child.Wait(), 0);
  EXPECT_TRUE(child.Told('y'));
  EXPECT_EQ(test::ReadText(file), "old content");
  EXPECT_EQ(CountFiles(folder.Path()), 1);
}

}  // namespace
}  // namespace vellix

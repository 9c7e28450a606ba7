#include "app/single_instance.h"

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <cstring>
#include <filesystem>

#include "support/child_process.h"

namespace vellix::app {
namespace {

// Runs the event loop until the condition holds; bounded, never a fixed wait.
bool PumpUntil(const std::function<bool()>& done) {
  const QDeadlineTimer deadline(5000);
  while (!done() && !deadline.hasExpired())
    QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
  return done();
}

TEST(SingleInstance, ASecondStartOnTheSameDataFolderBringsUpTheFirstOne) {
  int argc = 1;
  char name[] = "vellix_tests_app";
  char* argv[] = {name, nullptr};
  QCoreApplication application(argc, argv);

  const auto folder = std::filesystem::temp_directory_path() / "vellix-single-instance-test";
  const std::string socketName = SingleInstance::NameFor(folder / "config");
  // The same folder however it is spelled; another folder is another panel.
  EXPECT_EQ(SingleInstance::NameFor(folder / "x" / ".." / "config"), socketName);
  EXPECT_NE(SingleInstance::NameFor(folder / "other" / "config"), socketName);

  // Nobody runs yet: the first start goes on by itself.
  SingleInstance first(socketName);
  EXPECT_FALSE(first.AskRunningToShow());

  // A socket left behind by a start that crashed doesn't keep it from listening.
  {
    const std::string path = first.SocketPath().string();
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    const int fd = ::socket(AF_UNIX, SOCK_DGRAM, 0);
    ASSERT_EQ(::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0) << path;
    ::close(fd);
    ASSERT_TRUE(std::filesystem::exists(path));
    EXPECT_FALSE(first.AskRunningToShow());
  }
  int shown = 0;
  std::string error;
  ASSERT_TRUE(first.Listen([&shown] { ++shown; }, error)) << error;

  // A live one is never taken over.
  SingleInstance rival(socketName);
  EXPECT_FALSE(rival.Listen([] {}, error));
  EXPECT_NE(error.find("in use"), std::string::npos) << error;

  SingleInstance second(socketName);
  EXPECT_TRUE(second.AskRunningToShow());
  EXPECT_TRUE(PumpUntil([&] { return shown == 1; }));
  SingleInstance third(socketName);
  EXPECT_TRUE(third.AskRunningToShow());
  EXPECT_TRUE(PumpUntil([&] { return shown == 2; }));
}

// A request from another user is dropped, even one through a socket opened
// before its sender became that user; the socket's folder is the user's alone.
TEST(SingleInstance, OnlyTheSameUserCanAskTheRunningPanel) {
  if (::geteuid() != 0) GTEST_SKIP() << "sending as another user needs root";
  int argc = 1;
  char name[] = "vellix_tests_app";
  char* argv[] = {name, nullptr};
  QCoreApplication application(argc, argv);

  const auto folder = std::filesystem::temp_directory_path() / "vellix-single-instance-users";
  SingleInstance running(SingleInstance::NameFor(folder / "config"));
  int shown = 0;
  std::string error;
  ASSERT_TRUE(running.Listen([&shown] { ++shown; }, error)) << error;
  struct stat info {};
  ASSERT_EQ(::lstat(running.SocketPath().parent_path().c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 077, 0u);
  EXPECT_EQ(info.st_uid, ::getuid());

  const std::string path = running.SocketPath().string();
  test::ChildProcess child([&](int) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    const int fd = ::socket(AF_UNIX, SOCK_DGRAM, 0);
    if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) ::_exit(2);
    if (::setgid(65534) != 0 || ::setuid(65534) != 0) ::_exit(3);
    ::_exit(::send(fd, "show", 4, 0) == 4 ? 0 : 4);
  });
  const int status = child.Wait();
  ASSERT_TRUE(WIFEXITED(status));
  ASSERT_EQ(WEXITSTATUS(status), 0);
  // The user's own request, queued behind the other one, is the only one taken.
  SingleInstance later(running.Name());
  EXPECT_TRUE(later.AskRunningToShow());
  EXPECT_TRUE(PumpUntil([&] { return shown >= 1; }));
  EXPECT_EQ(shown, 1);
  EXPECT_EQ(running.Refused(), 1);
}

}  // namespace
}  // namespace vellix::app

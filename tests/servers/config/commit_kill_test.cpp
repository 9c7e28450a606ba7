#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <random>
#include <string>
#include <thread>

#include "servers/config/config_server.h"
#include "servers/config/config_xml.h"
#include "support/temp_folder.h"

namespace vellix {
namespace {

// The tree of one committed version: a version number and a list, every
// entry carrying the version so a mix of two would show.
void FillVersion(ConfigNode& root, int version) {
  root.GetNode("Stress.Version", true, "Long", 0)->SetContent(version);
  for (int i = 0; i < 300; ++i) {
    root.GetNode("Stress.Items.I" + std::to_string(i), true, "String", "")
        ->SetContent(std::to_string(version) + "/" + std::to_string(i));
  }
}

// Whether a loaded tree is exactly what FillVersion made of some version.
testing::AssertionResult IsOneCommittedVersion(ConfigTreeNode& loaded, int* version) {
  *version = loaded.GetValue("Stress.Version").ToLong();
  auto expected = std::make_shared<ConfigTreeNode>("", ContentKind::Collection, Variant());
  expected->GetNode("Componants", true, "Collection", Variant());
  FillVersion(*expected, *version);
  if (WriteConfigXml(loaded) == WriteConfigXml(*expected)) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "the tree is no committed version of " << *version;
}

// Runs in the child: commits one version after the other until killed, and
// says when its first commit is done, so that every kill lands among commits
// however slow the machine is.
[[noreturn]] void CommitForever(const std::filesystem::path& file, int readyPipe) {
  ConfigServer server(file, {});
  auto root = server.RootNode();
  if (root.IsNothing()) ::_exit(2);
  bool told = false;
  for (int version = root->GetValue("Stress.Version").ToLong() + 1;; ++version) {
    FillVersion(*root, version);
    root->Commit("");
    if (!told && ::write(readyPipe, "c", 1) != 1) ::_exit(2);
    told = true;
  }
}

TEST(ConfigCommit, AKilledCommitNeverLeavesATornTree) {
  test::TempFolder folder;
  const auto file = folder / "ConfigTree.xml";
  // Start from a full-sized tree, and learn how long one commit of it takes
  // here, so that the kills spread over whole commits on any machine.
  std::chrono::microseconds commitTime{0};
  {
    ConfigServer server(file, {});
    auto root = server.RootNode();
    ASSERT_FALSE(root.IsNothing());
    for (int version = 198; version <= 200; ++version) {
      FillVersion(*root, version);
      const auto start = std::chrono::steady_clock::now();
      root->Commit("");
      commitTime = std::max(commitTime, std::chrono::duration_cast<std::chrono::microseconds>(
                                            std::chrono::steady_clock::now() - start));
    }
  }
  std::mt19937 random(20240501);
  std::uniform_int_distribution<int64_t> delayMicroseconds(0, commitTime.count() * 3 / 2 + 100);
  constexpr int kKills = 210;
  int lastVersion = 200;
  int advanced = 0;
  for (int kill = 0; kill < kKills; ++kill) {
    int ready[2];
    ASSERT_EQ(::pipe(ready), 0);
    const pid_t pid = ::fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) CommitForever(file, ready[1]);
    ::close(ready[1]);
    char byte = 0;
    const bool started = ::read(ready[0], &byte, 1) == 1;
    ::close(ready[0]);
    std::this_thread::sleep_for(std::chrono::microseconds(delayMicroseconds(random)));
    ::kill(pid, SIGKILL);
    int status = 0;
    ASSERT_EQ(::waitpid(pid, &status, 0), pid);
    ASSERT_TRUE(started && WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL)
        << "the committing child ended by itself: " << status;
    auto loaded = std::static_pointer_cast<ConfigTreeNode>(NewFreeConfigNode());
    ASSERT_TRUE(loaded->LoadFile(file.string()))
        << "after kill " << kill << ": " << loaded->LastError();
    int version = 0;
    ASSERT_TRUE(IsOneCommittedVersion(*loaded, &version)) << "after kill " << kill;
    ASSERT_GE(version, lastVersion) << "after kill " << kill;
    if (version > lastVersion) ++advanced;
    lastVersion = version;
  }
  // Each child committed at least once before its kill.
  RecordProperty("commit_microseconds", static_cast<int>(commitTime.count()));
  EXPECT_EQ(advanced, kKills);
  // Each start clears what the kill before it left, so at most one leftover.
  int leftovers = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder.Path())) {
    if (entry.path().filename() != "ConfigTree.xml") ++leftovers;
  }
  EXPECT_LE(leftovers, 1);
}

}  // namespace
}  // namespace vellix

// Each writer of the user's files is killed at random points of its work, in
// a child process, and what it leaves is checked: every file loads and holds
// the content before or after the write, whole; no mail item is lost or
// doubled between the mail profile, the period stores and their backups.

#include <array>
#include <cstdlib>
#include <iostream>
#include <random>
#include <vector>

#include "kill_harness.h"
#include "servers/common/write_behind.h"
#include "servers/config/config_server.h"
#include "servers/config/config_xml.h"
#include "servers/engine/engine_file.h"
#include "servers/engine/engine_server.h"
#include "support/manual_clock.h"

namespace vellix::killtest {
namespace {

// The configuration tree, committed whole in one version after the other.
// Every entry carries the version, so a tree mixing two would show.
class TreeCommit : public Writer {
 public:
  TreeCommit() : Writer("configuration tree commit") {}
  void Setup() override {
    ConfigServer server(file_, {});
    Fill(*server.RootNode(), version_);
    server.RootNode()->Commit("");
  }
  void Work(Marks& marks) override {
    ConfigServer server(file_, {});
    auto root = server.RootNode();
    if (root.IsNothing()) ::_exit(2);
    Fill(*root, version_ + 1);
    marks.Begin();
    root->Commit("");
    marks.Done();
  }
  bool Check(bool done) override {
    const auto left = Leftovers(root_, ".ConfigTree.xml.");
    const bool cut = Fresh(left);
    seen_ = left;
    EXPECT_LE(left.size(), 1U) << "what killed writes left piles up";
    auto loaded = std::static_pointer_cast<ConfigTreeNode>(NewFreeConfigNode());
    EXPECT_TRUE(loaded->LoadFile(file_.string())) << loaded->LastError();
    const int version = loaded->GetValue("Stress.Version").ToLong();
    auto expected = std::make_shared<ConfigTreeNode>("", ContentKind::Collection, Variant());
    expected->GetNode("Componants", true, "Collection", Variant());
    Fill(*expected, version);
    EXPECT_EQ(WriteConfigXml(*loaded), WriteConfigXml(*expected)) << "a tree of no one version";
    EXPECT_TRUE(version == version_ + 1 || (!done && version == version_)) << version;
    version_ = version;
    return cut;
  }

 private:
  static void Fill(ConfigNode& root, int version) {
    root.GetNode("Stress.Version", true, "Long", 0)->SetContent(version);
    for (int i = 0; i < 300; ++i) {
      root.GetNode("Stress.Items.I" + std::to_string(i), true, "String", "")
          ->SetContent(std::to_string(version) + "/" + std::to_string(i));
    }
  }
  fs::path file_ = root_ / "ConfigTree.xml";
  int version_ = 1;
};

// The engine file, saved behind by WriteBehind after a change. A long
// history name made of the version stands for a change: the file holds one
// version's name whole or it is torn.
class EngineSave : public Writer {
 public:
  EngineSave() : Writer("engine file save") {}
  void Setup() override {
    engine::EngineServer server(file_, paths_, clock_, nullptr);
    auto config = server.Config();
    for (int a = 0; a < kAgents; ++a) {
      auto agent = config->CreateAgent("Agent " + std::to_string(a));
      for (int f = 0; f < 10; ++f)
        agent->AddFolder(R"(\\Mailbox\Folder )" + std::to_string(a) + "-" + std::to_string(f));
    }
    config->HistoryName(History(version_));
  }
  void Work(Marks& marks) override {
    engine::EngineServer server(file_, paths_, clock_, nullptr);
    auto config = server.Config();
    marks.Begin();
    config->HistoryName(History(version_ + 1));
    servers::WriteBehind::Shared().WaitAll();
    marks.Done();
  }
  bool Check(bool done) override {
    const auto left = Leftovers(root_, ".Engine.xml.");
    const bool cut = Fresh(left);
    seen_ = left;
    EXPECT_LE(left.size(), 1U) << "what killed writes left piles up";
    const auto read = engine::ReadEngineFile(file_);
    EXPECT_EQ(read.outcome, engine::EngineFileRead::Outcome::Loaded) << read.error;
    const std::string& name = read.data.settings.historyName;
    const int version = static_cast<int>(std::strtol(name.c_str(), nullptr, 10));
    EXPECT_TRUE(name == History(version))
        << "a history name of no one version, " << name.size() << " characters";
    EXPECT_EQ(read.data.agents.size(), static_cast<size_t>(kAgents));
    EXPECT_TRUE(version == version_ + 1 || (!done && version == version_)) << version;
    version_ = version;
    return cut;
  }

 private:
  static constexpr int kAgents = 20;
  static std::string History(int version) {
    std::string text = std::to_string(version) + " ";
    while (text.size() < 20000)
      text += "history of version " + std::to_string(version) + " ";
    return text;
  }
  fs::path file_ = root_ / "Engine.xml";
  desktop::PathMapping paths_{root_ / "data"};
  ManualClock clock_{DateSerial(2024, 5, 15)};
  int version_ = 1;
};

// The seed of the kills' delays: VELLIX_KILL_SEED, else a fresh one.
unsigned Seed() {
  // NOLINTNEXTLINE(concurrency-mt-unsafe): read before any thread is made
  if (const char* given = std::getenv("VELLIX_KILL_SEED")) return std::strtoul(given, nullptr, 10);
  return std::random_device{}();
}

// The table of writers, one test each.
struct WriterEntry {
  const char* name;
  std::unique_ptr<Writer> (*make)();
};
template <class W>
std::unique_ptr<Writer> Make() {
  return std::make_unique<W>();
}
const std::array<WriterEntry, 4> kWriters = {{
    {"TreeCommit", Make<TreeCommit>},
    {"EngineSave", Make<EngineSave>},
    {"ProcessingPass", MakeProcessingPass},
    {"BackupRun", MakeBackupRun},
}};

class KilledWriter : public testing::TestWithParam<WriterEntry> {};

// How long the write took by the child's own clock, as it told after kDone.
int64_t WriteTook(const test::ChildProcess& child) {
  const auto at = child.Told().find(kDone);
  return at == std::string::npos ? -1 : std::strtoll(child.Told().c_str() + at + 1, nullptr, 10);
}

TEST_P(KilledWriter, LeavesEveryFileWholeAndEveryMailOnce) {
  constexpr int kKills = 200;
  constexpr int kWholeWrites = 3;
  const unsigned seed = Seed();
  SCOPED_TRACE("VELLIX_KILL_SEED=" + std::to_string(seed));
  std::mt19937 random(seed);
  const auto start = std::chrono::steady_clock::now();
  auto writer = GetParam().make();
  writer->Setup();
  ASSERT_FALSE(HasFailure());
  // Whole writes first: how long one takes here.
  std::vector<int64_t> took;
  for (int run = 0; run < kWholeWrites; ++run) {
    writer->Prepare();
    test::ChildProcess child([&](int out) {
      Marks marks(out, std::nullopt);
      writer->Work(marks);
    });
    ASSERT_TRUE(child.WaitFor(kDone) && child.WaitFor('\n')) << "status " << child.Wait();
    took.push_back(WriteTook(child));
    child.Kill();
    writer->Check(true);
    ASSERT_FALSE(HasFailure()) << "after whole write " << run;
  }
  std::sort(took.begin(), took.end());
  // Each kill falls at a random point of [0, bound] after kBegins. The bound
  // starts a little past the median write and follows what the kills find:
  // it shrinks after a kill that came once the write was done and grows
  // after one inside it, so that about a fifth land past the end, however
  // long the writes take on a machine that is busy or not.
  double bound = static_cast<double>(took[kWholeWrites / 2]) * 1.25;
  std::uniform_real_distribution<double> point(0.0, 1.0);
  int midWrite = 0;
  int traces = 0;
  for (int kill = 0; kill < kKills; ++kill) {
    writer->Prepare();
    const std::chrono::microseconds killAt(static_cast<int64_t>(point(random) * bound));
    test::ChildProcess child([&](int out) {
      Marks marks(out, killAt);
      writer->Work(marks);
    });
    child.Wait();
    ASSERT_TRUE(child.EndedByKill() && child.Told(kBegins))
        << "the writer ended by itself: " << child.Status();
    const bool done = child.Told(kDone);
    midWrite += done ? 0 : 1;
    bound *= done ? 0.9 : 1.03;
    traces += writer->Check(done) ? 1 : 0;
    ASSERT_FALSE(HasFailure()) << "after kill " << kill << " at " << killAt.count() << " us"
                               << (done ? ", the write done" : "");
  }
  const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(
                      std::chrono::steady_clock::now() - start)
                      .count();
  std::cout << "[ kills    ] " << writer->Name() << ": " << kKills << " kills, " << midWrite
            << " before the write was done, " << traces << " left a write cut half-way; "
            << "whole writes took " << took.front() << "-" << took.back() << " us, the last bound "
            << static_cast<int64_t>(bound) << " us; " << ms << " ms; seed " << seed << "\n";
  EXPECT_GE(midWrite, kKills / 2) << "the kills missed the writes";
}

INSTANTIATE_TEST_SUITE_P(All, KilledWriter, testing::ValuesIn(kWriters),
                         [](const auto& entry) { return std::string(entry.param.name); });

}  // namespace
}  // namespace vellix::killtest

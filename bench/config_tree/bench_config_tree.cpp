// Lookups and commits of a configuration tree of about 5,000 nodes. Layout
// reads hundreds of keys at every start, so a lookup must stay well under a
// microsecond; a commit is reported as a ratio to a plain write of the same
// bytes measured in the same run.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "servers/config/config_server.h"
#include "servers/config/config_xml.h"

namespace vellix {
namespace {

// 10 branches x 10 groups x 10 sections x 4 values: 5,110 nodes below the root.
std::shared_ptr<ConfigTreeNode> BuildTree(std::vector<std::string>* leafPaths) {
  auto root = std::make_shared<ConfigTreeNode>("", ContentKind::Collection, Variant());
  const char* leaves[] = {"Caption", "Caption-Tip", "Width", "Height"};
  for (int b = 0; b < 10; ++b) {
    for (int g = 0; g < 10; ++g) {
      for (int s = 0; s < 10; ++s) {
        const std::string section = "Branch" + std::to_string(b) + ".Group" + std::to_string(g) +
                                    ".Section" + std::to_string(s);
        for (const char* leaf : leaves) {
          const std::string path = section + "." + leaf;
          if (std::string(leaf) == "Width" || std::string(leaf) == "Height") {
            root->GetNode(path, true, "Integer", int16_t{2400});
          } else {
            root->GetNode(path, true, "String", "Text of " + path);
          }
          leafPaths->push_back(path);
        }
      }
    }
  }
  return root;
}

std::vector<std::string> SomePaths(const std::vector<std::string>& all) {
  std::vector<std::string> picked = all;
  std::shuffle(picked.begin(), picked.end(), std::mt19937(42));
  picked.resize(256);
  return picked;
}

void BM_GetValueFourLevels(benchmark::State& state) {
  std::vector<std::string> paths;
  auto root = BuildTree(&paths);
  const auto picked = SomePaths(paths);
  std::size_t i = 0;
  for (auto _ : state) {
    Variant v = root->GetValue(picked[i++ & 255]);
    benchmark::DoNotOptimize(v);
  }
  state.counters["nodes"] = static_cast<double>(root->CountNodes());
}
BENCHMARK(BM_GetValueFourLevels);

void BM_GetNodeFourLevels(benchmark::State& state) {
  std::vector<std::string> paths;
  auto root = BuildTree(&paths);
  const auto picked = SomePaths(paths);
  std::size_t i = 0;
  for (auto _ : state) {
    Ref<ConfigNode> node = root->GetNode(picked[i++ & 255], false, "", Variant());
    benchmark::DoNotOptimize(node);
  }
}
BENCHMARK(BM_GetNodeFourLevels);

double Seconds(std::chrono::steady_clock::duration d) {
  return std::chrono::duration<double>(d).count();
}

// What a commit is compared with: the same bytes written the plain way.
void PlainWrite(const std::filesystem::path& path, const std::string& bytes, bool sync) {
  int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (fd < 0) return;
  benchmark::DoNotOptimize(::write(fd, bytes.data(), bytes.size()));
  if (sync) ::fsync(fd);
  ::close(fd);
}

void BM_Commit(benchmark::State& state) {
  std::string pattern = (std::filesystem::temp_directory_path() / "vellix-bench-XXXXXX").string();
  if (!::mkdtemp(pattern.data())) {
    state.SkipWithError("no temporary folder");
    return;
  }
  const std::filesystem::path folder(pattern);
  std::vector<std::string> paths;
  auto root = BuildTree(&paths);
  root->SetCommitFile(folder / "ConfigTree.xml");
  const std::string bytes = WriteConfigXml(*root);

  double commit = 0, plain = 0, plainSynced = 0;
  for (auto _ : state) {
    const auto t0 = std::chrono::steady_clock::now();
    root->Commit("");
    const auto t1 = std::chrono::steady_clock::now();
    PlainWrite(folder / "plain.xml", bytes, false);
    const auto t2 = std::chrono::steady_clock::now();
    PlainWrite(folder / "synced.xml", bytes, true);
    const auto t3 = std::chrono::steady_clock::now();
    commit += Seconds(t1 - t0);
    plain += Seconds(t2 - t1);
    plainSynced += Seconds(t3 - t2);
    state.SetIterationTime(Seconds(t1 - t0));
  }
  state.counters["bytes"] = static_cast<double>(bytes.size());
  state.counters["ratio_to_plain_write"] = commit / plain;
  state.counters["ratio_to_write_and_fsync"] = commit / plainSynced;
  std::filesystem::remove_all(folder);
}
BENCHMARK(BM_Commit)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vellix

BENCHMARK_MAIN();

// The import wizard's survey (ExitAgents) of a generated mail profile of
// 100k folders, against a bare recursive walk of the same tree that reads
// what the survey must read of each folder (Folders, DefaultItemType and
// FullFolderPath), in alternating rounds of one process. Prints the medians
// and their ratio; the survey is to cost at most 3 times the walk.
//
//   bench_survey [--folders N] [--rounds N]
//
// The wizard runs on the real configuration tree (the boot file's texts)
// and engine stand-ins, in a temporary folder removed at the end. Its error
// log counts the ImportEntry life-cycle calls and keeps nothing: the log
// server's own cost per line is not the survey's.

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "foundation/agent.h"
#include "foundation/context.h"
#include "foundation/engine_config.h"
#include "foundation/error_log.h"
#include "foundation/ui_host.h"
#include "platform/desktop/path_mapping.h"
#include "platform/outlook/profile_generator.h"
#include "platform/outlook/profile_mail_program.h"
#include "servers/config/config_server.h"
#include "servers/config/config_tree_node.h"
#include "servers/engine/engine_server.h"
#include "wizard/frm_import_wizard.h"

namespace {

using namespace vellix;
namespace fs = std::filesystem;
using Steady = std::chrono::steady_clock;

// A window system that shows nothing: the wizard is never put on screen.
class NoWindows : public UiHost {
 public:
  MsgResult MsgBox(const std::string& /*prompt*/, MsgButtons /*buttons*/,
                   const std::string& /*title*/) override {
    return MsgResult::OK;
  }
  void Post(std::function<void()> fn) override { fn(); }
  void LoadForm(Form& /*form*/) override {}
  void ShowForm(Form& /*form*/, bool /*modal*/) override {}
  void HideForm(Form& /*form*/) override {}
  void UnloadForm(Form& /*form*/) override {}
  void BringToFront(Form& /*form*/) override {}
  void PopupMenu(Form& /*form*/, Menu& /*menu*/, int32_t /*x*/, int32_t /*y*/) override {}
  void StartTimer(Timer& /*timer*/) override {}
  void StopTimer(Timer& /*timer*/) override {}
  std::optional<std::string> BrowseForFolder(const std::string& /*title*/,
                                             const std::string& /*start*/) override {
    return std::nullopt;
  }
  Ref<MAPIFolder> PickMailFolder(NameSpace& /*nameSpace*/) override { return nullptr; }
};

class CountingLog : public ErrorLog {
 public:
  void LogEvent(const std::string& project, const std::string& module, const std::string& procedure,
                const std::string& message, int16_t number,
                const std::string& /*detail*/) override {
    ++records;
    (void)std::fprintf(stderr, "log: %s %s %s %d %s\n", project.c_str(), module.c_str(),
                       procedure.c_str(), number, message.c_str());
  }
  void ComponentStarted(const std::string& /*component*/) override {}
  void ComponentEnded(const std::string& /*component*/) override {}
  void ObjectCreated(const std::string& /*project*/, const std::string& /*className*/) override {
    ++created;
  }
  void ObjectDestroyed(const std::string& /*project*/, const std::string& /*className*/) override {
    ++destroyed;
  }
  long records = 0;
  long created = 0;
  long destroyed = 0;
};

// What the survey cannot do without: every folder's sub-folders, kind and path.
size_t Walk(const Ref<MAPIFolder>& folder, size_t& folders) {
  size_t sink = 0;
  const Ref<OutlookFolders> subFolders = folder->Folders();
  const int32_t count = subFolders->Count();
  for (int32_t i = 1; i <= count; ++i)
    sink += Walk(subFolders->Item(i), folders);
  sink += static_cast<size_t>(folder->DefaultItemType());
  sink += folder->FullFolderPath().size();
  ++folders;
  return sink;
}

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

double Least(const std::vector<double>& values) {
  return *std::min_element(values.begin(), values.end());
}

double MsSince(Steady::time_point start) {
  return std::chrono::duration<double, std::milli>(Steady::now() - start).count();
}

// The processor time this thread has used: unlike the wall clock, it leaves
// out the time other programs of a busy machine had the processor.
double CpuMs() {
  timespec t{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) * 1000 + static_cast<double>(t.tv_nsec) / 1e6;
}

}  // namespace

int main(int argc, char** argv) {
  int folders = 100000;
  int rounds = 7;
  bool verbose = false;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--verbose") == 0) verbose = true;
  }
  for (int i = 1; i + 1 < argc; i += 2) {
    if (std::strcmp(argv[i], "--folders") == 0)
      folders = std::max(10, static_cast<int>(std::strtol(argv[i + 1], nullptr, 10)));
    if (std::strcmp(argv[i], "--rounds") == 0)
      rounds = std::max(1, static_cast<int>(std::strtol(argv[i + 1], nullptr, 10)));
  }
  const fs::path resources = VELLIX_RESOURCES;
  const fs::path dir =
      fs::temp_directory_path() / ("vellix-bench-survey-" + std::to_string(::getpid()));
  fs::create_directories(dir);

  outlook::ProfileRecipe recipe;
  recipe.folders = folders;
  recipe.items = 0;
  auto profile = outlook::GenerateProfile(recipe);
  outlook::ProfileMailProgram mail(profile);

  SystemClock clock;
  NoWindows host;
  const Services services{.clock = clock, .host = &host, .mailProgram = &mail};
  Context ctx(services);
  auto log = std::make_shared<CountingLog>();
  ctx.errorLog = Ref<ErrorLog>(log);

  auto config =
      std::make_shared<ConfigServer>(dir / "ConfigTree.xml", resources / "CommonFormat.xml");
  ctx.rootNode = config->RootNode();
  auto boot = MakeRef<ConfigTreeNode>("", ContentKind::Collection, Variant());
  if (!boot->LoadFile((resources / "VellixControlBootConfig.xml").string()) ||
      !ctx.rootNode->AttachBranch(boot, "Componants")) {
    (void)std::fprintf(stderr, "bench_survey: unable to read the boot configuration\n");
    return 1;
  }
  auto engine = std::make_shared<engine::EngineServer>(
      dir / "Engine.xml", desktop::PathMapping(dir / "data"), clock, nullptr);
  ctx.engine = Ref<VellixEngine>(engine);
  const Ref<EngineConfig> engineConfig = engine->Config();
  const std::vector<std::pair<const char*, const char*>> agents = {
      {"Inbox", "Mail and Post"},
      {"Sent Items", "Mail and Post"},
      {"Deleted Items", "Mail and Post"},
      {"Calendar", "Calendar"},
      {"Tasks", "Tasks"},
      {"Contacts", "Contacts"},
      {"Notes", "Notes"},
      {"Journal", "Journal"}};
  for (const auto& [name, type] : agents)
    engineConfig->CreateAgent(name)->MonitorType(type);

  FrmImportWizard wizard(ctx, host);
  wizard.Load();
  const std::string root = "\\\\" + recipe.storeName;
  wizard.lstSoRootFolders.AddItem(root);
  const Ref<MAPIFolder> top =
      mail.CreateApplication()->GetNamespace("MAPI")->Folders()->Item(recipe.storeName);

  std::vector<double> walks;
  std::vector<double> surveys;
  std::vector<double> walkCpu;
  std::vector<double> surveyCpu;
  size_t sink = 0;
  size_t walked = 0;
  for (int round = 0; round < rounds; ++round) {
    walked = 0;
    auto start = Steady::now();
    double cpu = CpuMs();
    sink += Walk(top, walked);
    walkCpu.push_back(CpuMs() - cpu);
    walks.push_back(MsSince(start));
    start = Steady::now();
    cpu = CpuMs();
    wizard.ExitAgents();
    surveyCpu.push_back(CpuMs() - cpu);
    surveys.push_back(MsSince(start));
    if (verbose)
      std::printf("round %d: walk %.1f ms, survey %.1f ms\n", round, walkCpu.back(),
                  surveyCpu.back());
  }
  const double walk = Median(walks);
  const double survey = Median(surveys);
  const double walkTime = Median(walkCpu);
  const double surveyTime = Median(surveyCpu);
  // The least of the rounds is each side's cost with the least disturbance
  // from other programs; the target is read on the medians.
  const double walkLeast = Least(walkCpu);
  const double surveyLeast = Least(surveyCpu);
  const int32_t rows = wizard.ImportList().Count();
  std::printf("folders walked: %zu, survey rows: %d, entries made: %ld (checksum %zu)\n", walked,
              rows, log->created, sink % 1000);
  std::printf("%d rounds                 processor        processor     wall\n", rounds);
  std::printf("                          least            median        median\n");
  std::printf("bare walk:               %8.1f ms      %8.1f ms   %8.1f ms\n", walkLeast, walkTime,
              walk);
  std::printf("survey (ExitAgents):     %8.1f ms      %8.1f ms   %8.1f ms\n", surveyLeast,
              surveyTime, survey);
  std::printf(
      "ratio survey / walk:     %8.2f         %8.2f      %8.2f   (target: median, at most 3)\n",
      surveyLeast / walkLeast, surveyTime / walkTime, survey / walk);
  wizard.Unload();
  std::error_code ec;
  fs::remove_all(dir, ec);
  if (log->records != 0 || rows != static_cast<int32_t>(walked)) {
    (void)std::fprintf(stderr, "bench_survey: the survey did not list every folder cleanly\n");
    return 1;
  }
  return surveyTime / walkTime <= 3.0 ? 0 : 2;
}

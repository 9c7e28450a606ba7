#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "engine_fixture.h"
#include "platform/outlook/mail_profile.h"
#include "platform/outlook/profile_folder.h"
#include "servers/engine/processor.h"
#include "servers/engine/store_database.h"
#include "support/scripted_host.h"

namespace vellix::engine::test {

// A mail profile (Mailbox: Inbox with a Projects sub-folder, Sent Items) and
// an engine whose processor posts to a scripted host; Pass() waits for the
// worker's next pass and delivers its events.
class ProcessingTest : public EngineTest {
 protected:
  ProcessingTest() {
    auto store = profile->AddStore("Mailbox");
    inbox = store->AddFolder("Inbox", 0);
    projects = inbox->AddFolder("Projects", 0);
    sent = store->AddFolder("Sent Items", 0);
    MakeEngine();
  }
  ~ProcessingTest() override { engine.reset(); }
  void MakeEngine() {
    ProcessorOptions options;
    options.post = [this](std::function<void()> fn) { host.Post(std::move(fn)); };
    options.profile = [this] {
      if (onProfile) onProfile();
      return profile;
    };
    options.scanSlice = scanSlice;
    options.poll = std::chrono::hours(1);
    options.batchItems = 3;
    auto made = std::make_unique<Processor>(std::move(options));
    processor = made.get();
    engine = std::make_shared<EngineServer>(engineFile, paths, clock, log, std::move(made));
    connections.clear();
    connections.push_back(
        engine->OnActivity.Connect([this](const std::string& a) { Record("Activity " + a); }));
    connections.push_back(
        engine->Monitor()->OnProcessingStatus.Connect([this](int32_t code) { OnStatus(code); }));
  }
  // A mail item received `daysAgo` days before the clock's time.
  static void Add(const std::shared_ptr<outlook::ProfileFolder>& folder, const std::string& subject,
                  double daysAgo, Date now = DateTimeSerial(2024, 5, 15, 10, 30, 0)) {
    outlook::ProfileItem item;
    item.subject = subject;
    item.sender = "ann@example.com";
    item.received = Date(now.Serial() - daysAgo);
    folder->AddItem(std::move(item));
  }
  // An agent over the inbox, filing after one day, purging without asking.
  Ref<Agent> MailAgent(const std::string& name = "Mail") {
    auto agent = engine->Config()->CreateAgent(name);
    agent->AddFolder("\\\\Mailbox\\Inbox");
    agent->PurgeNotify(1);
    return agent;
  }
  // Monthly stores, which the tests name.
  void Configure() { EngineTest::Configure("Month", "File '@yyyy-mm'"); }
  void Start() {
    engine->Running(true);
    Pass();
  }
  void Pass() {
    const int wanted = ++passes;
    ASSERT_TRUE(host.PumpUntil([&] { return processor->PassesDone() >= wanted; },
                               std::chrono::seconds(20)));
    host.Pump();
  }
  // Asks for a pass now (as File Now does) and waits for it.
  void FileNow(const std::string& agent = "Mail") {
    engine->Config()->Agent(agent)->RunFile();
    Pass();
  }
  [[nodiscard]] std::filesystem::path StoreFile(const std::string& name) const {
    return Native("c:\\Orvane Vellix Store\\" + name + ".pst");
  }
  // Subjects of the items a store holds, oldest first.
  [[nodiscard]] std::vector<std::string> StoreSubjects(const std::string& name) const {
    std::vector<std::string> subjects;
    if (!std::filesystem::exists(StoreFile(name))) return subjects;
    auto store = StoreDatabase::Open(StoreFile(name), StoreDatabase::Access::kReadOnly);
    store.ForEachItem([&](const StoredItem& item) {
      const auto at = item.message.find("Subject: ");
      subjects.push_back(item.message.substr(at + 9, item.message.find("\r\n", at) - at - 9));
    });
    return subjects;
  }
  [[nodiscard]] static std::vector<std::string> Subjects(const outlook::ProfileFolder& folder) {
    std::vector<std::string> out;
    for (const auto& item : folder.Items())
      out.push_back(item.subject);
    return out;
  }
  void Record(std::string line) {
    EXPECT_EQ(std::this_thread::get_id(), uiThread) << line;
    events.push_back(std::move(line));
  }
  void OnStatus(int32_t code) {
    auto monitor = engine->Monitor();
    std::string line = "Status " + std::to_string(code);
    if (auto agent = monitor->CurrentAgent()) line += " agent=" + agent->Name();
    if (auto folder = monitor->CurrentFolder()) line += " folder=" + folder->Name();
    if (auto item = monitor->CurrentItem()) line += " item=" + item->Subject();
    if (!monitor->CurrentStore().empty()) line += " store=" + monitor->CurrentStore();
    for (const auto& counts : {monitor->Progress(), monitor->Forecast()}) {
      for (int32_t i = 1; i <= counts.Count(); ++i) {
        const auto& c = counts.Item(i);
        if (c->Count() > 0) line += " " + c->Label() + ":" + std::to_string(c->Count());
      }
    }
    if (!monitor->Processing()) line += " NOT-PROCESSING";
    Record(std::move(line));
  }
  vellix::test::ScriptedHost host{&clock};
  size_t scanSlice = 5000;
  // Runs on the panel's thread each time a task of the pass takes the profile.
  std::function<void()> onProfile;
  std::thread::id uiThread = std::this_thread::get_id();
  std::shared_ptr<outlook::MailProfile> profile = std::make_shared<outlook::MailProfile>();
  std::shared_ptr<outlook::ProfileFolder> inbox;
  std::shared_ptr<outlook::ProfileFolder> projects;
  std::shared_ptr<outlook::ProfileFolder> sent;
  Processor* processor = nullptr;
  std::vector<Connection> connections;
  std::vector<std::string> events;
  int passes = 0;
};

}  // namespace vellix::engine::test

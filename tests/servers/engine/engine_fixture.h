#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>

#include "foundation/date.h"
#include "foundation/engine.h"
#include "foundation/vb_error.h"
#include "platform/desktop/path_mapping.h"
#include "servers/common/write_behind.h"
#include "servers/engine/engine_server.h"
#include "support/expect_vb_error.h"
#include "support/manual_clock.h"
#include "support/recording_error_log.h"
#include "support/temp_folder.h"

namespace vellix::engine::test {

// A scratch data folder, a clock set to 15 May 2024 10:30, a recording log
// and an engine on a file of its own.
class EngineTest : public ::testing::Test {
 protected:
  // A new engine on the same file, as after a restart of the program.
  std::shared_ptr<EngineServer> Restart() {
    engine.reset();
    engine = std::make_shared<EngineServer>(engineFile, paths, clock, log);
    return engine;
  }
  [[nodiscard]] Ref<EngineConfig> Config() const { return engine->Config(); }
  // The engine file once what was saved has been written (saves are written behind).
  [[nodiscard]] std::string WrittenEngineText() const {
    servers::WriteBehind::Shared().WaitAll();
    return vellix::test::ReadText(engineFile);
  }
  // The native folder of a logic path, made on the disk.
  std::filesystem::path MakeFolder(const std::string& logicPath) const {
    std::filesystem::create_directories(Native(logicPath));
    return Native(logicPath);
  }
  // A configured engine with a store folder and periods of one unit from 1 January 2024.
  void Configure(const std::string& units = "Year", const std::string& format = "File '@yyyy'") {
    Config()->StoreLocation("c:\\Orvane Vellix Store");
    Config()->PeriodUnits(units);
    Config()->PeriodCount(1);
    Config()->ReferenceDate(DateSerial(2024, 1, 1));
    ASSERT_TRUE(Config()->SetPeriodFormat(format));
    engine->Configured(true);
  }
  [[nodiscard]] std::filesystem::path Native(const std::string& logicPath) const {
    return paths.ToNative(logicPath);
  }
  vellix::test::TempFolder scratch;  // first made, last removed
  std::filesystem::path root = scratch.Path();
  desktop::PathMapping paths{root / "data"};
  std::filesystem::path engineFile = root / "engine" / "engine.xml";
  ManualClock clock{DateTimeSerial(2024, 5, 15, 10, 30, 0)};
  std::shared_ptr<vellix::test::RecordingErrorLog> log =
      std::make_shared<vellix::test::RecordingErrorLog>();
  std::shared_ptr<EngineServer> engine =
      std::make_shared<EngineServer>(engineFile, paths, clock, log);
};

// Whether some record of the log holds those words.
inline bool LogSays(const vellix::test::RecordingErrorLog& log, const std::string& words) {
  return std::any_of(log.records.begin(), log.records.end(),
                     [&](const auto& r) { return r.message.find(words) != std::string::npos; });
}

using vellix::test::ErrorNumber;
using vellix::test::ReadText;
using vellix::test::WriteText;

}  // namespace vellix::engine::test

#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>

#include "foundation/date.h"
#include "foundation/engine.h"
#include "foundation/vb_error.h"
#include "platform/desktop/path_mapping.h"
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
  EngineTest();

  // A new engine on the same file, as after a restart of the program.
  std::shared_ptr<EngineServer> Restart();
  [[nodiscard]] Ref<EngineConfig> Config() const { return engine->Config(); }
  // The native folder of a logic path, made on the disk.
  std::filesystem::path MakeFolder(const std::string& logicPath) const;
  // A configured engine with a store folder and a yearly period format.
  void Configure();
  [[nodiscard]] std::filesystem::path Native(const std::string& logicPath) const {
    return paths.ToNative(logicPath);
  }

  vellix::test::TempFolder scratch;  // first made, last removed
  std::filesystem::path root;
  desktop::PathMapping paths;
  std::filesystem::path engineFile;
  ManualClock clock;
  std::shared_ptr<vellix::test::RecordingErrorLog> log;
  std::shared_ptr<EngineServer> engine;
};

using vellix::test::ErrorNumber;
using vellix::test::ReadText;
using vellix::test::WriteText;

}  // namespace vellix::engine::test

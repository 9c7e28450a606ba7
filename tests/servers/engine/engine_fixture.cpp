#include "engine_fixture.h"

namespace vellix::engine::test {

EngineTest::EngineTest()
    : root(scratch.Path()),
      paths(root / "data"),
      engineFile(root / "engine" / "engine.xml"),
      clock(DateTimeSerial(2024, 5, 15, 10, 30, 0)),
      log(std::make_shared<vellix::test::RecordingErrorLog>()),
      engine(std::make_shared<EngineServer>(engineFile, paths, clock, log)) {}

std::shared_ptr<EngineServer> EngineTest::Restart() {
  engine.reset();
  engine = std::make_shared<EngineServer>(engineFile, paths, clock, log);
  return engine;
}

std::filesystem::path EngineTest::MakeFolder(const std::string& logicPath) const {
  const auto folder = paths.ToNative(logicPath);
  std::filesystem::create_directories(folder);
  return folder;
}

void EngineTest::Configure() {
  auto config = Config();
  config->StoreLocation("c:\\Orvane Vellix Store");
  config->PeriodUnits("Year");
  config->PeriodCount(1);
  config->ReferenceDate(DateSerial(2024, 1, 1));
  ASSERT_TRUE(config->SetPeriodFormat("File '@yyyy'"));
  engine->Configured(true);
}

}  // namespace vellix::engine::test

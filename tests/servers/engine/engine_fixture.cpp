#include "engine_fixture.h"

#include <fstream>
#include <iterator>
#include <random>

namespace vellix::engine::test {

namespace {

std::filesystem::path ScratchFolder() {
  std::random_device random;
  const auto folder = std::filesystem::temp_directory_path() /
                      ("vellix-engine-test-" + std::to_string(random()) + std::to_string(random()));
  std::filesystem::create_directories(folder);
  return folder;
}

}  // namespace

EngineTest::EngineTest()
    : root(ScratchFolder()),
      paths(root / "data"),
      engineFile(root / "engine" / "engine.xml"),
      clock(DateTimeSerial(2024, 5, 15, 10, 30, 0)),
      log(std::make_shared<vellix::test::RecordingErrorLog>()),
      engine(std::make_shared<EngineServer>(engineFile, paths, clock, log)) {}

EngineTest::~EngineTest() {
  engine.reset();
  std::error_code ec;
  std::filesystem::remove_all(root, ec);
}

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

void WriteText(const std::filesystem::path& file, const std::string& text) {
  std::filesystem::create_directories(file.parent_path());
  std::ofstream out(file, std::ios::binary | std::ios::trunc);
  out << text;
}

std::string ReadText(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

}  // namespace vellix::engine::test

// The engine file and its saved copies, which the recover dialog lists: any
// text ends as a configuration or a reason, a configuration read is written
// back to the same configuration, and the saved-copy reader agrees with it.
#include "fuzz/fuzz_driver.h"
#include "servers/engine/engine_file.h"
#include "servers/engine/saved_config_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using vellix::engine::EngineFileRead;
  using vellix::fuzz::Check;
  const std::string_view text = vellix::fuzz::Text(data, size);
  const EngineFileRead read = vellix::engine::ParseEngineText(text);
  Check(read.outcome == EngineFileRead::Outcome::Loaded ||
            (read.outcome == EngineFileRead::Outcome::Corrupt && !read.error.empty()),
        "a text neither loaded nor refused with a reason");

  const auto file = vellix::fuzz::ScratchFile("saved.xml", text);
  vellix::engine::SavedConfigFile saved{vellix::desktop::PathMapping(file.parent_path())};
  const bool listed = saved.Load(file.string());
  const bool isSavedCopy =
      read.outcome == EngineFileRead::Outcome::Loaded && !read.data.savedTime.IsZero();
  Check(listed == isSavedCopy, "the recover list disagrees with the engine file's reader");
  Check(!listed || !saved.Description().empty(), "a saved copy listed without a description");
  if (read.outcome != EngineFileRead::Outcome::Loaded) return 0;

  const std::string written = vellix::engine::EngineFileText(read.data);
  const EngineFileRead back = vellix::engine::ParseEngineText(written);
  Check(back.outcome == EngineFileRead::Outcome::Loaded, "the written file does not read back",
        back.error + "\n" + written);
  Check(vellix::engine::EngineFileText(back.data) == written,
        "the configuration changed on its way through the file", written);
  return 0;
}

#include "fuzz/fuzz_driver.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>

#include "support/temp_folder.h"

namespace vellix::fuzz {

std::vector<std::string> Fields(std::string_view input, size_t count) {
  std::vector<std::string> fields;
  size_t at = 0;
  while (true) {
    const size_t end = input.find(kFieldSeparator, at);
    fields.emplace_back(input.substr(at, end == std::string_view::npos ? end : end - at));
    if (end == std::string_view::npos) break;
    at = end + 1;
  }
  if (fields.size() < count) fields.resize(count);
  return fields;
}

int32_t Int32Of(std::string_view text) {
  uint32_t n = 0;
  for (size_t i = 0; i < text.size() && i < 4; ++i)
    n = n << 8 | static_cast<unsigned char>(text[i]);
  return static_cast<int32_t>(n);
}

const std::filesystem::path& ScratchFolder() {
  // Made on first use and removed at exit, when static objects go.
  static const test::TempFolder folder;
  return folder.Path();
}

std::filesystem::path ScratchFile(const std::string& name, std::string_view bytes) {
  std::filesystem::path file = ScratchFolder() / name;
  std::ofstream out(file, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  out.close();
  Check(out.good(), "the scratch file could not be written", file.string());
  return file;
}

void Check(bool holds, std::string_view what, std::string_view detail) {
  if (holds) return;
  (void)std::fprintf(stderr, "PROPERTY BROKEN: %.*s\n", static_cast<int>(what.size()), what.data());
  if (!detail.empty())
    (void)std::fprintf(stderr, "  with: %.*s\n", static_cast<int>(detail.size()), detail.data());
  std::abort();
}

TrapContext::TrapContext() {
  ctx_.errorLog = MakeRef<TrapLog>();
}

void TrapContext::TrapLog::LogEvent(const std::string& /*project*/, const std::string& module,
                                    const std::string& procedure, const std::string& message,
                                    int16_t number, const std::string& /*detail*/) {
  // 51 is the number a frame gives an exception that is no runtime error.
  Check(number != 51, "a procedure's frame caught a fault",
        module + "." + procedure + ": " + message);
}

}  // namespace vellix::fuzz

#include "servers/engine/store_file.h"

#include <chrono>
#include <ctime>
#include <fstream>
#include <string_view>
#include <system_error>

#include "servers/config/atomic_file.h"
#include "servers/engine/number_text.h"

namespace vellix::engine {

namespace {

constexpr std::string_view kMagic = "VELLIX-STORE 1\n";
constexpr std::size_t kHeaderLimit = 4096;

// The value of "key=value" lines of the header.
std::string HeaderValue(std::string_view header, std::string_view key) {
  std::size_t pos = 0;
  while (pos < header.size()) {
    std::size_t end = header.find('\n', pos);
    if (end == std::string_view::npos) end = header.size();
    const std::string_view line = header.substr(pos, end - pos);
    if (line.size() > key.size() && line.starts_with(key) && line[key.size()] == '=') {
      return std::string(line.substr(key.size() + 1));
    }
    pos = end + 1;
  }
  return {};
}

Date HeaderDate(std::string_view header, std::string_view key) {
  return Date(ParseDouble(HeaderValue(header, key)).value_or(0.0));
}

}  // namespace

Date FileTimeToDate(std::filesystem::file_time_type time) {
  const auto system = std::chrono::file_clock::to_sys(time);
  const std::time_t seconds = std::chrono::system_clock::to_time_t(
      std::chrono::time_point_cast<std::chrono::system_clock::duration>(system));
  std::tm local{};
  localtime_r(&seconds, &local);
  return FromUnixSeconds(static_cast<int64_t>(seconds) + local.tm_gmtoff);
}

StoreFileFacts InspectStoreFile(const std::filesystem::path& file) {
  StoreFileFacts facts;
  std::error_code ec;
  if (!std::filesystem::is_regular_file(file, ec)) return facts;
  facts.exists = true;
  const auto size = std::filesystem::file_size(file, ec);
  facts.size = ec ? 0 : static_cast<int64_t>(size);
  const auto time = std::filesystem::last_write_time(file, ec);
  if (!ec) facts.modified = FileTimeToDate(time);

  std::ifstream in(file, std::ios::binary);
  std::string header(kHeaderLimit, '\0');
  in.read(header.data(), static_cast<std::streamsize>(header.size()));
  header.resize(static_cast<std::size_t>(in.gcount()));
  if (header.starts_with(kMagic)) {
    facts.isStore = true;
    facts.name = HeaderValue(header, "Name");
    facts.start = HeaderDate(header, "Start");
    facts.end = HeaderDate(header, "End");
  }
  return facts;
}

bool CreateStoreFile(const std::filesystem::path& file, const std::string& name, Date start,
                     Date end, std::string* error) {
  std::error_code ec;
  if (std::filesystem::exists(file, ec)) {
    if (error != nullptr) *error = "a file of that name is there already";
    return false;
  }
  std::filesystem::create_directories(file.parent_path(), ec);
  if (ec) {
    if (error != nullptr) *error = "the folder can't be made: " + ec.message();
    return false;
  }
  std::string header(kMagic);
  header += "Name=" + name + "\n";
  header += "Start=" + DateText(start) + "\n";
  header += "End=" + DateText(end) + "\n";
  return WriteFileAtomically(file, header, error);
}

}  // namespace vellix::engine

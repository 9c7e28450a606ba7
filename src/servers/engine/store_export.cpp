#include "servers/engine/store_export.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <system_error>

#include "platform/outlook/profile_message.h"
#include "servers/common/private_files.h"
#include "servers/engine/server_error.h"
#include "servers/engine/store_database.h"

namespace vellix::engine {

namespace {

// The address of a From value: what stands in <>, else the first word with an @.
std::string AddressOf(std::string_view from) {
  if (const size_t open = from.rfind('<'); open != std::string_view::npos) {
    const size_t close = from.find('>', open);
    if (close != std::string_view::npos && close > open + 1) {
      return std::string(from.substr(open + 1, close - open - 1));
    }
  }
  size_t at = 0;
  while (at < from.size()) {
    while (at < from.size() && (from[at] == ' ' || from[at] == '\t' || from[at] == ','))
      ++at;
    size_t end = at;
    while (end < from.size() && from[end] != ' ' && from[end] != '\t' && from[end] != ',')
      ++end;
    const std::string_view word = from.substr(at, end - at);
    if (word.find('@') != std::string_view::npos) return std::string(word);
    at = end;
  }
  return {};
}

// Flushes and closes; false when either fails.
bool CloseFlushed(std::FILE* file) {
  bool ok = std::fflush(file) == 0 && ::fsync(::fileno(file)) == 0;
  ok = std::fclose(file) == 0 && ok;
  return ok;
}

}  // namespace

std::string MboxSeparator(std::string_view fromHeader, Date received) {
  std::string sender = AddressOf(fromHeader);
  // No blank may be in the address: readers take the first word as the sender.
  for (char& c : sender) {
    if (c == ' ' || c == '\t' || c == '\r' || c == '\n') c = '_';
  }
  if (sender.empty()) sender = "MAILER-DAEMON";
  static constexpr std::array<const char*, 7> kDays = {"Sun", "Mon", "Tue", "Wed",
                                                       "Thu", "Fri", "Sat"};
  static constexpr std::array<const char*, 12> kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                          "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  const CivilTime t = ToCivil(received);
  std::array<char, 64> date{};
  (void)std::snprintf(date.data(), date.size(), "%s %s %2d %02d:%02d:%02d %04d",
                      kDays[static_cast<size_t>(t.weekday - 1) % 7],
                      kMonths[static_cast<size_t>(t.month - 1) % 12], t.day, t.hour, t.minute,
                      t.second, t.year);
  return "From " + sender + " " + date.data() + "\n";
}

std::string MboxBody(std::string_view message) {
  std::string out;
  out.reserve(message.size() + 64);
  size_t at = 0;
  while (at < message.size()) {
    size_t end = message.find('\n', at);
    const bool last = end == std::string_view::npos;
    if (last) end = message.size();
    std::string_view line = message.substr(at, end - at);
    if (line.ends_with('\r')) line.remove_suffix(1);
    const size_t quotes = line.find_first_not_of('>');
    if (quotes != std::string_view::npos && line.substr(quotes).starts_with("From ")) out += '>';
    out += line;
    out += '\n';
    at = end + 1;
  }
  out += '\n';
  return out;
}

int64_t ExportStoreToMbox(const std::filesystem::path& store, const std::filesystem::path& mbox) {
  const StoreDatabase database = StoreDatabase::Open(store, StoreDatabase::Access::kReadOnly);
  const auto cantWrite = [&](int error) {
    RaiseServerError("The mbox file \"" + mbox.string() + "\" can't be written: " +
                     std::error_code(error, std::generic_category()).message());
  };
  // Written beside the target and renamed over it, so a failed export leaves
  // no half file and what was there before stays.
  const std::filesystem::path partial =
      mbox.parent_path() /
      ("." + mbox.filename().string() + ".partial-" + std::to_string(::getpid()));
  const int fd =
      ::open(partial.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, servers::kPrivateFileMode);
  if (fd < 0) cantWrite(errno);
  std::FILE* out = ::fdopen(fd, "wb");
  if (out == nullptr) {
    const int error = errno;
    ::close(fd);
    ::unlink(partial.c_str());
    cantWrite(error);
  }
  int64_t count = 0;
  int error = 0;
  try {
    database.ForEachItem([&](const StoredItem& item) {
      if (error != 0) return;
      const std::string text =
          MboxSeparator(outlook::HeaderValue(item.message, "From"), item.received) +
          MboxBody(item.message);
      if (std::fwrite(text.data(), 1, text.size(), out) != text.size()) error = errno;
      ++count;
    });
  } catch (...) {
    (void)std::fclose(out);
    ::unlink(partial.c_str());
    throw;
  }
  if (!CloseFlushed(out) && error == 0) error = errno != 0 ? errno : EIO;
  if (error == 0 && ::rename(partial.c_str(), mbox.c_str()) != 0) error = errno;
  if (error != 0) {
    ::unlink(partial.c_str());
    cantWrite(error);
  }
  return count;
}

}  // namespace vellix::engine

#include "servers/errorlog/error_log_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

#include "foundation/vb_error.h"
#include "servers/common/iso_time.h"
#include "servers/common/private_files.h"

namespace vellix {

std::string EscapeLogField(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (char c : text) {
    switch (c) {
      case '\t':
        out += "\\t";
        break;
      case '\r':
        out += "\\r";
        break;
      case '\n':
        out += "\\n";
        break;
      case '\\':
        out += "\\\\";
        break;
      default:
        out += c;
    }
  }
  return out;
}

std::vector<std::string> SplitLogLine(std::string_view line) {
  std::vector<std::string> fields(1);
  for (std::size_t i = 0; i < line.size(); ++i) {
    const char c = line[i];
    if (c == '\t') {
      fields.emplace_back();
    } else if (c == '\\' && i + 1 < line.size()) {
      const char e = line[++i];
      fields.back() += e == 't' ? '\t' : e == 'r' ? '\r' : e == 'n' ? '\n' : e;
    } else {
      fields.back() += c;
    }
  }
  return fields;
}

ErrorLogFile::ErrorLogFile(std::filesystem::path path, const Clock& clock)
    : path_(std::move(path)), clock_(&clock) {}

ErrorLogFile::~ErrorLogFile() {
  if (file_) std::fclose(file_);
}

bool ErrorLogFile::Open(std::string* error) {
  std::lock_guard lock(mutex_);
  if (file_) return true;
  std::error_code ec;
  if (!servers::CreatePrivateFolders(path_.parent_path(), ec)) {
    if (error) *error = "Unable to create the folder of " + path_.string() + ": " + ec.message();
    return false;
  }
  // The log tells what the user's mail and folders are: a new one is private.
  const int fd =
      ::open(path_.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, servers::kPrivateFileMode);
  file_ = fd >= 0 ? ::fdopen(fd, "a") : nullptr;
  if (!file_) {
    const int code = errno;
    if (fd >= 0) ::close(fd);
    if (error) *error = "Unable to open " + path_.string() + ": " + std::strerror(code);
    return false;
  }
  // A writer killed in the middle of a line that crossed a page of the disk
  // cache leaves it cut short: the next record starts on a line of its own.
  std::FILE* tail = std::fopen(path_.c_str(), "rbe");
  if (tail != nullptr) {
    if (std::fseek(tail, -1, SEEK_END) == 0 && std::fgetc(tail) != '\n') std::fputc('\n', file_);
    std::fclose(tail);
  }
  return true;
}

void ErrorLogFile::WriteLine(std::initializer_list<std::string_view> fields) {
  std::string line = servers::IsoDateTime(clock_->Now());
  for (std::string_view f : fields) {
    line += '\t';
    line += EscapeLogField(f);
  }
  line += '\n';

  std::lock_guard lock(mutex_);
  if (!file_) {
    throw VbError(errorlog_error::kWriteFailed, "The error log " + path_.string() + " is not open");
  }
  // One write per line keeps a record whole, even with another writer appending.
  if (std::fwrite(line.data(), 1, line.size(), file_) != line.size() || std::fflush(file_) != 0) {
    const int code = errno;
    std::clearerr(file_);
    throw VbError(errorlog_error::kWriteFailed,
                  "Unable to write the error log " + path_.string() + ": " + std::strerror(code));
  }
}

void ErrorLogFile::LogEvent(const std::string& project, const std::string& module,
                            const std::string& procedure, const std::string& message,
                            int16_t number, const std::string& detail) {
  const std::string numberText = std::to_string(number);
  if (detail.empty()) {
    WriteLine({project, module, procedure, numberText, message});
  } else {
    WriteLine({project, module, procedure, numberText, message, detail});
  }
}

void ErrorLogFile::ComponentStarted(const std::string& component) {
  WriteLine({"ComponentStarted", component});
}

void ErrorLogFile::ComponentEnded(const std::string& component) {
  WriteLine({"ComponentEnded", component});
}

void ErrorLogFile::ObjectCreated(const std::string& project, const std::string& className) {
  WriteLine({"ObjectCreated", project, className});
}

void ErrorLogFile::ObjectDestroyed(const std::string& project, const std::string& className) {
  WriteLine({"ObjectDestroyed", project, className});
}

}  // namespace vellix

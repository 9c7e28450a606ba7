#include "platform/desktop/posix_file_system.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <optional>
#include <system_error>
#include <utility>

#include "foundation/text.h"
#include "foundation/vb_error.h"

namespace vellix::desktop {

namespace {

constexpr int32_t kFileAlreadyExists = 58;
constexpr int32_t kPermissionDenied = 70;

[[noreturn]] void RaiseFileError(int32_t number) {
  switch (number) {
    case kFileAlreadyExists:
      throw VbError(number, "File already exists");
    case kPermissionDenied:
      throw VbError(number, "Permission denied");
    default:
      Raise(number);
  }
}

// The folder under `base` that `path` lies in, `depth` levels down, or
// nothing when the path isn't below base that deep.
std::optional<std::filesystem::path> RootBelow(const std::filesystem::path& path,
                                               const std::filesystem::path& base, int depth) {
  const auto rel = path.lexically_normal().lexically_relative(base.lexically_normal());
  if (rel.empty() || *rel.begin() == "..") return std::nullopt;
  auto root = base;
  auto it = rel.begin();
  for (int i = 0; i < depth; ++i, ++it) {
    if (it == rel.end() || it->empty() || *it == ".") return std::nullopt;
    root /= *it;
  }
  return root;
}

}  // namespace

PosixFileSystem::PosixFileSystem(PathMapping mapping)
    : mapping_(std::move(mapping)), names_(std::random_device{}()) {}

std::filesystem::path PosixFileSystem::Native(const std::string& path) const {
  auto native = mapping_.ToNative(path);
  auto root = RootBelow(native, mapping_.DataRoot() / "drives", 1);
  if (!root) root = RootBelow(native, mapping_.DataRoot() / "unc", 2);
  if (root) {
    std::error_code ec;
    std::filesystem::create_directories(*root, ec);  // a failure shows at the real use
  }
  return native;
}

bool PosixFileSystem::FolderExists(const std::string& path) {
  if (Trim(path).empty()) return false;
  std::error_code ec;
  return std::filesystem::is_directory(Native(path), ec);
}

void PosixFileSystem::CreateFolder(const std::string& path) {
  if (Trim(path).empty()) Raise(err::kPathNotFound);
  const auto native = Native(path);
  std::error_code ec;
  if (std::filesystem::exists(native, ec)) RaiseFileError(kFileAlreadyExists);
  // One level only: the parent must be there already.
  if (!std::filesystem::is_directory(native.parent_path(), ec)) Raise(err::kPathNotFound);
  if (!std::filesystem::create_directory(native, ec) || ec) {
    RaiseFileError(ec == std::errc::permission_denied || ec == std::errc::read_only_file_system
                       ? kPermissionDenied
                       : err::kPathNotFound);
  }
}

std::string PosixFileSystem::GetSpecialFolder(int32_t which) {
  switch (which) {
    case 0:
      return "C:\\Windows";
    case 1:
      return "C:\\Windows\\System32";
    case 2: {
      const auto temp = Native("C:\\Temp");
      std::error_code ec;
      std::filesystem::create_directories(temp, ec);
      return mapping_.ToLogic(temp);
    }
    default:
      Raise(err::kInvalidCall);
  }
}

std::string PosixFileSystem::GetTempName() {
  std::array<char, 16> name{};
  (void)std::snprintf(name.data(), name.size(), "rad%05X.tmp",
                      static_cast<unsigned>(names_() & 0xFFFFFU));
  return name.data();
}

void PosixFileSystem::WriteTextFile(const std::string& path, const std::string& text) {
  const auto native = Native(path);
  std::error_code ec;
  if (!std::filesystem::is_directory(native.parent_path(), ec)) Raise(err::kPathNotFound);
  if (std::filesystem::is_directory(native, ec)) RaiseFileError(kPermissionDenied);
  // A file the panel writes (the processing log) is the user's alone; one
  // that is there already keeps its mode.
  if (const int fd = ::open(native.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600); fd >= 0)
    (void)::close(fd);
  std::ofstream out(native, std::ios::binary | std::ios::trunc);
  out << text;
  out.close();
  if (!out) RaiseFileError(kPermissionDenied);
}

void PosixFileSystem::DeleteFile(const std::string& path) {
  const auto native = Native(path);
  std::error_code ec;
  if (!std::filesystem::is_regular_file(native, ec)) Raise(err::kFileNotFound);
  if (!std::filesystem::remove(native, ec) || ec) RaiseFileError(kPermissionDenied);
}

bool PosixFileSystem::FileExists(const std::string& path) {
  if (Trim(path).empty()) return false;
  std::error_code ec;
  return std::filesystem::is_regular_file(Native(path), ec);
}

std::vector<FolderFile> PosixFileSystem::FilesOf(const std::string& folder) {
  if (Trim(folder).empty()) Raise(err::kPathNotFound);
  const auto native = Native(folder);
  std::error_code ec;
  if (!std::filesystem::is_directory(native, ec)) Raise(err::kPathNotFound);
  std::vector<FolderFile> files;
  std::filesystem::directory_iterator it(native, ec);
  for (const std::filesystem::directory_iterator end; !ec && it != end; it.increment(ec)) {
    std::error_code kindError;
    // A link counts as what it points at; a folder or a broken link is no file.
    if (it->is_regular_file(kindError))
      files.push_back({it->path().filename().string(), mapping_.ToLogic(it->path())});
  }
  if (ec) RaiseFileError(kPermissionDenied);
  return files;
}

}  // namespace vellix::desktop

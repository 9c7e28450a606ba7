#include "app/single_instance.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <QSocketNotifier>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string_view>
#include <utility>

namespace vellix::app {

namespace {

constexpr std::string_view kShowRequest = "show";

// FNV-1a: stable across builds, unlike std::hash, so two builds of the
// program find each other.
uint64_t StableHash(const std::string& text) {
  uint64_t h = 14695981039346656037ULL;
  for (unsigned char c : text) {
    h ^= c;
    h *= 1099511628211ULL;
  }
  return h;
}

std::optional<sockaddr_un> AddressOf(const std::filesystem::path& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::string& text = path.native();
  if (text.size() >= sizeof address.sun_path) return std::nullopt;
  std::memcpy(address.sun_path, text.c_str(), text.size() + 1);
  return address;
}

// Sends one datagram to the socket at address: 0, or the errno of the
// failure (ECONNREFUSED: a socket file nobody listens on any more).
int SendTo(const sockaddr_un& address, std::string_view message) {
  const int fd = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return errno;
  const ssize_t sent = ::sendto(fd, message.data(), message.size(), MSG_DONTWAIT | MSG_NOSIGNAL,
                                reinterpret_cast<const sockaddr*>(&address), sizeof address);
  // A full queue means a listener too busy to read yet; it is there all the same.
  const int result = sent >= 0 || errno == EAGAIN ? 0 : errno;
  ::close(fd);
  return result;
}

}  // namespace

SingleInstance::SingleInstance(std::string serverName) : name_(std::move(serverName)) {}

SingleInstance::~SingleInstance() {
  notifier_.reset();
  if (socket_ >= 0) {
    ::close(socket_);
    ::unlink(SocketPath().c_str());
  }
}

std::string SingleInstance::NameFor(const std::filesystem::path& settingsFolder) {
  std::error_code ec;
  auto canonical = std::filesystem::weakly_canonical(settingsFolder, ec);
  if (ec) canonical = settingsFolder.lexically_normal();
  std::array<char, 17> hash{};
  (void)std::snprintf(hash.data(), hash.size(), "%016llx",
                      static_cast<unsigned long long>(StableHash(canonical.string())));
  return "vellix-control-" + std::to_string(::getuid()) + "-" + hash.data();
}

std::filesystem::path SingleInstance::SocketPath() const {
  const char* runtime = std::getenv("XDG_RUNTIME_DIR");
  const std::filesystem::path folder =
      runtime != nullptr && std::filesystem::path(runtime).is_absolute() ? runtime : "/tmp";
  return folder / name_;
}

bool SingleInstance::AskRunningToShow() {
  const auto address = AddressOf(SocketPath());
  return address && SendTo(*address, kShowRequest) == 0;
}

bool SingleInstance::Listen(std::function<void()> onShow, std::string& error) {
  const std::filesystem::path path = SocketPath();
  const auto address = AddressOf(path);
  if (!address) {
    error = "the socket path " + path.string() + " is too long";
    return false;
  }
  const int fd = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (fd < 0) {
    error = std::string("unable to make a socket: ") + std::strerror(errno);
    return false;
  }
  // Only this user may ask: the file is made without rights for the others.
  const mode_t mask = ::umask(077);
  const auto bindSocket = [&] {
    return ::bind(fd, reinterpret_cast<const sockaddr*>(&*address), sizeof *address) == 0;
  };
  bool bound = bindSocket();
  // Nobody reads the socket in the way: a start that ended without closing
  // it left it behind.
  if (!bound && errno == EADDRINUSE && SendTo(*address, "") == ECONNREFUSED) {
    ::unlink(path.c_str());
    bound = bindSocket();
  }
  const int bindError = errno;
  ::umask(mask);
  if (!bound) {
    error = "unable to listen on " + path.string() + ": " + std::strerror(bindError);
    ::close(fd);
    return false;
  }
  socket_ = fd;
  onShow_ = std::move(onShow);
  notifier_ = std::make_unique<QSocketNotifier>(fd, QSocketNotifier::Read);
  QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(),
                   [this] { ReadRequests(); });
  return true;
}

void SingleInstance::ReadRequests() {
  std::array<char, 64> buffer{};
  for (;;) {
    const ssize_t size = ::recv(socket_, buffer.data(), buffer.size(), 0);
    if (size < 0) return;  // drained (EAGAIN), or nothing more to read
    if (std::string_view(buffer.data(), static_cast<size_t>(size)) == kShowRequest && onShow_)
      onShow_();
  }
}

}  // namespace vellix::app

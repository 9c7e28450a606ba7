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

// Whether a folder is the user's own and closed to the others, so that
// nobody else can put a socket in the panel's place; why says what is wrong.
bool IsPrivateFolder(const std::filesystem::path& folder, std::string* why) {
  struct stat info {};
  if (::lstat(folder.c_str(), &info) != 0) {
    if (why) *why = folder.string() + ": " + std::strerror(errno);
    return false;
  }
  if (!S_ISDIR(info.st_mode) || info.st_uid != ::getuid() || (info.st_mode & 077) != 0) {
    if (why) *why = folder.string() + " is not a folder of this user's alone";
    return false;
  }
  return true;
}

// The folder the socket lies in: the user's runtime folder when it is
// private, else a folder of the user's own in the temporary one.
std::filesystem::path SocketFolder() {
  const char* runtime = std::getenv("XDG_RUNTIME_DIR");
  if (runtime != nullptr && std::filesystem::path(runtime).is_absolute() &&
      IsPrivateFolder(runtime, nullptr))
    return runtime;
  return std::filesystem::path("/tmp") / ("vellix-control-" + std::to_string(::getuid()));
}

// Makes the socket's folder when it is missing; false, with why set, when it
// isn't private.
bool PrepareSocketFolder(const std::filesystem::path& folder, std::string* why) {
  (void)::mkdir(folder.c_str(), 0700);
  return IsPrivateFolder(folder, why);
}

// The sender's user of a datagram, or nothing when it came without one.
std::optional<uid_t> SenderOf(const msghdr& message) {
  for (const cmsghdr* c = CMSG_FIRSTHDR(&message); c != nullptr;
       c = CMSG_NXTHDR(const_cast<msghdr*>(&message), const_cast<cmsghdr*>(c))) {
    if (c->cmsg_level == SOL_SOCKET && c->cmsg_type == SCM_CREDENTIALS &&
        c->cmsg_len >= CMSG_LEN(sizeof(ucred))) {
      ucred credentials{};
      std::memcpy(&credentials, CMSG_DATA(c), sizeof credentials);
      return credentials.uid;
    }
  }
  return std::nullopt;
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
  return SocketFolder() / name_;
}

bool SingleInstance::AskRunningToShow() {
  const std::filesystem::path path = SocketPath();
  if (!PrepareSocketFolder(path.parent_path(), nullptr)) return false;
  const auto address = AddressOf(path);
  return address && SendTo(*address, kShowRequest) == 0;
}

bool SingleInstance::Listen(std::function<void()> onShow, std::string& error) {
  const std::filesystem::path path = SocketPath();
  const auto address = AddressOf(path);
  if (!address) {
    error = "the socket path " + path.string() + " is too long";
    return false;
  }
  if (std::string why; !PrepareSocketFolder(path.parent_path(), &why)) {
    error = "the socket's folder is not private: " + why;
    return false;
  }
  const int fd = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (fd < 0) {
    error = std::string("unable to make a socket: ") + std::strerror(errno);
    return false;
  }
  // Each datagram then carries its sender's user, which the reader checks.
  const int on = 1;
  if (::setsockopt(fd, SOL_SOCKET, SO_PASSCRED, &on, sizeof on) != 0) {
    error = std::string("unable to ask for the senders' credentials: ") + std::strerror(errno);
    ::close(fd);
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
  alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(ucred))> control{};
  for (;;) {
    iovec part{buffer.data(), buffer.size()};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    const ssize_t size = ::recvmsg(socket_, &message, MSG_CMSG_CLOEXEC);
    if (size < 0) return;  // drained (EAGAIN), or nothing more to read
    // The socket file is the user's alone, but root, or a socket opened
    // before its owner changed user, can still reach it: only the user asks.
    if (SenderOf(message) != ::getuid()) {
      if (refused_++ == 0) {
        std::fprintf(stderr,
                     "vellix-control: a request from another user on %s was ignored (further "
                     "ones are ignored silently)\n",
                     SocketPath().c_str());
      }
      continue;
    }
    if (std::string_view(buffer.data(), static_cast<size_t>(size)) == kShowRequest && onShow_)
      onShow_();
  }
}

}  // namespace vellix::app

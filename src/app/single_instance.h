#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

class QSocketNotifier;

namespace vellix::app {

// One running panel per user and data folder. The first start listens on a
// local datagram socket; a later start finds it there, asks it to show its
// window and ends, so the window stays reachable where there is no
// notification area. Plain sockets, not QtNetwork: that library and the ones
// it pulls in would be loaded at every start for one short message.
class SingleInstance {
 public:
  explicit SingleInstance(std::string serverName);
  ~SingleInstance();
  SingleInstance(const SingleInstance&) = delete;
  SingleInstance& operator=(const SingleInstance&) = delete;

  // The socket's name for this user and data folder (its settings folder).
  static std::string NameFor(const std::filesystem::path& settingsFolder);

  // True when a running instance took the request to show itself.
  bool AskRunningToShow();
  // Starts listening; onShow runs on this thread each time a later start
  // asks. False with a message when the socket can't be made.
  bool Listen(std::function<void()> onShow, std::string& error);

  [[nodiscard]] const std::string& Name() const { return name_; }
  // Where the socket lies: the user's runtime folder, or a folder of the
  // user's alone in the temporary one.
  [[nodiscard]] std::filesystem::path SocketPath() const;
  // Requests dropped because they came from another user.
  [[nodiscard]] int Refused() const { return refused_; }

 private:
  void ReadRequests();

  std::string name_;
  int socket_ = -1;
  std::unique_ptr<QSocketNotifier> notifier_;
  std::function<void()> onShow_;
  int refused_ = 0;
};

}  // namespace vellix::app

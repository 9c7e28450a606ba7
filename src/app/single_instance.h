#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

class QLocalServer;

namespace vellix::app {

// One running panel per user and data folder. The first start listens on a
// local socket; a later start finds it there, asks it to show its window and
// ends, so the window stays reachable where there is no notification area.
class SingleInstance {
 public:
  explicit SingleInstance(std::string serverName);
  ~SingleInstance();
  SingleInstance(const SingleInstance&) = delete;
  SingleInstance& operator=(const SingleInstance&) = delete;

  // The socket's name for this user and data folder (its settings folder).
  static std::string NameFor(const std::filesystem::path& settingsFolder);

  // True when a running instance took the request to show itself.
  bool AskRunningToShow(int timeoutMs = 2000);
  // Starts listening; onShow runs on this thread each time a later start
  // asks. False with a message when the socket can't be made.
  bool Listen(std::function<void()> onShow, std::string& error);

  [[nodiscard]] const std::string& Name() const { return name_; }

 private:
  std::string name_;
  std::unique_ptr<QLocalServer> server_;
};

}  // namespace vellix::app

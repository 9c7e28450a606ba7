#include "app/single_instance.h"

#include <unistd.h>

#include <QLocalServer>
#include <QLocalSocket>
#include <cstdint>
#include <cstdio>
#include <utility>

namespace vellix::app {

namespace {

constexpr const char* kShowRequest = "show\n";

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

}  // namespace

SingleInstance::SingleInstance(std::string serverName) : name_(std::move(serverName)) {}

SingleInstance::~SingleInstance() = default;

std::string SingleInstance::NameFor(const std::filesystem::path& settingsFolder) {
  std::error_code ec;
  auto canonical = std::filesystem::weakly_canonical(settingsFolder, ec);
  if (ec) canonical = settingsFolder.lexically_normal();
  char hash[17];
  std::snprintf(hash, sizeof hash, "%016llx",
                static_cast<unsigned long long>(StableHash(canonical.string())));
  return "vellix-control-" + std::to_string(::getuid()) + "-" + hash;
}

bool SingleInstance::AskRunningToShow(int timeoutMs) {
  QLocalSocket socket;
  socket.connectToServer(QString::fromStdString(name_));
  if (!socket.waitForConnected(timeoutMs)) return false;
  socket.write(kShowRequest);
  if (!socket.waitForBytesWritten(timeoutMs)) return false;
  socket.disconnectFromServer();
  if (socket.state() != QLocalSocket::UnconnectedState) socket.waitForDisconnected(timeoutMs);
  return true;
}

bool SingleInstance::Listen(std::function<void()> onShow, std::string& error) {
  server_ = std::make_unique<QLocalServer>();
  server_->setSocketOptions(QLocalServer::UserAccessOption);
  const QString name = QString::fromStdString(name_);
  if (!server_->listen(name)) {
    // Nobody answered on it, so the socket is left over from a start that
    // ended without closing it.
    QLocalServer::removeServer(name);
    if (!server_->listen(name)) {
      error = "Unable to listen on " + name_ + ": " + server_->errorString().toStdString();
      server_.reset();
      return false;
    }
  }
  auto readRequests = [onShow = std::move(onShow)](QLocalSocket* socket) {
    while (socket->canReadLine()) {
      if (socket->readLine().trimmed() == "show" && onShow) onShow();
    }
  };
  QObject::connect(server_.get(), &QLocalServer::newConnection, server_.get(),
                   [server = server_.get(), readRequests] {
                     while (QLocalSocket* socket = server->nextPendingConnection()) {
                       QObject::connect(socket, &QLocalSocket::disconnected, socket,
                                        &QObject::deleteLater);
                       QObject::connect(socket, &QLocalSocket::readyRead, socket,
                                        [socket, readRequests] { readRequests(socket); });
                       // The request may have come with the connection.
                       readRequests(socket);
                     }
                   });
  return true;
}

}  // namespace vellix::app

#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace vellix {

// A connection of a handler to an event; disconnects when it goes. It may
// outlive the event's source.
class Connection {
 public:
  Connection() = default;
  explicit Connection(std::function<void()> disconnect) : disconnect_(std::move(disconnect)) {}
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
  Connection(Connection&& other) noexcept : disconnect_(std::exchange(other.disconnect_, {})) {}
  Connection& operator=(Connection&& other) noexcept {
    if (this != &other) {
      Disconnect();
      disconnect_ = std::exchange(other.disconnect_, {});
    }
    return *this;
  }
  ~Connection() { Disconnect(); }

  void Disconnect() {
    if (disconnect_) std::exchange(disconnect_, {})();
  }
  [[nodiscard]] bool Connected() const { return static_cast<bool>(disconnect_); }

 private:
  std::function<void()> disconnect_;
};

// An event of a server object: plain synchronous callbacks. Raising calls
// every handler connected at that moment, in the order of connection, before
// it returns; arguments declared as references go by reference, so a handler
// can answer through them. Handlers may connect, disconnect and raise nested
// events while they run.
template <class... Args>
class Event {
 public:
  using Handler = std::function<void(Args...)>;

  Event() = default;
  Event(const Event&) = delete;
  Event& operator=(const Event&) = delete;

  [[nodiscard]] Connection Connect(Handler handler) {
    const int id = ++state_->next;
    state_->slots.push_back({id, std::make_shared<Handler>(std::move(handler))});
    std::weak_ptr<State> weak = state_;
    return Connection([weak, id] {
      if (auto s = weak.lock()) {
        std::erase_if(s->slots, [id](const Slot& slot) { return slot.id == id; });
      }
    });
  }

  void Raise(Args... args) const {
    const auto slots = state_->slots;  // a handler may disconnect during the call
    for (const auto& slot : slots) {
      if (IsConnected(slot.id)) (*slot.handler)(args...);
    }
  }

  [[nodiscard]] bool HasHandlers() const { return !state_->slots.empty(); }

 private:
  struct Slot {
    int id;
    std::shared_ptr<Handler> handler;
  };
  struct State {
    int next = 0;
    std::vector<Slot> slots;
  };

  [[nodiscard]] bool IsConnected(int id) const {
    return std::any_of(state_->slots.begin(), state_->slots.end(),
                       [id](const Slot& s) { return s.id == id; });
  }

  std::shared_ptr<State> state_ = std::make_shared<State>();
};

}  // namespace vellix

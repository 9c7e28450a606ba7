#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/text.h"
#include "foundation/vb_error.h"

namespace vellix {

// The runtime's Collection: items counted from 1, each with an optional key
// that is unique without regard to case. A position out of range raises
// error 9, an unknown key error 5, a key already there error 457.
template <class T>
class Collection {
  struct Entry {
    std::string key;
    T value;
  };

 public:
  [[nodiscard]] int32_t Count() const { return static_cast<int32_t>(items_.size()); }

  [[nodiscard]] const T& Item(int32_t index) const { return items_.at(Position(index)).value; }
  [[nodiscard]] T& Item(int32_t index) { return items_.at(Position(index)).value; }
  [[nodiscard]] const T& Item(std::string_view key) const { return items_.at(Find(key)).value; }

  [[nodiscard]] bool Contains(std::string_view key) const { return Lookup(key).has_value(); }

  // Adds at the end, or before the item at position `before` (1-based).
  void Add(T value, std::string key = {}, int32_t before = 0) {
    if (!key.empty() && Contains(key)) throw VbError(err::kDuplicateKey);
    auto at = items_.end();
    if (before != 0) at = items_.begin() + static_cast<std::ptrdiff_t>(Position(before));
    items_.insert(at, Entry{std::move(key), std::move(value)});
  }

  void Remove(int32_t index) {
    items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(Position(index)));
  }
  void Remove(std::string_view key) {
    items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(Find(key)));
  }
  void Clear() { items_.clear(); }

  // Iteration over the values, in order: for (const auto& x : collection).
  class ConstIterator {
   public:
    explicit ConstIterator(const Entry* it) : it_(it) {}
    const T& operator*() const { return it_->value; }
    const T* operator->() const { return &it_->value; }
    ConstIterator& operator++() {
      ++it_;
      return *this;
    }
    bool operator==(const ConstIterator& o) const { return it_ == o.it_; }

   private:
    const Entry* it_;
  };
  [[nodiscard]] ConstIterator begin() const { return ConstIterator(items_.data()); }
  [[nodiscard]] ConstIterator end() const { return ConstIterator(items_.data() + items_.size()); }

  [[nodiscard]] std::vector<T> Values() const {
    std::vector<T> out;
    out.reserve(items_.size());
    for (const auto& e : items_)
      out.push_back(e.value);
    return out;
  }

 private:
  [[nodiscard]] size_t Position(int32_t index) const {
    if (index < 1 || index > Count()) throw VbError(err::kSubscriptOutOfRange);
    return static_cast<size_t>(index - 1);
  }
  [[nodiscard]] std::optional<size_t> Lookup(std::string_view key) const {
    auto it = std::find_if(items_.begin(), items_.end(), [key](const Entry& e) {
      return !e.key.empty() && EqualsText(e.key, key);
    });
    if (it == items_.end()) return std::nullopt;
    return static_cast<size_t>(it - items_.begin());
  }
  [[nodiscard]] size_t Find(std::string_view key) const {
    auto pos = Lookup(key);
    if (!pos) throw VbError(err::kInvalidCall);
    return *pos;
  }

  std::vector<Entry> items_;
};

}  // namespace vellix

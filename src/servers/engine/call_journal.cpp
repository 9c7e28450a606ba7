#include "servers/engine/call_journal.h"

#include <algorithm>
#include <utility>

#include "foundation/runtime.h"
#include "foundation/variant.h"

namespace vellix::engine {

std::string JournalText(bool value) {
  return BoolText(value);
}
std::string JournalText(int32_t value) {
  return std::to_string(value);
}
std::string JournalText(int64_t value) {
  return std::to_string(value);
}
std::string JournalText(Date value) {
  return Variant(value).ToString();
}

void CallJournal::Add(std::string object, std::string text) {
  if (entries_.size() >= kLimit) {
    entries_.erase(entries_.begin(), entries_.begin() + static_cast<std::ptrdiff_t>(kLimit / 2));
  }
  entries_.push_back({std::move(object), std::move(text)});
}

void CallJournal::Clear() {
  entries_.clear();
}

std::vector<std::string> CallJournal::Texts() const {
  std::vector<std::string> out;
  out.reserve(entries_.size());
  for (const auto& e : entries_)
    out.push_back(e.text);
  return out;
}

int CallJournal::Count(std::string_view operation) const {
  return static_cast<int>(std::count_if(entries_.begin(), entries_.end(), [&](const auto& e) {
    const std::string_view text = e.text;
    return text == operation || (text.size() > operation.size() && text.starts_with(operation) &&
                                 text[operation.size()] == ' ');
  }));
}

bool CallJournal::Contains(std::string_view text) const {
  return std::any_of(entries_.begin(), entries_.end(),
                     [&](const auto& e) { return e.text == text; });
}

std::vector<std::string> CallJournal::TextsFor(std::string_view object) const {
  std::vector<std::string> out;
  for (const auto& e : entries_) {
    if (e.object == object) out.push_back(e.text);
  }
  return out;
}

}  // namespace vellix::engine

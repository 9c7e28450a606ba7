#include "foundation/log_box.h"

#include <string_view>
#include <utility>

namespace vellix {

namespace {
constexpr std::string_view kBreak = "\r\n";
}  // namespace

LogBox::LogBox(Form& form, std::string name, std::string container)
    : Control(form, ControlKind::LogBox, std::move(name), std::move(container)) {}

std::string LogBox::Text() const {
  std::size_t size = 0;
  for (const std::string& line : lines_)
    size += line.size() + kBreak.size();
  std::string text;
  text.reserve(size);
  for (const std::string& line : lines_) {
    text += line;
    text += kBreak;
  }
  return text;
}

void LogBox::Text(const std::string& value) {
  std::deque<std::string> lines;
  std::size_t start = 0;
  while (start < value.size()) {
    const std::size_t end = value.find(kBreak, start);
    if (end == std::string::npos) {
      lines.push_back(value.substr(start));
      break;
    }
    lines.push_back(value.substr(start, end - start));
    start = end + kBreak.size();
  }
  if (lines == lines_) return;
  lines_ = std::move(lines);
  Changed("Text");
}

void LogBox::PrependLine(std::string line) {
  lines_.push_front(std::move(line));
  Changed("Prepend");
}

}  // namespace vellix

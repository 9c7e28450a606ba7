#include "foundation/text.h"

#include "foundation/vb_error.h"

namespace vellix {

namespace {

bool MatchesAt(std::string_view text, size_t pos, std::string_view find) {
  if (text.size() - pos < find.size()) return false;
  for (size_t i = 0; i < find.size(); ++i) {
    if (LCase(text[pos + i]) != LCase(find[i])) return false;
  }
  return true;
}

}  // namespace

std::string Replace(std::string_view text, std::string_view find, std::string_view with) {
  if (find.empty()) return std::string(text);
  std::string out;
  out.reserve(text.size());
  size_t pos = 0;
  while (pos < text.size()) {
    if (MatchesAt(text, pos, find)) {
      out.append(with);
      pos += find.size();
    } else {
      out.push_back(text[pos]);
      ++pos;
    }
  }
  return out;
}

std::vector<std::string> Split(std::string_view text, std::string_view delimiter) {
  std::vector<std::string> parts;
  if (text.empty()) return parts;
  if (delimiter.empty()) {
    parts.emplace_back(text);
    return parts;
  }
  size_t start = 0;
  while (true) {
    const size_t at = text.find(delimiter, start);
    if (at == std::string_view::npos) {
      parts.emplace_back(text.substr(start));
      return parts;
    }
    parts.emplace_back(text.substr(start, at - start));
    start = at + delimiter.size();
  }
}

std::string Left(std::string_view text, std::size_t count) {
  std::size_t end = 0;
  for (std::size_t taken = 0; end < text.size() && taken < count; ++taken) {
    ++end;
    // Continuation bytes (10xxxxxx) belong to the character before them.
    while (end < text.size() && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U)
      ++end;
  }
  return std::string(text.substr(0, end));
}

std::string Trim(std::string_view text) {
  return RTrim(LTrim(text));
}

std::string LTrim(std::string_view text) {
  const size_t first = text.find_first_not_of(' ');
  return first == std::string_view::npos ? std::string() : std::string(text.substr(first));
}

std::string RTrim(std::string_view text) {
  const size_t last = text.find_last_not_of(' ');
  return last == std::string_view::npos ? std::string() : std::string(text.substr(0, last + 1));
}

std::string LCase(std::string_view text) {
  std::string out(text);
  for (char& c : out)
    c = LCase(c);
  return out;
}

int CompareText(std::string_view a, std::string_view b) {
  const size_t n = a.size() < b.size() ? a.size() : b.size();
  for (size_t i = 0; i < n; ++i) {
    const auto ca = static_cast<unsigned char>(LCase(a[i]));
    const auto cb = static_cast<unsigned char>(LCase(b[i]));
    if (ca != cb) return ca < cb ? -1 : 1;
  }
  if (a.size() == b.size()) return 0;
  return a.size() < b.size() ? -1 : 1;
}

}  // namespace vellix

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>
#include <vector>

#include "foundation/format.h"
#include "foundation/runtime.h"
#include "foundation/text.h"

namespace vellix {

namespace {

enum class Kind { Literal, Zero, Hash, Point, Comma, Percent, Exponent };

struct Item {
  Kind kind;
  std::string text;  // the literal, or "E+" / "e-" for an exponent
};

// Splits a pattern into its ";" sections; quotes and backslashes protect a ";".
std::vector<std::string_view> SplitSections(std::string_view pattern) {
  std::vector<std::string_view> sections;
  size_t start = 0;
  char quote = '\0';
  for (size_t i = 0; i < pattern.size(); ++i) {
    const char c = pattern[i];
    if (quote != '\0') {
      if (c == quote) quote = '\0';
    } else if (c == '"' || c == '\'') {
      quote = c;
    } else if (c == '\\') {
      ++i;
    } else if (c == ';') {
      sections.push_back(pattern.substr(start, i - start));
      start = i + 1;
    }
  }
  sections.push_back(pattern.substr(start));
  return sections;
}

std::vector<Item> Parse(std::string_view section) {
  std::vector<Item> items;
  auto literal = [&items](std::string_view text) {
    if (text.empty()) return;
    if (!items.empty() && items.back().kind == Kind::Literal) {
      items.back().text += text;
    } else {
      items.push_back({Kind::Literal, std::string(text)});
    }
  };
  for (size_t i = 0; i < section.size(); ++i) {
    const char c = section[i];
    if (c == '"' || c == '\'') {
      const size_t end = section.find(c, i + 1);
      const size_t stop = end == std::string_view::npos ? section.size() : end;
      literal(section.substr(i + 1, stop - i - 1));
      i = stop;
    } else if (c == '\\') {
      if (i + 1 < section.size()) ++i;
      literal(section.substr(i, 1));
    } else if (c == '0') {
      items.push_back({Kind::Zero, ""});
    } else if (c == '#') {
      items.push_back({Kind::Hash, ""});
    } else if (c == '.') {
      items.push_back({Kind::Point, ""});
    } else if (c == ',') {
      items.push_back({Kind::Comma, ""});
    } else if (c == '%') {
      items.push_back({Kind::Percent, ""});
    } else if ((c == 'E' || c == 'e') && i + 1 < section.size() &&
               (section[i + 1] == '+' || section[i + 1] == '-')) {
      items.push_back({Kind::Exponent, std::string(section.substr(i, 2))});
      ++i;
    } else {
      literal(section.substr(i, 1));
    }
  }
  return items;
}

bool IsDigitPlace(const Item& item) {
  return item.kind == Kind::Zero || item.kind == Kind::Hash;
}

// The 15 significant digits the runtime keeps of a Double, and the decimal
// exponent of the first: value = 0.d1d2..d15 * 10^(exponent + 1).
void SignificantDigits(double value, std::string& digits, int& exponent) {
  char buffer[40];
  const auto result =
      std::to_chars(buffer, buffer + sizeof(buffer), value, std::chars_format::scientific, 14);
  const std::string_view text(buffer, static_cast<size_t>(result.ptr - buffer));
  const size_t e = text.find('e');
  digits = std::string(text.substr(0, 1)) + std::string(text.substr(2, e - 2));
  exponent = std::stoi(std::string(text.substr(e + 1)));
}

// Adds one unit in the last place of a digit string.
void Increment(std::string& digits) {
  for (size_t i = digits.size(); i-- > 0;) {
    if (digits[i] != '9') {
      ++digits[i];
      return;
    }
    digits[i] = '0';
  }
  digits.insert(digits.begin(), '1');
}

// Keeps the first `keep` digits, rounding half away from zero on the rest.
std::string RoundDigits(const std::string& digits, long keep) {
  if (keep < 0) return "";
  if (static_cast<size_t>(keep) >= digits.size()) {
    return digits + std::string(static_cast<size_t>(keep) - digits.size(), '0');
  }
  std::string kept = digits.substr(0, static_cast<size_t>(keep));
  if (digits[static_cast<size_t>(keep)] >= '5') Increment(kept);
  return kept;
}

// |value| rounded to `decimals` places: integer digits without leading zeros
// ("" for none) and exactly `decimals` fraction digits.
void FixedDigits(double value, int decimals, std::string& whole, std::string& fraction) {
  std::string n;
  if (value != 0.0) {
    std::string digits;
    int exponent = 0;
    SignificantDigits(value, digits, exponent);
    n = RoundDigits(digits, static_cast<long>(exponent) + 1 + decimals);
  }
  if (n.size() < static_cast<size_t>(decimals) + 1) {
    n.insert(0, static_cast<size_t>(decimals) + 1 - n.size(), '0');
  }
  fraction = n.substr(n.size() - static_cast<size_t>(decimals));
  whole = n.substr(0, n.size() - static_cast<size_t>(decimals));
  const size_t first = whole.find_first_not_of('0');
  whole = first == std::string::npos ? "" : whole.substr(first);
}

struct Layout {
  int wholePlaces = 0;
  int firstZero = -1;  // index of the leftmost "0" among the whole places
  int fractionPlaces = 0;
  int lastFractionZero = -1;
  bool grouping = false;
  int scaleThousands = 0;
  bool percent = false;
  size_t exponentAt = std::string::npos;  // index of the exponent item
  int exponentPlaces = 0;
};

Layout Measure(const std::vector<Item>& items) {
  Layout layout;
  bool afterPoint = false;
  bool seenDigit = false;
  int pendingCommas = 0;  // commas since the last whole digit place
  for (size_t i = 0; i < items.size(); ++i) {
    const Item& item = items[i];
    if (layout.exponentAt != std::string::npos) {
      if (IsDigitPlace(item)) ++layout.exponentPlaces;
      continue;
    }
    switch (item.kind) {
      case Kind::Zero:
      case Kind::Hash:
        if (afterPoint) {
          if (item.kind == Kind::Zero) layout.lastFractionZero = layout.fractionPlaces;
          ++layout.fractionPlaces;
        } else {
          if (item.kind == Kind::Zero && layout.firstZero < 0)
            layout.firstZero = layout.wholePlaces;
          if (pendingCommas > 0 && seenDigit) layout.grouping = true;
          pendingCommas = 0;
          seenDigit = true;
          ++layout.wholePlaces;
        }
        break;
      case Kind::Comma:
        if (!afterPoint) ++pendingCommas;
        break;
      case Kind::Point:
        if (!afterPoint) {
          afterPoint = true;
          if (seenDigit) layout.scaleThousands = pendingCommas;
          pendingCommas = 0;
        }
        break;
      case Kind::Percent:
        layout.percent = true;
        break;
      case Kind::Exponent:
        layout.exponentAt = i;
        break;
      case Kind::Literal:
        break;
    }
  }
  // Commas after the last whole place with no point: scaling as well.
  if (!afterPoint && seenDigit) layout.scaleThousands = pendingCommas;
  return layout;
}

// Writes the whole digits into the whole places right to left; digits beyond
// the places go in front of the leftmost one. Grouping follows the digits.
std::string RenderWhole(const std::vector<Item>& items, size_t end, const Layout& layout,
                        const std::string& digits, const Locale& locale) {
  std::string padded = digits;
  if (layout.firstZero >= 0) {
    const auto minimum = static_cast<size_t>(layout.wholePlaces - layout.firstZero);
    if (padded.size() < minimum) padded.insert(0, minimum - padded.size(), '0');
  }
  std::vector<std::string> pieces;  // built right to left
  size_t used = 0;
  int placesLeft = layout.wholePlaces;
  // A pattern with no whole places still shows the whole part, right before its point.
  if (layout.wholePlaces == 0 && !padded.empty()) pieces.push_back(padded);
  auto emitDigit = [&]() {
    pieces.emplace_back(1, padded[padded.size() - 1 - used]);
    ++used;
    if (layout.grouping && used % 3 == 0 && used < padded.size()) {
      pieces.push_back(locale.thousandsSeparator);
    }
  };
  for (size_t i = end; i-- > 0;) {
    const Item& item = items[i];
    if (IsDigitPlace(item)) {
      --placesLeft;
      if (used < padded.size()) emitDigit();
      if (placesLeft == 0) {
        while (used < padded.size())
          emitDigit();
      }
    } else if (item.kind == Kind::Literal) {
      pieces.push_back(item.text);
    } else if (item.kind == Kind::Percent) {
      pieces.emplace_back("%");
    }
  }
  std::string out;
  for (size_t i = pieces.size(); i-- > 0;)
    out += pieces[i];
  return out;
}

std::string RenderSection(double magnitude, bool negative, const std::vector<Item>& items,
                          const Locale& locale) {
  const Layout layout = Measure(items);
  double value = magnitude;
  if (layout.percent) value *= 100.0;
  for (int i = 0; i < layout.scaleThousands; ++i)
    value /= 1000.0;

  std::string whole;
  std::string fraction;
  int exponent = 0;
  if (layout.exponentAt != std::string::npos && value != 0.0) {
    // Scientific: as many whole digits as the pattern has whole places.
    const int wholePlaces = layout.wholePlaces > 0 ? layout.wholePlaces : 1;
    std::string digits;
    int first = 0;
    SignificantDigits(value, digits, first);
    std::string kept = RoundDigits(digits, wholePlaces + layout.fractionPlaces);
    if (kept.size() > static_cast<size_t>(wholePlaces + layout.fractionPlaces)) {
      kept.pop_back();  // 9.99 rounded to 10.0: one more power of ten
      ++first;
    }
    exponent = first - (wholePlaces - 1);
    whole = kept.substr(0, static_cast<size_t>(wholePlaces));
    fraction = kept.substr(static_cast<size_t>(wholePlaces));
    const size_t nonZero = whole.find_first_not_of('0');
    whole = nonZero == std::string::npos ? "" : whole.substr(nonZero);
  } else {
    FixedDigits(value, layout.fractionPlaces, whole, fraction);
  }

  const size_t wholeEnd = [&] {
    for (size_t i = 0; i < items.size(); ++i) {
      if (items[i].kind == Kind::Point || items[i].kind == Kind::Exponent) return i;
    }
    return items.size();
  }();
  std::string out = RenderWhole(items, wholeEnd, layout, whole, locale);

  // The fraction: "0" places always, "#" places only up to the last digit that isn't zero.
  const size_t lastNonZero = fraction.find_last_not_of('0');
  const int lastShown =
      std::max(layout.lastFractionZero,
               lastNonZero == std::string::npos ? -1 : static_cast<int>(lastNonZero));
  int place = 0;
  for (size_t i = wholeEnd; i < items.size(); ++i) {
    const Item& item = items[i];
    if (i == layout.exponentAt) {
      const bool showPlus = item.text[1] == '+';
      out += item.text[0];
      if (exponent < 0) {
        out += '-';
      } else if (showPlus) {
        out += '+';
      }
      std::string e = std::to_string(exponent < 0 ? -exponent : exponent);
      if (e.size() < static_cast<size_t>(layout.exponentPlaces)) {
        e.insert(0, static_cast<size_t>(layout.exponentPlaces) - e.size(), '0');
      }
      out += e;
    } else if (i > layout.exponentAt) {
      if (item.kind == Kind::Literal) out += item.text;
    } else if (item.kind == Kind::Point) {
      if (i == wholeEnd) out += locale.decimalSeparator;
    } else if (IsDigitPlace(item)) {
      if (place <= lastShown) out += fraction[static_cast<size_t>(place)];
      ++place;
    } else if (item.kind == Kind::Literal) {
      out += item.text;
    } else if (item.kind == Kind::Percent) {
      out += '%';
    }
  }
  // A value that rounds to nothing shows no sign.
  const bool allZero = whole.empty() && fraction.find_first_not_of('0') == std::string::npos;
  if (negative && !allZero) out.insert(0, "-");
  return out;
}

std::string PlainText(double value, const Locale& locale) {
  return Replace(NumberText(value), ".", locale.decimalSeparator);
}

}  // namespace

std::string Format(double value, std::string_view pattern, const Locale& locale) {
  if (!std::isfinite(value)) return NumberText(value);
  if (pattern.empty() || EqualsText(pattern, "General Number")) return PlainText(value, locale);
  if (EqualsText(pattern, "Fixed")) return Format(value, "0.00", locale);
  if (EqualsText(pattern, "Standard")) return Format(value, "#,##0.00", locale);
  if (EqualsText(pattern, "Percent")) return Format(value, "0.00%", locale);
  if (EqualsText(pattern, "Scientific")) return Format(value, "0.00E+00", locale);
  if (EqualsText(pattern, "Yes/No")) return value != 0.0 ? "Yes" : "No";
  if (EqualsText(pattern, "True/False")) return value != 0.0 ? "True" : "False";
  if (EqualsText(pattern, "On/Off")) return value != 0.0 ? "On" : "Off";

  const std::vector<std::string_view> sections = SplitSections(pattern);
  std::string_view section = sections[0];
  bool addSign = value < 0.0;
  if (value < 0.0 && sections.size() >= 2 && !sections[1].empty()) {
    section = sections[1];  // the negative section writes its own sign, if any
    addSign = false;
  } else if (value == 0.0 && sections.size() >= 3 && !sections[2].empty()) {
    section = sections[2];
  }
  return RenderSection(std::fabs(value), addSign, Parse(section), locale);
}

}  // namespace vellix

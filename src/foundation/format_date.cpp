#include <algorithm>
#include <string>
#include <vector>

#include "foundation/format.h"
#include "foundation/text.h"

namespace vellix {

namespace {

enum class Tok {
  Literal,
  Day,  // width 1..4 as d..dddd
  ShortDate,
  LongDate,
  Weekday,  // w
  WeekOfYear,
  Month,  // width 1..4
  Minute,
  Quarter,
  DayOfYear,
  Year,  // width 2 or 4
  Hour,
  Second,
  LongTime,
  General,
  AmPm,  // text holds the pattern's form: "AM/PM", "am/pm", "A/P", "a/p", "AMPM"
};

struct Token {
  Tok kind;
  int width = 0;
  std::string text;
};

// How many letters like the one at `at` follow on, counted only as far as the
// longest token ("dddddd") reaches: counting a long run to its end at every
// letter of it made a pattern of one repeated letter cost its length squared.
size_t RunLength(std::string_view pattern, size_t at) {
  constexpr size_t kLongestToken = 6;
  size_t n = 1;
  while (n < kLongestToken && at + n < pattern.size() &&
         LCase(pattern[at + n]) == LCase(pattern[at]))
    ++n;
  return n;
}

bool StartsWithText(std::string_view pattern, size_t at, std::string_view word) {
  return pattern.size() - at >= word.size() && EqualsText(pattern.substr(at, word.size()), word);
}

std::vector<Token> Tokenize(std::string_view pattern) {
  std::vector<Token> tokens;
  bool afterHour = false;  // the last token that wasn't a literal was an hour
  auto literal = [&tokens](std::string_view text) {
    if (!tokens.empty() && tokens.back().kind == Tok::Literal) {
      tokens.back().text += text;
    } else {
      tokens.push_back({Tok::Literal, 0, std::string(text)});
    }
  };
  auto add = [&](Tok kind, int width) {
    tokens.push_back({kind, width, ""});
    afterHour = kind == Tok::Hour;
  };
  size_t i = 0;
  while (i < pattern.size()) {
    const char c = pattern[i];
    const char lower = LCase(c);
    const size_t run = RunLength(pattern, i);
    size_t used = 1;
    if (c == '"' || c == '\'') {
      const size_t end = pattern.find(c, i + 1);
      const size_t stop = end == std::string_view::npos ? pattern.size() : end;
      if (stop > i + 1) literal(pattern.substr(i + 1, stop - i - 1));
      used = stop - i + 1;
    } else if (c == '\\') {
      // A backslash at the very end stands for itself.
      literal(pattern.substr(i + 1 < pattern.size() ? i + 1 : i, 1));
      used = 2;
    } else if (lower == 'd') {
      used = std::min<size_t>(run, 6);
      add(used == 5   ? Tok::ShortDate
          : used == 6 ? Tok::LongDate
                      : Tok::Day,
          static_cast<int>(used));
    } else if (lower == 'm') {
      used = std::min<size_t>(run, 4);
      if (afterHour && used <= 2) {
        add(Tok::Minute, static_cast<int>(used));
      } else {
        add(Tok::Month, static_cast<int>(used));
      }
    } else if (lower == 'y') {
      used = run >= 4 ? 4 : run >= 2 ? 2 : 1;
      add(used == 1 ? Tok::DayOfYear : Tok::Year, static_cast<int>(used));
    } else if (lower == 'w') {
      used = std::min<size_t>(run, 2);
      add(used == 2 ? Tok::WeekOfYear : Tok::Weekday, 1);
    } else if (lower == 'h' || lower == 'n' || lower == 's') {
      used = std::min<size_t>(run, 2);
      add(lower == 'h'   ? Tok::Hour
          : lower == 'n' ? Tok::Minute
                         : Tok::Second,
          static_cast<int>(used));
    } else if (lower == 'q') {
      add(Tok::Quarter, 1);
    } else if (lower == 'c') {
      add(Tok::General, 1);
    } else if (lower == 't' && run >= 5) {
      used = 5;
      add(Tok::LongTime, 1);
    } else if (lower == 'a' &&
               (StartsWithText(pattern, i, "am/pm") || StartsWithText(pattern, i, "ampm") ||
                StartsWithText(pattern, i, "a/p"))) {
      used = StartsWithText(pattern, i, "am/pm") ? 5 : StartsWithText(pattern, i, "ampm") ? 4 : 3;
      tokens.push_back({Tok::AmPm, 0, std::string(pattern.substr(i, used))});
    } else {
      literal(pattern.substr(i, 1));
    }
    i += used;
  }
  return tokens;
}

std::string TwoDigits(int value) {
  std::string text = std::to_string(value);
  return text.size() < 2 ? "0" + text : text;
}

std::string Name(const std::string& name, const std::string& fallback) {
  return name.empty() ? fallback : name;
}

int DayOfYear(const CivilTime& t) {
  static constexpr int kBefore[] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
  const bool leap = (t.year % 4 == 0 && t.year % 100 != 0) || t.year % 400 == 0;
  return kBefore[t.month - 1] + t.day + (leap && t.month > 2 ? 1 : 0);
}

std::string Render(const CivilTime& t, std::string_view pattern, const Locale& locale, int depth);

const Locale& English() {
  static const Locale english = Locale::English();
  return english;
}

// A pattern of the locale is itself a pattern. One that is empty, or nests
// itself too deep, gives way to the English pattern, which never nests.
std::string Nested(const CivilTime& t, const std::string& pattern, const std::string& fallback,
                   const Locale& locale, int depth) {
  const bool useFallback = pattern.empty() || depth >= 3;
  return Render(t, useFallback ? fallback : pattern, locale, depth + 1);
}

// The general date: the date, the time, or both, leaving out a part that is zero.
std::string General(const CivilTime& t, const Locale& locale, int depth) {
  const bool noDate = t.year == 1899 && t.month == 12 && t.day == 30;
  const bool noTime = t.hour == 0 && t.minute == 0 && t.second == 0;
  const std::string date = Nested(t, locale.shortDate, English().shortDate, locale, depth);
  const std::string time = Nested(t, locale.longTime, English().longTime, locale, depth);
  if (noDate) return time;
  if (noTime) return date;
  return date + " " + time;
}

std::string Render(const CivilTime& t, std::string_view pattern, const Locale& locale, int depth) {
  const Locale& english = English();
  const std::vector<Token> tokens = Tokenize(pattern);
  bool twelveHour = false;
  for (const Token& token : tokens)
    twelveHour = twelveHour || token.kind == Tok::AmPm;
  std::string out;
  for (const Token& token : tokens) {
    switch (token.kind) {
      case Tok::Literal:
        out += token.text;
        break;
      case Tok::Day:
        if (token.width == 1) out += std::to_string(t.day);
        if (token.width == 2) out += TwoDigits(t.day);
        if (token.width == 3) {
          out += Name(locale.dayAbbrevs[t.weekday - 1], english.dayAbbrevs[t.weekday - 1]);
        }
        if (token.width == 4) {
          out += Name(locale.dayNames[t.weekday - 1], english.dayNames[t.weekday - 1]);
        }
        break;
      case Tok::ShortDate:
        out += Nested(t, locale.shortDate, english.shortDate, locale, depth);
        break;
      case Tok::LongDate:
        out += Nested(t, locale.longDate, english.longDate, locale, depth);
        break;
      case Tok::Weekday:
        out += std::to_string(t.weekday);
        break;
      case Tok::WeekOfYear: {
        // Weeks start on Sunday; the week holding 1 January is the first.
        const int doy = DayOfYear(t);
        const int jan1Weekday = (t.weekday - 1 - (doy - 1) % 7 + 7) % 7;
        out += std::to_string((doy - 1 + jan1Weekday) / 7 + 1);
        break;
      }
      case Tok::Month:
        if (token.width == 1) out += std::to_string(t.month);
        if (token.width == 2) out += TwoDigits(t.month);
        if (token.width == 3) {
          out += Name(locale.monthAbbrevs[t.month - 1], english.monthAbbrevs[t.month - 1]);
        }
        if (token.width == 4) {
          out += Name(locale.monthNames[t.month - 1], english.monthNames[t.month - 1]);
        }
        break;
      case Tok::Minute:
        out += token.width == 1 ? std::to_string(t.minute) : TwoDigits(t.minute);
        break;
      case Tok::Quarter:
        out += std::to_string((t.month - 1) / 3 + 1);
        break;
      case Tok::DayOfYear:
        out += std::to_string(DayOfYear(t));
        break;
      case Tok::Year:
        out += token.width == 2 ? TwoDigits(t.year % 100) : std::to_string(t.year);
        break;
      case Tok::Hour: {
        int hour = t.hour;
        if (twelveHour) hour = hour % 12 == 0 ? 12 : hour % 12;
        out += token.width == 1 ? std::to_string(hour) : TwoDigits(hour);
        break;
      }
      case Tok::Second:
        out += token.width == 1 ? std::to_string(t.second) : TwoDigits(t.second);
        break;
      case Tok::LongTime:
        out += Nested(t, locale.longTime, english.longTime, locale, depth);
        break;
      case Tok::General:
        out += General(t, locale, depth);
        break;
      case Tok::AmPm: {
        const bool pm = t.hour >= 12;
        const bool lower = token.text[0] == 'a';
        const bool letterOnly = token.text.size() == 3;
        std::string mark = letterOnly ? (pm ? "P" : "A") : (pm ? "PM" : "AM");
        out += lower ? LCase(mark) : mark;
        break;
      }
    }
  }
  return out;
}

}  // namespace

std::string Format(Date value, std::string_view pattern, const Locale& locale) {
  const CivilTime t = ToCivil(value);
  if (pattern.empty() || EqualsText(pattern, "General Date")) return General(t, locale, 0);
  const Locale& english = English();
  if (EqualsText(pattern, "Long Date"))
    return Nested(t, locale.longDate, english.longDate, locale, 0);
  if (EqualsText(pattern, "Medium Date")) return Render(t, "dd-mmm-yy", locale, 1);
  if (EqualsText(pattern, "Short Date"))
    return Nested(t, locale.shortDate, english.shortDate, locale, 0);
  if (EqualsText(pattern, "Long Time"))
    return Nested(t, locale.longTime, english.longTime, locale, 0);
  if (EqualsText(pattern, "Medium Time")) return Render(t, "hh:nn AM/PM", locale, 1);
  if (EqualsText(pattern, "Short Time"))
    return Nested(t, locale.shortTime, english.shortTime, locale, 0);
  return Render(t, pattern, locale, 0);
}

}  // namespace vellix

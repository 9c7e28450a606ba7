#include "servers/common/iso_time.h"

#include <charconv>

#include "foundation/vb_error.h"

namespace vellix::servers {

namespace {

void AppendDigits(std::string& out, int value, int width) {
  std::string digits(static_cast<std::size_t>(width), '0');
  for (int i = width - 1; i >= 0 && value > 0; --i, value /= 10)
    digits[static_cast<std::size_t>(i)] = static_cast<char>('0' + value % 10);
  out += digits;
}

std::string Text(const CivilTime& c, const char* dateSep, char between, const char* timeSep,
                 bool withTime) {
  std::string out;
  AppendDigits(out, c.year, 4);
  out += dateSep;
  AppendDigits(out, c.month, 2);
  out += dateSep;
  AppendDigits(out, c.day, 2);
  if (!withTime) return out;
  out += between;
  AppendDigits(out, c.hour, 2);
  out += timeSep;
  AppendDigits(out, c.minute, 2);
  out += timeSep;
  AppendDigits(out, c.second, 2);
  return out;
}

bool Field(std::string_view s, std::size_t at, std::size_t len, int* v) {
  if (at + len > s.size()) return false;
  const char* first = s.data() + at;
  const char* last = first + len;
  auto [end, ec] = std::from_chars(first, last, *v);
  return ec == std::errc() && end == last;
}

}  // namespace

std::string IsoDateTime(Date when) {
  return Text(ToCivil(when), "-", 'T', ":", true);
}

std::string IsoDateOrDateTime(Date when) {
  const CivilTime c = ToCivil(when);
  return Text(c, "-", 'T', ":", c.hour != 0 || c.minute != 0 || c.second != 0);
}

std::string CompactStamp(Date when) {
  return Text(ToCivil(when), "", '-', "", true);
}

bool ParseIsoDateTime(std::string_view s, Date* out) {
  int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
  if (s.size() < 10 || !Field(s, 0, 4, &year) || s[4] != '-' || !Field(s, 5, 2, &month) ||
      s[7] != '-' || !Field(s, 8, 2, &day)) {
    return false;
  }
  if (s.size() != 10) {
    if (s.size() != 19 || (s[10] != 'T' && s[10] != ' ') || s[13] != ':' || s[16] != ':' ||
        !Field(s, 11, 2, &hour) || !Field(s, 14, 2, &minute) || !Field(s, 17, 2, &second)) {
      return false;
    }
  }
  if (year < 100 || hour > 23 || minute > 59 || second > 59) return false;
  try {
    const Date d = DateTimeSerial(year, month, day, hour, minute, second);
    const CivilTime back = ToCivil(d);
    if (back.year != year || back.month != month || back.day != day) return false;
    *out = d;
    return true;
  } catch (const VbError&) {
    return false;
  }
}

}  // namespace vellix::servers

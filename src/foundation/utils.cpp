#include "foundation/utils.h"

#include <array>
#include <string_view>
#include <utility>

#include "foundation/format.h"
#include "foundation/frame.h"
#include "foundation/runtime.h"
#include "foundation/text.h"

namespace vellix {

namespace {
constexpr const char* kModule = "Utils";

// Runs one statement with errors passed over.
template <class Fn>
void PassOver(Fn&& fn) {
  try {
    fn();
  } catch (const VbError&) {  // NOLINT(bugprone-empty-catch): the walk goes on by design
  }
}

// The number the digits at the start of text spell; 0 when it starts with
// none. A fraction, a sign or blanks end the number (or give 0), unlike Val.
double LeadingDigits(std::string_view text) {
  double value = 0;
  for (char c : text) {
    if (c < '0' || c > '9') break;
    value = value * 10 + (c - '0');
  }
  return value;
}
}  // namespace

std::string Utils::DisplayFileSizeText(int32_t size) {
  Frame frame(ctx_, kModule, "DisplayFileSizeText");
  return frame.Run(std::string(), [&]() -> std::string {
    const double value = size;
    if (size == 0) return "";
    if (size < 1000) return Format(value, "###,##0 Bytes", ctx_.locale());
    if (size < 1000000) return Format(value / 1000.0, "###,##0 Kb", ctx_.locale());
    if (size < 1000000000) return Format(value / 1000000.0, "###,##0 Mb", ctx_.locale());
    return Format(value / 1000000000.0, "###,##0.000 Gb", ctx_.locale());
  });
}

Ref<MAPIFolder> Utils::GetFolder(const Ref<NameSpace>& nameSpace, const std::string& path) {
  Frame frame(ctx_, kModule, "GetFolder");
  return frame.Run(Ref<MAPIFolder>(), [&](Ref<MAPIFolder>& result) {
    if (path.empty()) return;
    const auto parts = Split(path, "\\");
    size_t i = 0;
    while (i < parts.size() && (parts[i].empty() || parts[i] == "Outlook:"))
      ++i;
    if (i == parts.size()) return;  // no name at all

    Ref<MAPIFolder> folder;
    PassOver([&] { folder = nameSpace->Folders()->Item(parts[i]); });
    for (++i; i < parts.size(); ++i) {
      const std::string& part = parts[i];
      if (!part.empty() && part[0] == '~') break;  // a marker, not a folder
      PassOver([&] { folder = folder->Folders()->Item(part); });
      if (folder.IsNothing()) {
        frame.ErrorText = part + " not found";
        break;
      }
    }
    result = folder;
  });
}

std::string Utils::FolderTypeName(int32_t itemType) {
  Frame frame(ctx_, kModule, "FolderTypeName");
  return frame.Run(std::string(), [&]() -> std::string {
    switch (itemType) {
      case 0:  // mail
      case 6:  // post
        return "Mail and Post";
      case 1:
        return "Calendar";
      case 2:  // contact
      case 7:  // distribution list
        return "Contacts";
      case 3:
        return "Tasks";
      case 4:
        return "Journal";
      case 5:
        return "Notes";
      default:
        return "";
    }
  });
}

bool Utils::ValidateFolderFormat(const std::string& format) {
  Frame frame(ctx_, kModule, "ValidateFolderFormat");
  return frame.Run(false, [&](bool& result) {
    if (format.empty()) return;
    const Date testDate = DateSerial(1963, 9, 22);
    for (const auto& part : Split(format, "'")) {
      if (part.empty() || (part[0] != '@' && part[0] != '$')) continue;
      if (Format(testDate, std::string_view(part).substr(1), ctx_.locale()).empty()) return;
      result = true;
    }
  });
}

int32_t Utils::CalculateSeconds(int32_t count, const std::string& units) {
  Frame frame(ctx_, kModule, "CalculateSeconds");
  return frame.Run(int32_t{0}, [&]() -> int32_t {
    static constexpr std::array<std::pair<std::string_view, int32_t>, 7> kFactors{{
        {"Year", 1314000},
        {"Quarter", 328500},
        {"Month", 109500},
        {"Week", 604800},
        {"Day", 86400},
        {"Hour", 3600},
        {"Minute", 60},
    }};
    if (units == "Seconds" || units == "Second") return 1;
    for (const auto& [name, factor] : kFactors) {
      if (units == name ||
          (units.size() == name.size() + 1 && units.starts_with(name) && units.back() == 's')) {
        return CLng(static_cast<int64_t>(count) * factor);
      }
    }
    return 0;
  });
}

std::string Utils::TrimAll(const std::string& text) {
  Frame frame(ctx_, kModule, "TrimAll");
  return frame.Run(std::string(), [&] {
    // Copied a run at a time between the removed characters, which are all
    // control characters or the blank: most characters pass on one test.
    std::string out;
    out.reserve(text.size());
    size_t run = 0;
    for (size_t i = 0; i < text.size(); ++i) {
      if (static_cast<unsigned char>(text[i]) > ' ' || !TrimsAway(text[i])) continue;
      out.append(text, run, i - run);
      run = i + 1;
    }
    out.append(text, run, std::string::npos);
    return out;
  });
}

Date Utils::CDateLocale(const std::string& text, int32_t order) {
  Frame frame(ctx_, kModule, "CDateLocale");
  return frame.Run(Date(), [&]() -> Date {
    const auto parts = Split(text, "/");
    if (parts.size() != 3) return Date();
    std::array<double, 3> n{LeadingDigits(parts[0]), LeadingDigits(parts[1]),
                            LeadingDigits(parts[2])};
    for (double v : n) {
      if (v == 0) return Date();
    }
    switch (order) {
      case 0:
        return DateSerial(CInt(n[2]), CInt(n[1]), CInt(n[0]));
      case 1:
        return DateSerial(CInt(n[2]), CInt(n[0]), CInt(n[1]));
      default:
        return Date();
    }
  });
}

}  // namespace vellix

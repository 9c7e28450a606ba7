#pragma once

#include <cstdint>
#include <string>

#include "foundation/context.h"
#include "foundation/date.h"
#include "foundation/outlook.h"
#include "foundation/ref.h"

namespace vellix {

// Rules used in several places: the text of a size, the walk of a mail folder
// path, the name of a folder's item kind, the test of a store-name format, the
// length of a period in seconds, the cleaning of a text and the reading of a
// date with a fixed order of its parts. Each reports to the log as "Utils".
class Utils {
 public:
  explicit Utils(Context& ctx) : ctx_(ctx) {}

  // "" for 0; Bytes below 1000 (and below 0), then Kb, Mb and Gb by decimal
  // division; only Gb shows three decimals; rounded by the format.
  std::string DisplayFileSizeText(int32_t size);
  // The folder a path names, "\\Store\Inbox\Sub" or "Outlook:\Store\Inbox",
  // walking on past a missing level and stopping at a part that begins "~".
  Ref<MAPIFolder> GetFolder(const Ref<NameSpace>& nameSpace, const std::string& path);
  // The item-type text agents use as their MonitorType.
  std::string FolderTypeName(int32_t itemType);
  // True when the store-name format holds at least one date token ('@...' or '$...').
  bool ValidateFolderFormat(const std::string& format);
  // Count times the unit's seconds, in 32-bit arithmetic; overflow gives 0.
  int32_t CalculateSeconds(int32_t count, const std::string& units);
  // The text without blanks, tabs, line ends, form feeds, vertical tabs,
  // backspaces and zero characters, wherever they stand.
  std::string TrimAll(const std::string& text);
  // Whether TrimAll takes the character out.
  static constexpr bool TrimsAway(char c) {
    switch (c) {
      case ' ':
      case '\t':
      case '\r':
      case '\n':
      case '\f':
      case '\0':
      case '\v':
      case '\b':
        return true;
      default:
        return false;
    }
  }
  // A date written with "/" in the given order (0 day/month/year, 1
  // month/day/year), whatever the machine's locale says; else the zero date.
  Date CDateLocale(const std::string& text, int32_t order);

 private:
  Context& ctx_;
};

}  // namespace vellix

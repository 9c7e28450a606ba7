// The periods that filing needs: the one holding an item's date, made with
// its store file on first use.
#include <algorithm>

#include "foundation/format.h"
#include "foundation/text.h"
#include "servers/engine/engine_core.h"
#include "servers/engine/period_calendar.h"
#include "servers/engine/store_file.h"

namespace vellix::engine {

PeriodData* EngineCore::EnsurePeriodFor(Date when, std::string* why) {
  auto lock = Lock();
  const auto holding = [&]() -> PeriodData* {
    for (auto& period : data_.periods) {
      if (period.start <= when && when < period.end) return &period;
    }
    return nullptr;
  };
  if (PeriodData* period = holding()) return period;
  const EngineSettings& s = data_.settings;
  if (Trim(s.storeLocation).empty()) {
    *why = "No store location is set, so no period store can be made";
    return nullptr;
  }
  // A format from an edited file is taken as it stands, but a store is a
  // file of the store folder itself, never one below it or beside it.
  if (std::string leaves; StoreNameLeavesFolder(s.periodFormat, Locale::English(), &leaves)) {
    *why = "No period store is made: the store name format \"" + s.periodFormat +
           "\" would name a file outside the store folder (" + leaves + ")";
    return nullptr;
  }
  PeriodSpan span;
  std::string name;
  try {
    span = PeriodCovering(s.referenceDate, s.periodCount, s.periodUnits, when);
    name = Trim(ExpandStoreName(s.periodFormat, span, Locale::English()));
  } catch (const VbError& e) {
    *why = "The period of the date can't be worked out: " + e.Description();
    return nullptr;
  }
  // A format from an edited file may still give a name no file can have.
  std::replace_if(name.begin(), name.end(), IsForbiddenInFileName, '-');
  if (name.empty()) name = "Period";
  name = FreePeriodName(name);

  const std::string fileName = JoinLogic(s.storeLocation, name + ".pst");
  const auto native = Native(fileName);
  // The file is made with the lock let go (unless the caller holds it too),
  // so that whoever reads the data meanwhile does not wait for the disk.
  lock.unlock();
  std::error_code ec;
  std::filesystem::create_directories(native.parent_path(), ec);
  std::string error;
  // A store left from before (a reset configuration) is taken up again.
  const bool made = CreateStoreFile(native, name, span.start, span.end, &error) ||
                    InspectStoreFile(native).isStore;
  lock.lock();
  // Someone else may have made the period meanwhile, with this very file.
  if (PeriodData* period = holding()) return period;
  if (!made) {
    *why = "The store file " + fileName + " can't be made: " + error;
    return nullptr;
  }
  PeriodData period;
  period.name = name;
  period.fileName = fileName;
  period.start = span.start;
  period.end = span.end;
  data_.periods.push_back(std::move(period));
  Save();
  ShowStore(data_.periods.back());
  return &data_.periods.back();
}

}  // namespace vellix::engine

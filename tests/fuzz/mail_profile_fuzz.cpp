// The mail profile's file: any text loads or is refused with a reason, and a
// profile loaded is written to a file that loads to the same profile.
#include "fuzz/fuzz_driver.h"
#include "platform/outlook/profile_folder.h"
#include "platform/outlook/profile_xml.h"

namespace {

// The bytes of the messages an item's size asks to render, below a folder.
int64_t RenderedBytes(const vellix::outlook::ProfileFolder& folder) {
  int64_t bytes = 0;
  for (const auto& item : folder.Items())
    bytes += item.size;
  for (const auto& child : folder.SubFolders())
    bytes += RenderedBytes(*child);
  return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using vellix::fuzz::Check;
  const auto load = vellix::outlook::LoadProfileText(vellix::fuzz::Text(data, size), "fuzz");
  if (!load.profile) {
    Check(!load.problem.empty(), "a profile refused without a reason");
    return 0;
  }
  // An item's size is how long its rendered message is, up to 2 GB by
  // design; writing such a profile is checked only while its messages stay
  // small. Past a few lines a message only grows by filler, which costs
  // time and finds nothing, so 4 KB is the bound.
  int64_t rendered = 0;
  for (const auto& store : load.profile->Stores())
    rendered += RenderedBytes(*store);
  if (rendered > (int64_t{1} << 12)) return 0;
  const std::string written = vellix::outlook::ProfileToXml(*load.profile);
  const auto back = vellix::outlook::LoadProfileText(written, "written");
  Check(back.profile != nullptr, "the written profile does not load",
        back.problem + "\n" + written);
  const std::string again = vellix::outlook::ProfileToXml(*back.profile);
  if (again != written) {
    Check(false, "the profile changed on its way through the file",
          written + "\n-- read back, it is written as --\n" + again);
  }
  return 0;
}

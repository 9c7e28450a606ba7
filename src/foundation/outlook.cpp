#include "foundation/outlook.h"

#include <string>
#include <utility>

#include "foundation/vb_error.h"

namespace vellix {

namespace {

// The items of a folder that holds no new items: a store's top, a folder of
// another program's mail.
class RefusingItems : public OutlookItems {
 public:
  explicit RefusingItems(std::string folder) : folder_(std::move(folder)) {}
  Ref<MailItem> Add(int32_t /*itemType*/) override {
    throw VbError(kOutlookOperationRefused,
                  "The folder \"" + folder_ + "\" cannot hold new items.");
  }

 private:
  std::string folder_;
};

}  // namespace

Ref<OutlookItems> MAPIFolder::NewItems() {
  return MakeRef<RefusingItems>(Name());
}

}  // namespace vellix

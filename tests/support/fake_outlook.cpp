#include "support/fake_outlook.h"

#include "foundation/vb_error.h"

namespace vellix::test {

namespace {

class FakeFolders : public OutlookFolders {
 public:
  explicit FakeFolders(std::vector<std::shared_ptr<FakeFolder>> items) : items_(std::move(items)) {}
  int32_t Count() override { return static_cast<int32_t>(items_.size()); }
  Ref<MAPIFolder> Item(int32_t index) override {
    if (index < 1 || index > Count()) throw VbError(kOutlookNotFound, "Array index out of bounds");
    return Ref<MAPIFolder>(items_[static_cast<size_t>(index - 1)]);
  }
  Ref<MAPIFolder> Item(const std::string& name) override {
    for (const auto& f : items_) {
      if (f->Name() == name) return Ref<MAPIFolder>(f);
    }
    throw VbError(kOutlookNotFound, "The operation failed. An object could not be found.");
  }

 private:
  std::vector<std::shared_ptr<FakeFolder>> items_;
};

}  // namespace

Ref<OutlookFolders> FakeFolder::Folders() {
  return MakeRef<FakeFolders>(children);
}

std::shared_ptr<FakeFolder> FakeFolder::Add(const std::string& name, int32_t itemType) {
  auto child = std::make_shared<FakeFolder>(name, path_ + "\\" + name, itemType);
  children.push_back(child);
  return child;
}

std::shared_ptr<FakeFolder> FakeNameSpace::AddStore(const std::string& name) {
  auto store = std::make_shared<FakeFolder>(name, "\\\\" + name, 0);
  stores.push_back(store);
  return store;
}

Ref<OutlookFolders> FakeNameSpace::Folders() {
  return MakeRef<FakeFolders>(stores);
}

Ref<MAPIFolder> FakeNameSpace::GetDefaultFolder(int32_t folderType) {
  for (const auto& [type, folder] : defaults) {
    if (type == folderType) return Ref<MAPIFolder>(folder);
  }
  throw VbError(kOutlookNotFound, "The operation failed.");
}

}  // namespace vellix::test

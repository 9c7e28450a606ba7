#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "foundation/outlook.h"

namespace vellix::test {

// A small in-memory folder tree answering the mail program's interfaces.
class FakeFolder : public MAPIFolder, public std::enable_shared_from_this<FakeFolder> {
 public:
  FakeFolder(std::string name, std::string path, int32_t itemType)
      : name_(std::move(name)), path_(std::move(path)), itemType_(itemType) {}

  std::string Name() override { return name_; }
  std::string FolderPath() override { return path_; }
  int32_t DefaultItemType() override { return itemType_; }
  int32_t ItemCount() override { return itemCount; }
  Ref<OutlookFolders> Folders() override;

  // Adds a sub-folder and returns it.
  std::shared_ptr<FakeFolder> Add(const std::string& name, int32_t itemType = 0);

  std::vector<std::shared_ptr<FakeFolder>> children;
  int32_t itemCount = 0;

 private:
  std::string name_;
  std::string path_;
  int32_t itemType_;
};

class FakeNameSpace : public NameSpace {
 public:
  // Adds a store: a top folder named after it.
  std::shared_ptr<FakeFolder> AddStore(const std::string& name);

  Ref<OutlookFolders> Folders() override;
  Ref<MAPIFolder> GetDefaultFolder(int32_t folderType) override;
  // Gives `picked` once, then nothing, as a user who cancels.
  Ref<MAPIFolder> PickFolder() override { return std::exchange(picked, nullptr); }

  std::vector<std::shared_ptr<FakeFolder>> stores;
  std::vector<std::pair<int32_t, std::shared_ptr<FakeFolder>>> defaults;
  Ref<MAPIFolder> picked;
};

}  // namespace vellix::test

#include "platform/outlook/mail_profile.h"

#include <algorithm>
#include <system_error>
#include <utility>

#include "foundation/text.h"
#include "foundation/vb_error.h"

namespace vellix::outlook {

std::shared_ptr<ProfileFolder> MailProfile::AddStore(const std::string& name,
                                                     const std::string& file) {
  if (Store(name)) {
    throw VbError(kOutlookOperationFailed, "A store named \"" + name + "\" is open already.");
  }
  auto store = ProfileFolder::MakeStore(name, file);
  stores_.push_back(store);
  return store;
}

std::shared_ptr<ProfileFolder> MailProfile::Store(std::string_view name) const {
  for (const auto& store : stores_) {
    if (EqualsText(store->Name(), name)) return store;
  }
  return nullptr;
}

std::shared_ptr<ProfileFolder> MailProfile::DefaultFolder(int32_t kind) const {
  auto it = defaults_.find(kind);
  return it == defaults_.end() ? nullptr : it->second.lock();
}

void MailProfile::DefaultFolder(int32_t kind, const std::shared_ptr<ProfileFolder>& folder) {
  if (folder) {
    defaults_[kind] = folder;
  } else {
    defaults_.erase(kind);
  }
}

std::vector<int32_t> MailProfile::DefaultKinds() const {
  std::vector<int32_t> kinds;
  for (const auto& [kind, folder] : defaults_) {
    if (!folder.expired()) kinds.push_back(kind);
  }
  return kinds;
}

std::shared_ptr<ProfileFolder> MailProfile::FindFolder(std::string_view folderPath) const {
  if (folderPath.substr(0, 2) != "\\\\") return nullptr;
  const auto parts = Split(folderPath.substr(2), "\\");
  if (parts.empty()) return nullptr;
  auto folder = Store(parts[0]);
  for (size_t i = 1; folder && i < parts.size(); ++i)
    folder = folder->SubFolder(parts[i]);
  return folder;
}

int32_t MailProfile::FolderCount() const {
  int32_t count = 0;
  for (const auto& store : stores_)
    count += store->DescendantCount();
  return count;
}

int64_t MailProfile::ItemCount() const {
  int64_t count = 0;
  for (const auto& store : stores_)
    count += store->TotalItemCount();
  return count;
}

namespace {

// The same file, also when the two paths spell it differently.
bool SameFile(const std::filesystem::path& a, const std::filesystem::path& b) {
  std::error_code ec;
  if (std::filesystem::equivalent(a, b, ec)) return true;
  return a.lexically_normal() == b.lexically_normal();
}

}  // namespace

void MailProfile::ReadStoreFilesWith(std::shared_ptr<StoreFileReader> reader) {
  reader_ = std::move(reader);
}

const MailProfile::ListedStore* MailProfile::FindListed(const std::filesystem::path& file) const {
  auto it = std::find_if(listed_.begin(), listed_.end(),
                         [&](const ListedStore& l) { return SameFile(l.file, file); });
  return it == listed_.end() ? nullptr : &*it;
}

bool MailProfile::ListStoreFile(const std::string& name, const std::filesystem::path& file,
                                std::string* why) {
  if (FindListed(file) != nullptr) return true;
  ListedStore listed{name, file, nullptr, nullptr};
  if (running_ && !OpenListed(listed, why)) return false;
  listed_.push_back(std::move(listed));
  return true;
}

void MailProfile::UnlistStoreFile(const std::filesystem::path& file) {
  for (auto it = listed_.begin(); it != listed_.end(); ++it) {
    if (!SameFile(it->file, file)) continue;
    CloseListed(*it);
    listed_.erase(it);
    return;
  }
}

bool MailProfile::HoldsStoreFile(const std::filesystem::path& file) const {
  const ListedStore* listed = FindListed(file);
  return listed != nullptr && listed->hold != nullptr;
}

bool MailProfile::OpenListed(ListedStore& listed, std::string* why) {
  std::string problem;
  if (!reader_) {
    problem = "There is nothing to open the store file " + listed.file.string() + " with.";
  } else if (Store(listed.name)) {
    problem = "A store named \"" + listed.name + "\" is open already.";
  } else if (auto folderProblem = ProfileFolder::NameProblem(listed.name); !folderProblem.empty()) {
    problem = folderProblem;
  } else {
    auto top = ProfileFolder::MakeStore(listed.name, listed.file.string());
    if (auto hold = reader_->Open(listed.file, *top, &problem)) {
      stores_.push_back(top);
      listed.top = std::move(top);
      listed.hold = std::move(hold);
      return true;
    }
  }
  if (why != nullptr) *why = problem;
  return false;
}

void MailProfile::CloseListed(ListedStore& listed) {
  if (listed.top) std::erase(stores_, listed.top);
  listed.top.reset();
  listed.hold.reset();
}

void MailProfile::Quit() {
  for (auto& listed : listed_)
    CloseListed(listed);
  running_ = false;
}

void MailProfile::Start() {
  if (running_) return;
  running_ = true;
  // A store file that went missing or bad while the program was closed
  // stays listed, shut, as the mail program keeps a store it can't find.
  for (auto& listed : listed_)
    OpenListed(listed, nullptr);
}

const std::vector<DefaultFolderSpec>& EnglishDefaultFolders() {
  static const std::vector<DefaultFolderSpec> folders = {
      {6, "Inbox", 0},   {5, "Sent Items", 0}, {3, "Deleted Items", 0},
      {16, "Drafts", 0}, {9, "Calendar", 1},   {10, "Contacts", 2},
      {13, "Tasks", 3},  {12, "Notes", 5},     {11, "Journal", 4},
  };
  return folders;
}

}  // namespace vellix::outlook

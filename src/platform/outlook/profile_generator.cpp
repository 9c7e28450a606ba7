#include "platform/outlook/profile_generator.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <random>
#include <string_view>
#include <vector>

#include "platform/outlook/profile_message.h"

namespace vellix::outlook {

namespace {

constexpr std::array<std::string_view, 20> kMailFolderNames = {
    "Projects", "Clients",   "Receipts",  "Newsletters", "Travel",   "Family",   "Team",
    "Invoices", "Suppliers", "Hiring",    "Board",       "Support",  "Partners", "Events",
    "Legal",    "Finance",   "Marketing", "Reports",     "Personal", "Old Mail"};
constexpr std::array<std::string_view, 4> kOtherFolderNames = {"Shared", "Personal", "Work", "Old"};
constexpr std::array<std::string_view, 16> kTopics = {
    "quarterly budget",  "website relaunch",  "office move",     "supplier contract",
    "team offsite",      "invoice 4471",      "product roadmap", "holiday rota",
    "server upgrade",    "board pack",        "hiring plan",     "customer feedback",
    "insurance renewal", "training schedule", "press release",   "expense report"};
constexpr std::array<std::string_view, 12> kPeople = {
    "Priya Shah", "Tom Becker",    "Maria Lopez",  "Jonas Weber",  "Aisha Karimi",  "Liam O'Brien",
    "Chen Wei",   "Sophie Martin", "Daniel Novak", "Grace Okafor", "Henrik Larsen", "Olivia Brown"};

constexpr std::array<std::string_view, 8> kAttachmentNames = {
    "Budget 2026.xlsx", "Minutes.docx", "Floor plan.pdf", "Photo.jpg",
    "Contract.pdf",     "Roadmap.pdf",  "Team photo.png", "Expenses.xlsx"};

class Dice {
 public:
  explicit Dice(uint32_t seed) : engine_(seed) {}
  // 0 .. n-1; the engine's raw output keeps results the same everywhere,
  // which the library's distributions don't promise.
  uint32_t Below(uint32_t n) { return n == 0 ? 0 : engine_() % n; }
  template <class Array>
  std::string Pick(const Array& values) {
    return std::string(values[Below(static_cast<uint32_t>(values.size()))]);
  }

 private:
  std::mt19937 engine_;
};

std::string Subject(Dice& dice, int32_t itemType) {
  const auto topic = dice.Pick(kTopics);
  switch (itemType) {
    case 1:
      return "Meeting: " + topic;
    case 2:
    case 7:
      return dice.Pick(kPeople);
    case 3:
      return "Follow up on the " + topic;
    case 4:
      return "Phone call with " + dice.Pick(kPeople);
    case 5:
      return "Notes on the " + topic;
    default: {
      static constexpr std::array<std::string_view, 4> kLeads = {"", "Re: ", "Fwd: ", "Re: "};
      auto capitalised = topic;
      capitalised[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(topic[0])));
      return dice.Pick(kLeads) + capitalised;
    }
  }
}

std::string FreeName(const ProfileFolder& parent, std::string base) {
  if (!parent.SubFolder(base)) return base;
  for (int n = 2;; ++n) {
    auto name = base + " " + std::to_string(n);
    if (!parent.SubFolder(name)) return name;
  }
}

}  // namespace

std::shared_ptr<MailProfile> GenerateProfile(const ProfileRecipe& recipe) {
  Dice dice(recipe.seed);
  auto profile = std::make_shared<MailProfile>();
  auto store = profile->AddStore(recipe.storeName);
  const int32_t folderCount = std::max(recipe.folders, 0);

  std::vector<std::shared_ptr<ProfileFolder>> all;
  std::vector<std::shared_ptr<ProfileFolder>> mail;
  for (const auto& entry : EnglishDefaultFolders()) {
    if (static_cast<int32_t>(all.size()) == folderCount) break;
    auto folder = store->AddFolder(entry.name, entry.itemType);
    profile->DefaultFolder(entry.kind, folder);
    all.push_back(folder);
    if (entry.itemType == 0) mail.push_back(folder);
  }
  while (static_cast<int32_t>(all.size()) < folderCount) {
    // Most extra folders are mail folders that users file into, nested at will.
    const bool underMail = dice.Below(4) != 0;
    const auto& pool = underMail && !mail.empty() ? mail : all;
    const auto parent = pool[dice.Below(static_cast<uint32_t>(pool.size()))];
    const auto base =
        parent->DefaultItemType() == 0 ? dice.Pick(kMailFolderNames) : dice.Pick(kOtherFolderNames);
    auto folder = parent->AddFolder(FreeName(*parent, base), parent->DefaultItemType());
    all.push_back(folder);
    if (folder->DefaultItemType() == 0) mail.push_back(folder);
  }

  if (all.empty()) return profile;
  const Date newest = recipe.newest.IsZero() ? DateSerial(2026, 11, 1) : recipe.newest;
  // Kept within what 32 bits of seconds can count (about 49000 days).
  const auto spanSeconds = static_cast<uint32_t>(std::clamp(recipe.spanDays, 0, 40000)) * 86400U;
  // The mailbox's owner receives the mail and makes the other items.
  const std::string prefix = "Mailbox - ";
  const std::string owner = recipe.storeName.starts_with(prefix)
                                ? recipe.storeName.substr(prefix.size())
                                : recipe.storeName;
  for (int32_t i = 0; i < recipe.items; ++i) {
    auto& folder = *all[dice.Below(static_cast<uint32_t>(all.size()))];
    ProfileItem item;
    item.subject = Subject(dice, folder.DefaultItemType());
    item.received = AddSeconds(newest, -static_cast<double>(dice.Below(spanSeconds)));
    if (folder.DefaultItemType() == 0) item.sender = dice.Pick(kPeople);
    item.recipient = owner;
    // Mostly small; one in ten carries an attachment of up to 1 MB.
    item.size = static_cast<int32_t>(2048 + dice.Below(62 * 1024));
    if (dice.Below(10) == 0) {
      item.size += static_cast<int32_t>(4096 + dice.Below(1024 * 1024));
      item.attachment = dice.Pick(kAttachmentNames);
    }
    // Unique by the item's number, the same for the same seed.
    const CivilTime t = ToCivil(item.received);
    std::array<char, 64> key{};
    (void)std::snprintf(
        key.data(), key.size(), "%04d%02d%02d%02d%02d%02d.%016llx@example.com", t.year, t.month,
        t.day, t.hour, t.minute, t.second,
        static_cast<unsigned long long>(StableHash(std::to_string(recipe.seed) + ":" +
                                                   std::to_string(i) + ":" + recipe.storeName)));
    item.key = key.data();
    folder.AddItem(std::move(item));
  }
  return profile;
}

}  // namespace vellix::outlook

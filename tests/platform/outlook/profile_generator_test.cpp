#include "platform/outlook/profile_generator.h"

#include <gtest/gtest.h>

#include <functional>

#include "platform/outlook/profile_xml.h"

namespace vellix::outlook {
namespace {

ProfileRecipe Recipe(int32_t folders, int32_t items, uint32_t seed) {
  ProfileRecipe recipe;
  recipe.folders = folders;
  recipe.items = items;
  recipe.seed = seed;
  return recipe;
}

TEST(ProfileGenerator, BuildsTheFoldersAndItemsAskedForTheSameEachTime) {
  for (const auto& [folders, items] : {std::pair{0, 10}, {4, 0}, {9, 100}, {250, 5000}}) {
    SCOPED_TRACE(std::to_string(folders) + " folders");
    auto profile = GenerateProfile(Recipe(folders, items, 3));
    EXPECT_EQ(profile->FolderCount(), folders);
    EXPECT_EQ(profile->ItemCount(), folders == 0 ? 0 : items);
    EXPECT_EQ(profile->DefaultKinds().size(), static_cast<size_t>(std::min(folders, 9)));
  }
  auto big = GenerateProfile(Recipe(250, 5000, 3));
  EXPECT_EQ(big->DefaultFolder(6)->FolderPath(), "\\\\Mailbox - Alex Morgan\\Inbox");
  EXPECT_EQ(big->DefaultFolder(11)->DefaultItemType(), 4);
  int deepest = 0;
  std::function<void(const ProfileFolder&, int)> walk = [&](const ProfileFolder& f, int depth) {
    deepest = std::max(deepest, depth);
    for (const auto& item : f.Items()) {
      EXPECT_LE(item.received, DateSerial(2026, 11, 1));
      EXPECT_GE(item.received, DateSerial(2023, 11, 1));
    }
    for (const auto& sub : f.SubFolders())
      walk(*sub, depth + 1);
  };
  walk(*big->Stores()[0], 0);
  EXPECT_GE(deepest, 3) << "folders nest";

  const auto once = ProfileToXml(*GenerateProfile(Recipe(40, 300, 9)));
  EXPECT_EQ(ProfileToXml(*GenerateProfile(Recipe(40, 300, 9))), once);
  EXPECT_NE(ProfileToXml(*GenerateProfile(Recipe(40, 300, 10))), once);
  auto loaded = LoadProfileText(once, "generated");
  ASSERT_NE(loaded.profile, nullptr) << loaded.problem;
  EXPECT_EQ(loaded.profile->ItemCount(), 300);
}

}  // namespace
}  // namespace vellix::outlook

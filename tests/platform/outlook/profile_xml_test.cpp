#include "platform/outlook/profile_xml.h"

#include <gtest/gtest.h>

#include <fstream>
#include <functional>

#include "platform/outlook/profile_generator.h"
#include "platform/outlook/profile_mail_program.h"
#include "support/temp_folder.h"

namespace vellix::outlook {
namespace {

std::string Problem(const std::string& xml) {
  auto loaded = LoadProfileText(xml, "p.xml");
  EXPECT_EQ(loaded.profile, nullptr) << xml;
  return loaded.problem;
}

std::string Wrap(const std::string& body) {
  return "<profile>\n<store name=\"M\">\n" + body + "\n</store>\n</profile>";
}

TEST(ProfileFile, RefusesABrokenProfileSayingWhatAndWhere) {
  struct Case {
    std::string xml;
    std::string says;
  };
  const Case cases[] = {
      {"", "not well-formed XML"},
      {"<profile><store name=\"M\">", "not well-formed XML"},
      {"<!DOCTYPE profile [<!ENTITY x \"y\">]>\n<profile/>", "document type declaration"},
      {"<mailbox/>", "<profile>"},
      {"<profile><store/></profile>", "store without a name"},
      {"<profile><store name=\"M\"/><store name=\"m\"/></profile>", "two stores named"},
      {Wrap("<folder name=\"Inbox\"/><folder name=\"INBOX\"/>"), "two folders named \"INBOX\""},
      {Wrap("<folder name=\"In\\box\"/>"), "backslash"},
      {Wrap("<folder name=\"\"/>"), "can't be named"},
      {Wrap("<folder name=\"X\" type=\"letter\"/>"), "unknown type \"letter\""},
      {Wrap("<folder name=\"A\" default=\"6\"/><folder name=\"B\" default=\"6\"/>"),
       "\\\\M\\A\" is already"},
      {Wrap("<folder name=\"A\" default=\"six\"/>"), "no positive number"},
      {Wrap("<folder name=\"A\"><item subject=\"s\"/></folder>"), "without a date"},
      {Wrap("<folder name=\"A\"><item date=\"2025-02-30\"/></folder>"), "\"2025-02-30\""},
      {Wrap("<folder name=\"A\"><item date=\"2025-01-01T24:00:00\"/></folder>"), "not a date"},
      {Wrap("<folder name=\"A\"><item date=\"2025-01-01\" size=\"-3\"/></folder>"), "size"},
      {Wrap("<item date=\"2025-01-01\"/>"), "<item> inside a store"},
      {Wrap("<folder name=\"A\"><mail/></folder>"), "<mail> inside a folder"},
  };
  for (const auto& c : cases) {
    const auto problem = Problem(c.xml);
    EXPECT_NE(problem.find(c.says), std::string::npos) << c.xml << "\n -> " << problem;
    EXPECT_EQ(problem.rfind("Mail profile \"p.xml\"", 0), 0U) << problem;
  }
  EXPECT_NE(Problem(Wrap("<folder name=\"A\">\n\n<bad/></folder>")).find("line 5"),
            std::string::npos);
}

TEST(ProfileFile, ReadsTypesDefaultsAndItemsAndWritesThemBackTheSame) {
  const std::string xml = Wrap(R"(
    <folder name="Inbox" type="mail" default="6">
      <folder name="Sub">
        <item subject="Fish &amp; chips" date="2025-03-14T09:30:05" from="Tom" size="5120"/>
      </folder>
    </folder>
    <folder name="Calendar" type="1" default="9 22"/>
    <folder name="Odd" type="99" note="passed over"/>)");
  auto loaded = LoadProfileText(xml, "p.xml");
  ASSERT_NE(loaded.profile, nullptr) << loaded.problem;
  const auto& profile = *loaded.profile;
  auto sub = profile.FindFolder("\\\\M\\Inbox\\Sub");
  ASSERT_NE(sub, nullptr);
  EXPECT_EQ(sub->DefaultItemType(), 0) << "a folder holds what its parent holds";
  ASSERT_EQ(sub->Items().size(), 1U);
  const auto& item = sub->Items()[0];
  EXPECT_EQ(item.subject + "|" + item.sender + "|" + std::to_string(item.size),
            "Fish & chips|Tom|5120");
  EXPECT_EQ(item.received, DateTimeSerial(2025, 3, 14, 9, 30, 5));
  EXPECT_EQ(profile.DefaultFolder(9), profile.DefaultFolder(22));
  EXPECT_EQ(profile.DefaultFolder(9)->DefaultItemType(), 1);
  EXPECT_EQ(profile.FindFolder("\\\\M\\Odd")->DefaultItemType(), 99);

  const auto written = ProfileToXml(profile);
  auto again = LoadProfileText(written, "written");
  ASSERT_NE(again.profile, nullptr) << again.problem << "\n" << written;
  EXPECT_EQ(ProfileToXml(*again.profile), written);
  EXPECT_EQ(again.profile->DefaultFolder(22)->FolderPath(), "\\\\M\\Calendar");
}

TEST(ProfileFile, AMissingOrBrokenProfileMeansNoMailProgramUntilItIsMended) {
  const test::TempFolder scratch;
  const auto file = scratch / "profile.xml";
  std::vector<std::string> reported;
  ProfileMailProgram program(file, [&](const std::string& p) { reported.push_back(p); });

  EXPECT_TRUE(program.CreateApplication().IsNothing());
  EXPECT_NE(program.LastProblem().find("there is no such file"), std::string::npos)
      << program.LastProblem();

  std::ofstream(file) << "<profile><store name='M'><folder name='Inbox' default='6'>";
  EXPECT_TRUE(program.CreateApplication().IsNothing());
  EXPECT_NE(program.LastProblem().find("not well-formed"), std::string::npos);
  ASSERT_EQ(reported.size(), 2U);

  std::ofstream(file) << "<profile><store name='M'><folder name='Inbox' default='6'/></store>"
                         "</profile>";
  auto app = program.CreateApplication();
  ASSERT_FALSE(app.IsNothing()) << program.LastProblem();
  EXPECT_TRUE(program.LastProblem().empty());
  EXPECT_EQ(app->GetNamespace("MAPI")->GetDefaultFolder(6)->FolderPath(), "\\\\M\\Inbox");

  // Once read, the profile stays: a broken file later doesn't take it away.
  std::ofstream(file) << "broken";
  EXPECT_FALSE(program.CreateApplication().IsNothing());
  EXPECT_FALSE(ProfileMailProgram(std::shared_ptr<MailProfile>()).CreateApplication());
}

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

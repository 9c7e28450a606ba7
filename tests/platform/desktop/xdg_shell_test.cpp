#include "platform/desktop/xdg_shell.h"

#include <gtest/gtest.h>

#include <map>
#include <optional>

#include "support/temp_folder.h"

namespace vellix::desktop {
namespace {

using vellix::test::WriteText;

TEST(PersonalFolder, IsTheXdgDocumentsFolderWhenOneIsThereAndNothingOtherwise) {
  const vellix::test::TempFolder scratch;
  const auto folder = [&](const std::string& relative) {
    std::filesystem::create_directories(scratch / relative);
    return scratch / relative;
  };
  const auto home = folder("home");
  const PathMapping mapping(scratch.Path() / "data");
  std::map<std::string, std::string> vars{{"HOME", home.string()}};
  auto shellWith = [&] {
    return XdgShell(mapping, nullptr, [&](const std::string& name) -> std::optional<std::string> {
      return vars.contains(name) ? std::optional(vars.at(name)) : std::nullopt;
    });
  };

  EXPECT_EQ(shellWith().PersonalFolder(), std::nullopt);

  folder("home/Documents");
  EXPECT_EQ(shellWith().PersonalFolder(), (home / "Documents").string());

  // The user's own choice in user-dirs.dirs comes first, once it is there.
  WriteText(scratch / "home/.config/user-dirs.dirs",
            "# written by xdg-user-dirs-update\nXDG_DOCUMENTS_DIR=\"$HOME/Dokumente\"\n");
  EXPECT_EQ(shellWith().PersonalFolder(), (home / "Documents").string());
  folder("home/Dokumente");
  EXPECT_EQ(shellWith().PersonalFolder(), (home / "Dokumente").string());

  // Set to the home folder itself, the documents folder is switched off.
  WriteText(scratch / "home/.config/user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"$HOME/\"\n");
  EXPECT_EQ(shellWith().PersonalFolder(), (home / "Documents").string());

  const auto config = folder("config");
  const auto papers = folder("papers");
  WriteText(scratch / "config/user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"" + papers.string() + "\"\n");
  vars["XDG_CONFIG_HOME"] = config.string();
  EXPECT_EQ(shellWith().PersonalFolder(), papers.string());

  vars["XDG_DOCUMENTS_DIR"] = (scratch.Path() / "missing").string();
  EXPECT_EQ(shellWith().PersonalFolder(), papers.string());
  const auto mine = folder("data/drives/c/Users/alex/My Documents");
  vars["XDG_DOCUMENTS_DIR"] = mine.string() + "/";
  EXPECT_EQ(shellWith().PersonalFolder(), "C:\\Users\\alex\\My Documents")
      << "a folder under a drive root reads back as a drive path";

  vars = {{"HOME", "relative/home"}};
  EXPECT_EQ(shellWith().PersonalFolder(), std::nullopt);
}

TEST(BrowseForFolder, GivesTheChosenFolderAsThePanelWritesPathsAndNothingOnCancel) {
  const PathMapping mapping("/data");
  std::vector<std::string> titles;
  std::vector<std::string> starts;
  std::optional<std::filesystem::path> answer = "/data/drives/d/Backups";
  XdgShell shell(mapping, [&](const std::string& title, const std::filesystem::path& start) {
    titles.push_back(title);
    starts.push_back(start.string());
    return answer;
  });

  EXPECT_EQ(shell.BrowseForFolder("Find a folder", "E:\\Old"), "D:\\Backups");
  answer = "/home/alex/Backups";
  EXPECT_EQ(shell.BrowseForFolder("Again", ""), "/home/alex/Backups");
  answer.reset();
  EXPECT_EQ(shell.BrowseForFolder("Cancel me", "/home/alex"), std::nullopt);
  EXPECT_EQ(titles, (std::vector<std::string>{"Find a folder", "Again", "Cancel me"}));
  // The dialog opens at the native folder of the path it was given.
  EXPECT_EQ(starts, (std::vector<std::string>{"/data/drives/e/Old", "", "/home/alex"}));

  EXPECT_EQ(XdgShell(mapping, nullptr).BrowseForFolder("No dialog", ""), std::nullopt);
}

}  // namespace
}  // namespace vellix::desktop

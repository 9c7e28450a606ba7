#include "platform/desktop/xdg_shell.h"

#include <gtest/gtest.h>

#include "scratch_folder.h"

namespace vellix::desktop {
namespace {

TEST(PersonalFolder, IsTheXdgDocumentsFolderWhenOneIsThereAndNothingOtherwise) {
  test::ScratchFolder scratch;
  const auto home = scratch.MakeFolder("home");
  const PathMapping mapping(scratch.Path() / "data");
  std::map<std::string, std::string> vars{{"HOME", home.string()}};
  auto shellWith = [&] { return XdgShell(mapping, nullptr, test::FixedEnvironment(vars)); };

  EXPECT_EQ(shellWith().PersonalFolder(), std::nullopt);

  scratch.MakeFolder("home/Documents");
  EXPECT_EQ(shellWith().PersonalFolder(), (home / "Documents").string());

  // The user's own choice in user-dirs.dirs comes first, once it is there.
  scratch.WriteFile("home/.config/user-dirs.dirs",
                    "# written by xdg-user-dirs-update\nXDG_DOCUMENTS_DIR=\"$HOME/Dokumente\"\n");
  EXPECT_EQ(shellWith().PersonalFolder(), (home / "Documents").string());
  scratch.MakeFolder("home/Dokumente");
  EXPECT_EQ(shellWith().PersonalFolder(), (home / "Dokumente").string());

  // Set to the home folder itself, the documents folder is switched off.
  scratch.WriteFile("home/.config/user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"$HOME/\"\n");
  EXPECT_EQ(shellWith().PersonalFolder(), (home / "Documents").string());

  const auto config = scratch.MakeFolder("config");
  const auto papers = scratch.MakeFolder("papers");
  scratch.WriteFile("config/user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"" + papers.string() + "\"\n");
  vars["XDG_CONFIG_HOME"] = config.string();
  EXPECT_EQ(shellWith().PersonalFolder(), papers.string());

  vars["XDG_DOCUMENTS_DIR"] = (scratch.Path() / "missing").string();
  EXPECT_EQ(shellWith().PersonalFolder(), papers.string());
  const auto mine = scratch.MakeFolder("data/drives/c/Users/alex/My Documents");
  vars["XDG_DOCUMENTS_DIR"] = mine.string() + "/";
  EXPECT_EQ(shellWith().PersonalFolder(), "C:\\Users\\alex\\My Documents")
      << "a folder under a drive root reads back as a drive path";

  vars = {{"HOME", "relative/home"}};
  EXPECT_EQ(shellWith().PersonalFolder(), std::nullopt);
}

TEST(BrowseForFolder, GivesTheChosenFolderAsThePanelWritesPathsAndNothingOnCancel) {
  const PathMapping mapping("/data");
  std::vector<std::string> titles;
  std::optional<std::filesystem::path> answer = "/data/drives/d/Backups";
  XdgShell shell(mapping, [&](const std::string& title) {
    titles.push_back(title);
    return answer;
  });

  EXPECT_EQ(shell.BrowseForFolder("Find a folder"), "D:\\Backups");
  answer = "/home/alex/Backups";
  EXPECT_EQ(shell.BrowseForFolder("Again"), "/home/alex/Backups");
  answer.reset();
  EXPECT_EQ(shell.BrowseForFolder("Cancel me"), std::nullopt);
  EXPECT_EQ(titles, (std::vector<std::string>{"Find a folder", "Again", "Cancel me"}));

  EXPECT_EQ(XdgShell(mapping, nullptr).BrowseForFolder("No dialog"), std::nullopt);
}

}  // namespace
}  // namespace vellix::desktop

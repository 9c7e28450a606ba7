// Store files another program lists in the mail profile: when they are
// opened, held and let go, and what becomes of one that can't be opened.
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>

#include "platform/outlook/mail_profile.h"
#include "platform/outlook/profile_mail_program.h"

namespace vellix::outlook {
namespace {

// Opens the files it was told of, each with one folder, and counts what it holds.
class CountingReader : public StoreFileReader {
 public:
  std::shared_ptr<void> Open(const std::filesystem::path& file, ProfileFolder& top,
                             std::string* why) override {
    if (!readable.contains(file.string())) {
      *why = "no store: " + file.string();
      return nullptr;
    }
    top.AddFolder("Inbox", 0);
    ++held;
    return {&held, [](int* n) { --*n; }};
  }

  std::map<std::string, bool> readable;
  int held = 0;
};

TEST(ProfileStoreFiles, AStoreFileIsHeldWhileTheMailProgramRunsAndLetGoWhenItQuits) {
  auto profile = std::make_shared<MailProfile>();
  profile->AddStore("Mailbox");
  auto reader = std::make_shared<CountingReader>();
  reader->readable = {{"/s/File 2023.pst", true}, {"/s/File 2024.pst", true}};

  std::string why;
  // Without a reader nothing can be opened, and nothing is listed.
  EXPECT_FALSE(profile->ListStoreFile("File 2024", "/s/File 2024.pst", &why));
  EXPECT_EQ(why, "There is nothing to open the store file /s/File 2024.pst with.");
  profile->ReadStoreFilesWith(reader);

  struct Case {
    const char* name;
    const char* file;
    bool listed;
    const char* why;
  };
  const Case cases[] = {
      {"File 2024", "/s/File 2024.pst", true, ""},
      {"File 2024", "/s/../s/File 2024.pst", true, ""},  // the same file: listed once
      {"mailbox", "/s/File 2023.pst", false, "A store named \"mailbox\" is open already."},
      {"Bad\\Name", "/s/File 2023.pst", false, "The folder name \"Bad\\Name\" holds a backslash."},
      {"Notes", "/s/Notes.pst", false, "no store: /s/Notes.pst"},
  };
  for (const auto& c : cases) {
    why.clear();
    EXPECT_EQ(profile->ListStoreFile(c.name, c.file, &why), c.listed) << c.name;
    EXPECT_EQ(why, c.why) << c.name;
  }
  EXPECT_EQ(reader->held, 1);
  EXPECT_TRUE(profile->HoldsStoreFile("/s/./File 2024.pst"));
  EXPECT_TRUE(profile->FindFolder("\\\\File 2024\\Inbox"));

  ProfileMailProgram mail(profile);
  mail.CreateApplication()->Quit();
  EXPECT_EQ(reader->held, 0);
  EXPECT_FALSE(profile->HoldsStoreFile("/s/File 2024.pst"));
  EXPECT_EQ(profile->Stores().size(), 1u);
  // Listed while the mail program is closed: opened when it starts.
  EXPECT_TRUE(profile->ListStoreFile("File 2023", "/s/File 2023.pst", &why));
  EXPECT_EQ(reader->held, 0);
  mail.CreateApplication();
  EXPECT_EQ(reader->held, 2);
  EXPECT_TRUE(profile->HoldsStoreFile("/s/File 2023.pst"));
  mail.CreateApplication();  // a running program opens nothing twice
  EXPECT_EQ(reader->held, 2);

  profile->UnlistStoreFile("/s/File 2024.pst");
  EXPECT_EQ(reader->held, 1);
  EXPECT_FALSE(profile->Store("File 2024"));
  mail.CreateApplication()->Quit();
  mail.CreateApplication();
  EXPECT_FALSE(profile->HoldsStoreFile("/s/File 2024.pst"));
  EXPECT_EQ(reader->held, 1);
}

}  // namespace
}  // namespace vellix::outlook

#include "servers/engine/store_export.h"

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "foundation/date.h"
#include "foundation/vb_error.h"
#include "platform/outlook/profile_generator.h"
#include "platform/outlook/profile_message.h"
#include "servers/engine/store_database.h"
#include "support/expect_vb_error.h"
#include "support/temp_folder.h"

namespace vellix::engine {
namespace {

using vellix::test::ReadText;
using vellix::test::TempFolder;
using vellix::test::WriteText;

// What a mail client's reader makes of an mbox file: per message its subject
// (decoded), date, Message-ID and how many attachments it has, all with bytes.
constexpr const char* kReader = R"(
import email.header, email.utils, mailbox, sys
for m in mailbox.mbox(sys.argv[1]):
    subject = str(email.header.make_header(email.header.decode_header(m['subject'])))
    date = email.utils.parsedate_to_datetime(m['date']).strftime('%Y-%m-%d %H:%M:%S')
    files = [p.get_payload(decode=True) for p in m.walk()
             if p.get_content_disposition() == 'attachment']
    whole = all(files) and not m.defects
    print(subject, date, m['message-id'], len(files), whole, sep='|')
)";

std::string OutputOf(const std::string& command) {
  std::string output;
  FILE* pipe = ::popen(command.c_str(), "r");
  if (pipe == nullptr) return output;
  char buffer[4096];
  while (std::fgets(buffer, sizeof buffer, pipe) != nullptr)
    output += buffer;
  ::pclose(pipe);
  return output;
}

TEST(StoreExport, AMailClientReadsBackEveryMessageOfTheStore) {
  if (std::system("command -v python3 >/dev/null 2>&1") != 0) GTEST_SKIP() << "no python3";
  const TempFolder scratch;
  const auto file = scratch / "File 2026.pst";
  StoreDatabase store =
      StoreDatabase::Create(file, "File 2026", DateSerial(2023, 1, 1), DateSerial(2027, 1, 1));
  outlook::ProfileRecipe recipe;
  recipe.folders = 6;
  recipe.items = 60;
  recipe.seed = 11;
  const auto profile = outlook::GenerateProfile(recipe);
  std::vector<StoreItem> items;
  std::function<void(outlook::ProfileFolder&)> collect = [&](outlook::ProfileFolder& folder) {
    for (const auto& item : folder.Items())
      items.push_back({item.key, folder.FolderPath(), item.received, outlook::MessageText(item)});
    for (const auto& sub : folder.SubFolders())
      collect(*sub);
  };
  collect(*profile->Stores()[0]);
  // A body line that a reader would take for the next message's start, and
  // a subject that is not ASCII.
  outlook::ProfileItem odd;
  odd.subject = "Résumé für Zoë — €5";
  odd.sender = "Zoë Ångström";
  odd.recipient = "Alex Morgan";
  odd.received = DateTimeSerial(2026, 2, 3, 4, 5, 6);
  odd.key = "odd@example.com";
  std::string text = outlook::RenderMessage(odd);
  text += "From here on the body goes on.\r\n>From an earlier quote.\r\n";
  items.push_back({odd.key, "\\\\M\\Inbox", odd.received, text});
  store.FileItems(items, DateSerial(2026, 12, 1));
  const auto mbox = scratch / "out" / "File 2026.mbox";
  std::filesystem::create_directories(mbox.parent_path());
  EXPECT_EQ(ExportStoreToMbox(file, mbox), static_cast<int64_t>(items.size()));
  const std::string written = ReadText(mbox);
  EXPECT_NE(written.find("\n>From here on the body goes on.\n>>From an earlier quote.\n"),
            std::string::npos);
  EXPECT_EQ(written.find('\r'), std::string::npos) << "lines end with LF in an mbox file";
  EXPECT_TRUE(written.starts_with("From ")) << written.substr(0, 80);
  WriteText(scratch / "reader.py", kReader);
  const std::string read =
      OutputOf("PYTHONIOENCODING=utf-8 python3 '" + (scratch / "reader.py").string() + "' '" +
               mbox.string() + "' 2>&1");
  std::string expected;
  store.ForEachItem([&](const StoredItem& item) {
    const auto subject = outlook::HeaderValue(item.message, "Subject");
    const bool attached = item.message.find("Content-Disposition: attachment") != std::string::npos;
    const CivilTime t = ToCivil(item.received);
    char date[32];
    std::snprintf(date, sizeof date, "%04d-%02d-%02d %02d:%02d:%02d", t.year, t.month, t.day,
                  t.hour, t.minute, t.second);
    const std::string plain = item.key == odd.key ? odd.subject : subject;
    expected += plain + "|" + date + "|<" + item.key + ">|" + (attached ? "1" : "0") + "|True\n";
  });
  EXPECT_EQ(read, expected);
  EXPECT_NE(expected.find("|1|True"), std::string::npos) << "some messages carry attachments";
}

TEST(StoreExport, AStoreThatCantBeReadOrAFileThatCantBeWrittenIsSaidSoAndLeavesNothing) {
  const TempFolder scratch;
  const auto store = scratch / "File 2024.pst";
  StoreDatabase::Create(store, "File 2024", DateSerial(2024, 1, 1), DateSerial(2025, 1, 1))
      .FileItem({"k", "\\\\M\\Inbox", DateSerial(2024, 2, 1), "Subject: x\r\n\r\nbody\r\n"},
                DateSerial(2024, 3, 1));
  WriteText(scratch / "notes.pst", "my notes");
  const auto earlier = scratch / "earlier.mbox";
  WriteText(earlier, "what was there");
  struct Case {
    std::filesystem::path store;
    std::filesystem::path mbox;
    std::string says;
  };
  const Case cases[] = {
      {scratch / "missing.pst", earlier, "there is no such file"},
      {scratch / "notes.pst", earlier, "no SQLite database"},
      {store, scratch / "no folder" / "out.mbox", "can't be written"},
      {store, scratch / "notes.pst" / "out.mbox", "can't be written"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.says);
    const std::string raised = test::ErrorDescription([&] { ExportStoreToMbox(c.store, c.mbox); });
    EXPECT_NE(raised.find(c.says), std::string::npos) << raised;
    EXPECT_EQ(ReadText(earlier), "what was there");
  }
  EXPECT_EQ(ReadText(scratch / "notes.pst"), "my notes");
  // A good export replaces what was there; the separator names the sender,
  // or the mailer when there is none.
  EXPECT_EQ(ExportStoreToMbox(store, earlier), 1);
  EXPECT_EQ(ReadText(earlier),
            "From MAILER-DAEMON Thu Feb  1 00:00:00 2024\nSubject: x\n\nbody\n\n");
  EXPECT_EQ(MboxSeparator(" \"Okafor, Grace\" <grace@example.com>",
                          DateTimeSerial(2026, 11, 13, 14, 47, 2)),
            "From grace@example.com Fri Nov 13 14:47:02 2026\n");
}

}  // namespace
}  // namespace vellix::engine

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "foundation/date.h"
#include "foundation/outlook.h"
#include "platform/outlook/mail_outbox.h"
#include "platform/outlook/mail_profile.h"
#include "platform/outlook/profile_mail_program.h"
#include "support/expect_vb_error.h"
#include "support/temp_folder.h"

namespace vellix::outlook {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

// A profile of one mailbox with an Inbox, and the Inbox as the logic gets it.
struct Mailbox {
  Mailbox() {
    auto store = profile->AddStore("Mailbox");
    profile->DefaultFolder(6, store->AddFolder("Inbox", 0));
  }
  Ref<MAPIFolder> Inbox() {
    return program.CreateApplication()->GetNamespace("MAPI")->GetDefaultFolder(6);
  }
  std::shared_ptr<MailProfile> profile = std::make_shared<MailProfile>();
  ProfileMailProgram program{profile};
};

TEST(MailOutbox, OnlyAProfileThatSendsMakesMailAndOnlyMail) {
  Mailbox box;
  EXPECT_VB_ERROR(box.Inbox()->Items()->Add(0), kOutlookOperationRefused);

  test::TempFolder dir;
  box.program.SendMailWith(std::make_shared<MailOutbox>(dir / "outbox"));
  Ref<MailItem> mail = box.Inbox()->Items()->Add(0);
  mail->Subject("Hello");
  EXPECT_EQ(mail->Subject(), "Hello");
  EXPECT_VB_ERROR(box.Inbox()->Items()->Add(1), kOutlookOperationRefused);

  // A missing file or an empty address is refused and leaves the lists as
  // they were.
  test::WriteText(dir / "there.txt", "x");
  mail->Attachments()->Add((dir / "there.txt").string());
  EXPECT_VB_ERROR(mail->Attachments()->Add((dir / "missing.txt").string()),
                  kOutlookOperationRefused);
  EXPECT_VB_ERROR(mail->Recipients()->Add("  "), kOutlookOperationRefused);
  EXPECT_EQ(mail->Attachments()->Count(), 1);
  EXPECT_EQ(mail->Recipients()->Count(), 0);
}

TEST(MailOutbox, SendAsksTheUserAndWritesOneWholeMessageFileOnlyWhenTheyAgree) {
  struct Case {
    const char* name;
    bool recipient;
    bool hasConfirmer;
    bool answer;
    bool sent;
  };
  for (const Case c :
       {Case{"agreed", true, true, true, true}, Case{"declined", true, true, false, false},
        Case{"no recipient", false, true, true, false},
        Case{"nobody to ask", true, false, true, false}}) {
    SCOPED_TRACE(c.name);
    test::TempFolder dir;
    Mailbox box;
    auto outbox = std::make_shared<MailOutbox>(dir / "outbox");
    outbox->TimeFrom([] { return DateTimeSerial(2026, 11, 22, 9, 30, 0); });
    std::vector<std::string> questions;
    if (c.hasConfirmer) {
      outbox->ConfirmSendWith([&](const std::string& text) {
        questions.push_back(text);
        return c.answer;
      });
    }
    int handedOver = 0;
    outbox->HandOverWith([&](const OutgoingMail&, const fs::path&) {
      ++handedOver;
      throw std::runtime_error("no mail program");  // not the sender's problem
    });
    box.program.SendMailWith(outbox);

    Ref<MailItem> mail = box.Inbox()->Items()->Add(0);
    mail->Subject("Report");
    mail->Body("Line one\nLine two");
    if (c.recipient) mail->Recipients()->Add("help@vellix.example");
    const int error = test::ErrorNumber([&] { mail->Send(); });

    std::vector<fs::path> files;
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator(dir / "outbox", ec))
      files.push_back(entry.path());
    if (!c.sent) {
      EXPECT_EQ(error, kOutlookSendFailed);
      EXPECT_THAT(files, IsEmpty());
      EXPECT_EQ(handedOver, 0);
      EXPECT_EQ(questions.size(), c.recipient && c.hasConfirmer ? 1U : 0U);
      continue;
    }
    EXPECT_EQ(error, 0);
    ASSERT_EQ(files.size(), 1U) << "no temporary file stays";
    ASSERT_EQ(questions.size(), 1U);
    EXPECT_THAT(questions[0], HasSubstr(files[0].string()));
    EXPECT_EQ(handedOver, 1);
    const std::string text = test::ReadText(files[0]);
    EXPECT_THAT(text, HasSubstr("\r\nTo: help@vellix.example\r\n"));
    EXPECT_THAT(text, HasSubstr("\r\nDate: Sun, 22 Nov 2026 09:30:00 -0000\r\n"));
    EXPECT_THAT(text, HasSubstr("\r\n\r\nLine one\r\nLine two\r\n"));
    // Sent is sent: the item takes no more changes, and a second mail gets a
    // file of its own.
    EXPECT_VB_ERROR(mail->Subject("Again"), kOutlookOperationRefused);
    Ref<MailItem> second = box.Inbox()->Items()->Add(0);
    second->Recipients()->Add("help@vellix.example");
    second->Send();
    EXPECT_EQ(files[0].filename(), "mail-20261122-093000.eml");
    EXPECT_TRUE(fs::exists(dir / "outbox" / "mail-20261122-093000-2.eml"));
  }
}

}  // namespace
}  // namespace vellix::outlook

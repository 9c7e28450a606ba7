#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "activity/frm_support_message.h"
#include "foundation/config_node.h"
#include "foundation/outlook.h"
#include "platform/outlook/mail_outbox.h"
#include "support/popup/popup_world.h"
#include "support/temp_folder.h"

namespace vellix {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

// A word for a shell: single quotes, with each quote of the text closed,
// escaped and opened again.
std::string Quoted(const std::string& text) {
  std::string out = "'";
  for (char c : text) {
    if (c == '\'') {
      out += "'\\''";
    } else {
      out += c;
    }
  }
  return out + "'";
}

// What Python's email package finds wrong with the mail file, by
// tests/activity/check_mail.py; empty when it reads back as expected.
std::string MailProblems(const fs::path& mail, const std::string& subject, const fs::path& body,
                         const std::vector<std::pair<std::string, fs::path>>& attachments) {
  std::string command =
      "python3 " + Quoted(std::string(VELLIX_SOURCE_DIR) + "/tests/activity/check_mail.py") + " " +
      Quoted(mail.string()) + " " + Quoted(subject) + " " + Quoted(body.string());
  for (const auto& [name, file] : attachments)
    command += " " + Quoted(name) + " " + Quoted(file.string());
  command += " 2>&1";
  FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return "python3 could not be started";
  std::string output;
  std::array<char, 512> buffer{};
  while (fgets(buffer.data(), buffer.size(), pipe) != nullptr)
    output += buffer.data();
  const int status = pclose(pipe);
  if (status != 0 && output.empty())
    output = "check_mail.py failed with status " + std::to_string(status);
  return status == 0 ? std::string() : output;
}

// The control panel running with its Log tab in view; the mail profile sends
// into an outbox in the data folder, the user answers its question with
// `accept`, and no mail program is handed anything but a note.
class SupportMessage : public ::testing::Test {
 protected:
  void SetUp() override {
    dataFolder = w.dir / "userdata";
    fs::create_directories(dataFolder);
    w.services.dataFolder = dataFolder.string();
    outbox = std::make_shared<outlook::MailOutbox>(dataFolder / "outbox");
    outbox->ConfirmSendWith([this](const std::string& text) {
      questions.push_back(text);
      return accept;
    });
    outbox->MapFilesWith([this](const std::string& path) { return w.paths.ToNative(path); });
    outbox->HandOverWith([this](const outlook::OutgoingMail& /*mail*/, const fs::path& eml) {
      handedOver.push_back(eml);
    });
    w.mail->SendMailWith(outbox);
    w.engine->Configured(true);
    w.Start();
    w.config->RootNode()->Commit("");  // the configuration file is there to attach
    w.popup.tabControlOptions.Tabs("Log").Selected(true);
    w.log->records.clear();
  }

  // Opens the support message from the Log panel; inForm is what the user
  // does in it.
  void OpenAndDo(const std::function<void(FrmSupportMessage&)>& inForm) {
    w.host.OnModal("frmSupportMessage",
                   [&](Form& form) { inForm(dynamic_cast<FrmSupportMessage&>(form)); });
    ASSERT_TRUE(w.popup.log.cmdLoSendDiagnostics.UserClick());
  }

  [[nodiscard]] std::vector<fs::path> OutboxFiles() const {
    std::vector<fs::path> files;
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator(dataFolder / "outbox", ec))
      files.push_back(entry.path());
    return files;
  }

  [[nodiscard]] fs::path ProcessLog() const { return dataFolder / "Process Log.txt"; }
  [[nodiscard]] fs::path ErrorLogFile() const { return w.paths.ToNative("ErrorLog.txt"); }

  test::PopupWorld w;
  fs::path dataFolder;
  std::shared_ptr<outlook::MailOutbox> outbox;
  bool accept = true;
  std::vector<std::string> questions;
  std::vector<fs::path> handedOver;
};

TEST_F(SupportMessage, TextsComeFromTheTreeAndTheFormsOwnTextsStandWhereItHasNone) {
  struct Case {
    const char* name;
    bool keysEmptied;
    const char* caption;
    const char* instructions;
    const char* sendNow;
    const char* cancel;
  };
  const char* design =
      "When you press send now you will be prompted by outlook to confirm if you are happy for an "
      "email to be sent.  The file attachments contain debugging information and personal "
      "information will be transfered.";
  for (const Case c :
       {Case{"shipped keys", false, "Send Diagnostics to Vellix Support", design, "Send Now",
             "Cancel"},
        Case{"keys without text", true, "Send Diagnostics", design, "Send Now", "Cancel"}}) {
    SCOPED_TRACE(c.name);
    if (c.keysEmptied) {
      for (const char* key : {"Caption", "lblInstructions", "cmdSendNow", "cmdCancel"})
        w.config->RootNode()
            ->GetNode(std::string(FrmSupportMessage::kTextNode) + key, false, "", Variant())
            ->SetContent(Variant(std::string()));
    }
    OpenAndDo([&](FrmSupportMessage& form) {
      EXPECT_EQ(form.Caption(), c.caption);
      EXPECT_EQ(form.lblTitle.Caption(), "Problem Description");
      EXPECT_EQ(form.lblInstructions.Caption(), c.instructions);
      EXPECT_EQ(form.cmdSendNow.Caption(), c.sendNow);
      EXPECT_EQ(form.cmdCancel.Caption(), c.cancel);
      EXPECT_EQ(form.txtMessage.Text(), "");
      EXPECT_TRUE(form.txtMessage.MultiLine());

      // Top to bottom in their order, the buttons side by side at the right,
      // all inside the window.
      const auto bottom = [](const Control& k) { return k.Top() + k.Height(); };
      EXPECT_LE(bottom(form.lblTitle), form.txtMessage.Top());
      EXPECT_LE(bottom(form.txtMessage), form.lblInstructions.Top());
      EXPECT_LE(bottom(form.lblInstructions), form.cmdSendNow.Top());
      EXPECT_EQ(form.cmdSendNow.Top(), form.cmdCancel.Top());
      EXPECT_LT(form.cmdSendNow.Left() + form.cmdSendNow.Width(), form.cmdCancel.Left());
      EXPECT_EQ(form.cmdCancel.Left() + form.cmdCancel.Width(),
                form.txtMessage.Left() + form.txtMessage.Width());
      EXPECT_LT(bottom(form.cmdCancel), form.Height());
      EXPECT_LT(form.txtMessage.Left() + form.txtMessage.Width(), form.Width());
      form.cmdCancel.UserClick();
    });
  }
  EXPECT_THAT(w.host.History(), testing::Contains("show modal frmSupportMessage"));
  EXPECT_THAT(w.Problems(), IsEmpty());
}

TEST_F(SupportMessage, SendNowMailsTheDescriptionWithTheDiagnosticsThatAreThere) {
  // The whole log goes, not what the box shows; its bytes as they stand.
  std::string log;
  for (int i = 1; i <= 3000; ++i)
    log += "09:30:0" + std::to_string(i % 10) + " Filed item " + std::to_string(i) +
           " from \\\\Mailbox\\Inbox (Grüße)\r\n";
  struct Case {
    const char* name;
    bool errorLogThere;
    const char* description;
  };
  for (const Case c : {Case{"all three files", true, "Archiving stopped.\nIt says: Grüße"},
                       Case{"no error log file", false, "Plain words only."}}) {
    SCOPED_TRACE(c.name);
    std::error_code ec;
    fs::remove_all(dataFolder / "outbox", ec);
    fs::remove(ErrorLogFile(), ec);
    if (c.errorLogThere) test::WriteText(ErrorLogFile(), "2026-11-22 09:30 VellixControl x\n");
    w.popup.log.txtLoEntries.Text(log);
    questions.clear();

    OpenAndDo([&](FrmSupportMessage& form) {
      form.txtMessage.Text(c.description);
      form.cmdSendNow.UserClick();
      EXPECT_FALSE(form.Loaded()) << "a sent mail closes the form";
    });

    EXPECT_EQ(test::ReadText(ProcessLog()), log);
    const auto mails = OutboxFiles();
    ASSERT_EQ(mails.size(), 1U);
    EXPECT_EQ(mails[0].extension(), ".eml");
    ASSERT_EQ(questions.size(), 1U);
    EXPECT_THAT(questions[0], HasSubstr(mails[0].string()));
    EXPECT_THAT(questions[0], HasSubstr(FrmSupportMessage::kSupportAddress));
    EXPECT_EQ(handedOver.back(), mails[0]);

    std::vector<std::pair<std::string, fs::path>> attachments = {
        {"ConfigTree.xml", w.dir / "ConfigTree.xml"}};
    if (c.errorLogThere) attachments.emplace_back("ErrorLog.txt", ErrorLogFile());
    attachments.emplace_back("Process Log.txt", ProcessLog());
    test::TempFolder scratch;
    test::WriteText(scratch / "body.txt", c.description);
    EXPECT_EQ(
        MailProblems(mails[0], "Orvane Vellix Support Request", scratch / "body.txt", attachments),
        "");
    // A file that isn't there is passed over without a word in the log.
    EXPECT_THAT(w.Problems(), IsEmpty());
  }
}

TEST_F(SupportMessage, AMailThatCannotGoLeavesTheFormOpenAndNothingSent) {
  struct Case {
    const char* name;
    bool declined;
    bool folderUnwritable;
    int16_t number;
    bool asked;
  };
  for (const Case c : {Case{"the user declines", true, false, kOutlookSendFailed, true},
                       Case{"the data folder can't be written", false, true, 76, false}}) {
    SCOPED_TRACE(c.name);
    accept = !c.declined;
    questions.clear();
    w.log->records.clear();
    if (c.folderUnwritable) {
      // Below a file no folder can be made, whoever the user is.
      test::WriteText(w.dir / "a-file", "x");
      w.services.dataFolder = (w.dir / "a-file" / "data").string();
    }

    OpenAndDo([&](FrmSupportMessage& form) {
      form.txtMessage.Text("Please help");
      form.cmdSendNow.UserClick();
      EXPECT_TRUE(form.Loaded()) << "the user may try again or cancel";
      EXPECT_EQ(form.txtMessage.Text(), "Please help");
      form.cmdCancel.UserClick();
    });

    EXPECT_THAT(OutboxFiles(), IsEmpty());
    EXPECT_EQ(questions.size(), c.asked ? 1U : 0U);
    ASSERT_FALSE(w.Problems().empty());
    const test::LogRecord last = w.Problems().back();
    EXPECT_EQ(last.module, "frmSupportMessage");
    EXPECT_EQ(last.procedure, "cmdOK_Click");
    EXPECT_EQ(last.number, c.number) << last.message;
    EXPECT_EQ(w.Problems().size(), 1U);
  }
}

TEST_F(SupportMessage, CancelSendsNothingAndLeavesNoFile) {
  w.popup.log.txtLoEntries.Text("a line\r\n");
  OpenAndDo([&](FrmSupportMessage& form) {
    form.txtMessage.Text("never mind");
    form.cmdCancel.UserClick();
    EXPECT_FALSE(form.Loaded());
  });
  EXPECT_FALSE(fs::exists(ProcessLog()));
  EXPECT_FALSE(fs::exists(dataFolder / "outbox"));
  EXPECT_THAT(questions, IsEmpty());
  EXPECT_THAT(handedOver, IsEmpty());
  EXPECT_THAT(w.Problems(), IsEmpty());
}

}  // namespace
}  // namespace vellix

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

// A word for a shell: single quotes, each quote of the text closed, escaped
// and opened again.
std::string Quoted(const std::string& text) {
  std::string out = "'";
  for (char c : text)
    out += c == '\'' ? std::string("'\\''") : std::string(1, c);
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
  FILE* pipe = popen((command + " 2>&1").c_str(), "r");
  if (pipe == nullptr) return "python3 could not be started";
  std::string output;
  std::array<char, 512> buffer{};
  while (fgets(buffer.data(), buffer.size(), pipe) != nullptr)
    output += buffer.data();
  const int status = pclose(pipe);
  if (status == 0) return "";
  return output.empty() ? "check_mail.py failed with status " + std::to_string(status) : output;
}

// The panel running with its Log tab in view; the profile sends into an outbox
// in the data folder, the user answers its question with `accept`, and no mail
// program is handed anything but a note.
class SupportMessage : public ::testing::Test {
 protected:
  void SetUp() override {
    fs::create_directories(dataFolder);
    w.services.dataFolder = dataFolder.string();
    outbox->ConfirmSendWith([this](const std::string& text) {
      questions.push_back(text);
      return accept;
    });
    outbox->MapFilesWith([this](const std::string& path) { return w.paths.ToNative(path); });
    outbox->HandOverWith(
        [this](const outlook::OutgoingMail&, const fs::path& eml) { handedOver.push_back(eml); });
    w.mail->SendMailWith(outbox);
    w.engine->Configured(true);
    w.Start();
    w.config->RootNode()->Commit("");  // the configuration file is there to attach
    w.popup.tabControlOptions.Tabs("Log").Selected(true);
    w.log->records.clear();
  }
  // Opens the support message from the Log panel; inForm is what the user does.
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
  test::PopupWorld w;
  const fs::path dataFolder = w.dir / "userdata";
  const fs::path processLog = dataFolder / "Process Log.txt";
  std::shared_ptr<outlook::MailOutbox> outbox =
      std::make_shared<outlook::MailOutbox>(dataFolder / "outbox");
  bool accept = true;
  std::vector<std::string> questions;
  std::vector<fs::path> handedOver;
};

TEST_F(SupportMessage, TextsComeFromTheTreeAndTheFormsOwnTextsStandWhereItHasNone) {
  for (const bool keysEmptied : {false, true}) {
    SCOPED_TRACE(keysEmptied ? "keys without text" : "shipped keys");
    if (keysEmptied) {
      for (const char* key : {"Caption", "lblInstructions", "cmdSendNow", "cmdCancel"})
        w.config->RootNode()
            ->GetNode(std::string(FrmSupportMessage::kTextNode) + key, false, "", Variant())
            ->SetContent(Variant(std::string()));
    }
    OpenAndDo([&](FrmSupportMessage& form) {
      EXPECT_EQ(form.Caption(),
                keysEmptied ? "Send Diagnostics" : "Send Diagnostics to Vellix Support");
      EXPECT_EQ(form.lblTitle.Caption(), "Problem Description");
      EXPECT_EQ(form.lblInstructions.Caption(),
                "When you press send now you will be prompted by outlook to confirm if you are "
                "happy for an email to be sent.  The file attachments contain debugging "
                "information and personal information will be transfered.");
      EXPECT_EQ(form.cmdSendNow.Caption() + "|" + form.cmdCancel.Caption(), "Send Now|Cancel");
      EXPECT_EQ(form.txtMessage.Text(), "");
      EXPECT_TRUE(form.txtMessage.MultiLine());
      // Top to bottom in order, the buttons side by side at the right, all
      // inside the window.
      const auto bottom = [](const Control& k) { return k.Top() + k.Height(); };
      const auto right = [](const Control& k) { return k.Left() + k.Width(); };
      EXPECT_LE(bottom(form.lblTitle), form.txtMessage.Top());
      EXPECT_LE(bottom(form.txtMessage), form.lblInstructions.Top());
      EXPECT_LE(bottom(form.lblInstructions), form.cmdSendNow.Top());
      EXPECT_EQ(form.cmdSendNow.Top(), form.cmdCancel.Top());
      EXPECT_LT(right(form.cmdSendNow), form.cmdCancel.Left());
      EXPECT_EQ(right(form.cmdCancel), right(form.txtMessage));
      EXPECT_LT(bottom(form.cmdCancel), form.Height());
      EXPECT_LT(right(form.txtMessage), form.Width());
      form.cmdCancel.UserClick();
      EXPECT_FALSE(form.Loaded());
    });
  }
  EXPECT_THAT(w.host.History(), testing::Contains("show modal frmSupportMessage"));
  // Cancel sends nothing and leaves no file.
  EXPECT_FALSE(fs::exists(processLog));
  EXPECT_FALSE(fs::exists(dataFolder / "outbox"));
  EXPECT_THAT(questions, IsEmpty());
  EXPECT_THAT(handedOver, IsEmpty());
  EXPECT_THAT(w.Problems(), IsEmpty());
}

TEST_F(SupportMessage, SendNowMailsTheDescriptionWithTheDiagnosticsThatAreThere) {
  // The whole log goes, not what the box shows; its bytes as they stand.
  std::string log;
  for (int i = 1; i <= 3000; ++i)
    log += "09:30:0" + std::to_string(i % 10) + " Filed item " + std::to_string(i) +
           " from \\\\Mailbox\\Inbox (Grüße)\r\n";
  const fs::path errorLog = w.paths.ToNative("ErrorLog.txt");
  for (const bool errorLogThere : {true, false}) {
    SCOPED_TRACE(errorLogThere ? "all three files" : "no error log file");
    const std::string description =
        errorLogThere ? "Archiving stopped.\nIt says: Grüße" : "Plain words only.";
    std::error_code ec;
    fs::remove_all(dataFolder / "outbox", ec);
    fs::remove(errorLog, ec);
    if (errorLogThere) test::WriteText(errorLog, "2026-11-22 09:30 VellixControl x\n");
    w.popup.log.txtLoEntries.Text(log);
    questions.clear();
    OpenAndDo([&](FrmSupportMessage& form) {
      form.txtMessage.Text(description);
      form.cmdSendNow.UserClick();
      EXPECT_FALSE(form.Loaded()) << "a sent mail closes the form";
    });
    EXPECT_EQ(test::ReadText(processLog), log);
    const auto mails = OutboxFiles();
    ASSERT_EQ(mails.size(), 1U);
    EXPECT_EQ(mails[0].extension(), ".eml");
    ASSERT_EQ(questions.size(), 1U);
    EXPECT_THAT(questions[0], HasSubstr(mails[0].string()));
    EXPECT_THAT(questions[0], HasSubstr(FrmSupportMessage::kSupportAddress));
    EXPECT_EQ(handedOver.back(), mails[0]);
    std::vector<std::pair<std::string, fs::path>> attachments = {
        {"ConfigTree.xml", w.dir / "ConfigTree.xml"}};
    if (errorLogThere) attachments.emplace_back("ErrorLog.txt", errorLog);
    attachments.emplace_back("Process Log.txt", processLog);
    test::TempFolder scratch;
    test::WriteText(scratch / "body.txt", description);
    EXPECT_EQ(
        MailProblems(mails[0], "Orvane Vellix Support Request", scratch / "body.txt", attachments),
        "");
    // A file that isn't there is passed over without a word in the log.
    EXPECT_THAT(w.Problems(), IsEmpty());
  }
}

TEST_F(SupportMessage, AMailThatCannotGoLeavesTheFormOpenAndNothingSent) {
  // The user declines, then the data folder can't be written (below a file no
  // folder can be made, whoever the user is).
  for (const bool declined : {true, false}) {
    SCOPED_TRACE(declined ? "declined" : "unwritable");
    accept = !declined;
    questions.clear();
    w.log->records.clear();
    if (!declined) {
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
    EXPECT_EQ(questions.size(), declined ? 1U : 0U);
    ASSERT_EQ(w.Problems().size(), 1U);
    const test::LogRecord last = w.Problems().back();
    EXPECT_EQ(last.module + "." + last.procedure, "frmSupportMessage.cmdOK_Click");
    EXPECT_EQ(last.number, declined ? kOutlookSendFailed : 76) << last.message;
  }
}

}  // namespace
}  // namespace vellix

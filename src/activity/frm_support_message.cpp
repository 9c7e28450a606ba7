#include "activity/frm_support_message.h"

#include <utility>

#include "foundation/config_node.h"
#include "foundation/desktop.h"
#include "foundation/error_log.h"
#include "foundation/frame.h"
#include "foundation/mail_program.h"
#include "foundation/outlook.h"
#include "foundation/variant.h"

namespace vellix {

namespace {

constexpr const char* kModule = "frmSupportMessage";
constexpr int32_t kInbox = 6;
constexpr int32_t kMailItem = 0;

// A step of the mail whose failure doesn't stop it: the next step runs, and
// nothing is logged.
template <class Step>
void PassOver(Step&& step) {
  try {
    step();
  } catch (const VbError&) {  // NOLINT(bugprone-empty-catch): passed over by design
  }
}

}  // namespace

FrmSupportMessage::FrmSupportMessage(Context& ctx, UiHost& host)
    : Form(host, "frmSupportMessage"),
      lblTitle(*this, "lblTitle"),
      txtMessage(*this, "txtMessage"),
      lblInstructions(*this, "lblInstructions"),
      cmdSendNow(*this, "cmdSendNow"),
      cmdCancel(*this, "cmdCancel"),
      ctx_(ctx) {
  cmdSendNow.Click = [this] { cmdSendNow_Click(); };
  cmdCancel.Click = [this] { cmdCancel_Click(); };
}

void FrmSupportMessage::Design() {
  Caption("Send Diagnostics");
  lblTitle.Caption("Problem Description");
  txtMessage.MultiLine(true);
  txtMessage.ScrollBars(2);
  lblInstructions.Caption(
      "When you press send now you will be prompted by outlook to confirm if you are happy for an "
      "email to be sent.  The file attachments contain debugging information and personal "
      "information will be transfered.");
  cmdSendNow.Caption("Send Now");
  cmdCancel.Caption("Cancel");
  // Escape leaves without sending; Enter stays a new line of the description.
  cmdCancel.Cancel(true);
}

std::string FrmSupportMessage::Text(const std::string& key) const {
  return ctx_.rootNode->GetValue(kTextNode + key).ToString();
}

void FrmSupportMessage::ShowModal(LogText logText) {
  Frame frame(ctx_, kModule, "ShowModal");
  frame.Run([&] {
    logText_ = std::move(logText);
    Show(true);
  });
}

void FrmSupportMessage::Form_Load() {
  Frame frame(ctx_, kModule, "Form_Load");
  frame.Run([&] {
    metrics_ = LayoutMetrics::Read(*ctx_.rootNode, false);
    LayoutForm();
    LoadForm();
  });
}

void FrmSupportMessage::LayoutForm() {
  Frame frame(ctx_, kModule, "LayoutForm");
  frame.Run([&] {
    const LayoutMetrics& m = metrics_;
    // The design texts stand where a key gives nothing; the title keeps its own.
    if (const std::string caption = Text("Caption"); !caption.empty()) Caption(caption);
    if (const std::string text = Text("lblInstructions"); !text.empty()) {
      lblInstructions.Caption(text);
    }
    if (const std::string text = Text("cmdSendNow"); !text.empty()) cmdSendNow.Caption(text);
    if (const std::string text = Text("cmdCancel"); !text.empty()) cmdCancel.Caption(text);

    // One column as wide as a labelled row of the panels.
    const int16_t width =
        Twips(int64_t{m.LabelColumnWidth} + m.Border + int64_t{m.DataColumnWidth});
    lblTitle.Move(m.Border, Twips(int64_t{m.Border} + m.TextOffset), width, m.RowHeight);
    txtMessage.Move(m.Border, Twips(int64_t{m.Border} + m.RowHeight + m.Border), width,
                    Twips(6 * int64_t{m.RowHeight}));
    lblInstructions.Move(m.Border,
                         Twips(int64_t{txtMessage.Top()} + txtMessage.Height() + m.Border), width,
                         Twips(3 * int64_t{m.RowHeight}));

    const int16_t buttonTop =
        Twips(int64_t{lblInstructions.Top()} + lblInstructions.Height() + m.Border);
    cmdCancel.Move(Twips(int64_t{m.Border} + width - m.ButtonWidth), buttonTop, m.ButtonWidth,
                   m.RowHeight);
    cmdSendNow.Move(Twips(int64_t{cmdCancel.Left()} - m.Border - m.ButtonWidth), buttonTop,
                    m.ButtonWidth, m.RowHeight);

    Width(Twips(int64_t{width} + 2 * int64_t{m.Border} + 2 * int64_t{m.FormBLRBorder}));
    Height(Twips(int64_t{buttonTop} + m.RowHeight + m.Border + m.FormTopBorder + m.FormBLRBorder));
  });
}

void FrmSupportMessage::LoadForm() {
  Frame frame(ctx_, kModule, "LoadForm");
  frame.Run([] {});
}

void FrmSupportMessage::cmdSendNow_Click() {
  // The log's readers know the send by the name of an OK button.
  Frame frame(ctx_, kModule, "cmdOK_Click");
  frame.Run([&] {
    Ref<OutlookApplication> application = ctx_.Mail().CreateApplication();
    Ref<NameSpace> nameSpace = application->GetNamespace("MAPI");

    // Beside the user's settings: an installed program's own folder can't
    // be written.
    if (ctx_.services.dataFolder.empty()) throw VbError(err::kPathNotFound);
    const std::string processLog = ctx_.services.dataFolder + "\\" + kProcessLogFile;
    ctx_.Files().WriteTextFile(processLog, logText_ ? logText_() : std::string());

    Ref<MailItem> mail = nameSpace->GetDefaultFolder(kInbox)->Items()->Add(kMailItem);
    mail->Subject(kSubject);
    mail->Body(txtMessage.Text());

    // A missing file leaves the mail with fewer attachments, a refused
    // address leaves it without a recipient, which Send reports.
    PassOver([&] { mail->Attachments()->Add(ctx_.configConnector->ConfigFileName()); });
    PassOver([&] { mail->Attachments()->Add(ctx_.errorConnector->LogFileName()); });
    PassOver([&] { mail->Attachments()->Add(processLog); });
    PassOver([&] { mail->Recipients()->Add(kSupportAddress); });

    mail->Send();
    Unload();
  });
}

void FrmSupportMessage::cmdCancel_Click() {
  Frame frame(ctx_, kModule, "cmdCancel_Click");
  frame.Run([&] { Unload(); });
}

}  // namespace vellix

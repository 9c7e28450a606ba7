#include "dialogs/frm_purge_notice.h"

#include "foundation/agent.h"
#include "foundation/config_node.h"
#include "foundation/engine.h"
#include "foundation/engine_config.h"
#include "foundation/frame.h"
#include "foundation/text.h"
#include "foundation/variant.h"

namespace vellix {

namespace {
constexpr const char* kModule = "frmPurgeNotice";
}  // namespace

FrmPurgeNotice::FrmPurgeNotice(Context& ctx, UiHost& host)
    : Form(host, "frmPurgeNotice"),
      lblDescriptiveTitle(*this, "lblDescriptiveTitle"),
      lblItemCount(*this, "lblItemCount"),
      lblFolder(*this, "lblFolder"),
      lblMessage(*this, "lblMessage"),
      lblQuestion(*this, "lblQuestion"),
      optPurge(*this, "optPurge"),
      optPurgeDontAsk(*this, "optPurgeDontAsk"),
      optDontPurge(*this, "optDontPurge"),
      optDontPurgeDontAsk(*this, "optDontPurgeDontAsk"),
      cmdOK(*this, "cmdOK"),
      tmrTimeout(*this, "tmrTimeout"),
      ctx_(ctx) {
  cmdOK.Click = [this] { cmdOK_Click(); };
  tmrTimeout.Tick = [this] { tmrTimeout_Timer(); };
}

void FrmPurgeNotice::Design() {
  // Design captions double as the defaults of the text keys.
  Caption("Orvane Vellix");
  Width(9300);
  Height(5375);
  lblDescriptiveTitle.Caption(
      "Items that have already been filed for you are about to be deleted from a working "
      "folder.");
  lblDescriptiveTitle.Move(240, 240, 8580, 480);
  lblItemCount.Caption(
      "Agent $AgentName has identified $ItemCount $ItemType(s) to purge from the following "
      "folder:");
  lblItemCount.Move(240, 840, 8580, 480);
  lblFolder.Move(600, 1380, 8220, 285);
  lblMessage.Caption(
      "This selection is based on the Agent configuration.  These Items have already been "
      "filed safely in a Period Store.");
  lblMessage.Move(240, 1800, 8580, 480);
  lblQuestion.Caption("How do you wish to proceed?");
  lblQuestion.Move(240, 2400, 8580, 285);
  optPurge.Caption("Purge Items");
  optPurge.Move(480, 2760, 8340, 285);
  optPurgeDontAsk.Caption("Purge Items and don't ask me this question again");
  optPurgeDontAsk.Move(480, 3060, 8340, 285);
  optDontPurge.Caption("Do not Purge these Items");
  optDontPurge.Move(480, 3360, 8340, 285);
  optDontPurgeDontAsk.Caption(
      "Do not purge these Items and disable Purging from this Agent next time it runs");
  optDontPurgeDontAsk.Move(480, 3660, 8340, 285);
  cmdOK.Caption("OK");
  cmdOK.Move(7605, 4140, 1215, 375);
  // Enter answers with the option that is on, as the time-out would.
  cmdOK.Default(true);
  tmrTimeout.Enabled(false);
}

void FrmPurgeNotice::Details(const Ref<PurgeDetails>& details) {
  Frame frame(ctx_, kModule, "Details");
  frame.Run([&] {
    PurgeRecord record;
    record.ItemCount = details->ItemCount();
    record.ItemType = details->ItemType();
    record.Folder = details->Folder();
    record.AgentName = details->AgentName();
    details_ = std::move(record);
  });
}

PurgeRecord FrmPurgeNotice::Details() {
  Frame frame(ctx_, kModule, "Details");
  return frame.Run(PurgeRecord{}, [&] { return details_; });
}

Ref<MAPIFolder> FrmPurgeNotice::Folder() {
  Frame frame(ctx_, kModule, "Folder");
  return frame.Run(Ref<MAPIFolder>(), [&] { return details_.Folder; });
}

std::string FrmPurgeNotice::ItemType() {
  Frame frame(ctx_, kModule, "ItemType");
  return frame.Run(std::string(), [&] { return details_.ItemType; });
}

std::string FrmPurgeNotice::AgentName() {
  Frame frame(ctx_, kModule, "AgentName");
  return frame.Run(std::string(), [&] { return details_.AgentName; });
}

int32_t FrmPurgeNotice::ItemCount() {
  Frame frame(ctx_, kModule, "ItemCount");
  return frame.Run(int32_t{0}, [&] { return details_.ItemCount; });
}

int32_t FrmPurgeNotice::Result() {
  Frame frame(ctx_, kModule, "Result");
  return frame.Run(int32_t{0}, [&] { return result_; });
}

void FrmPurgeNotice::Form_Load() {
  Frame frame(ctx_, kModule, "Form_Load");
  frame.Run([&] {
    // Until an answer is chosen the engine is told not to purge.
    result_ = 1;
    optionClosedByOK_ = true;
    LoadConfig();
    PopulateForm();
  });
}

std::string FrmPurgeNotice::KeyText(const std::string& key, const std::string& present) {
  return node_->GetNode(key, true, "String", Variant(present))->GetContent().ToString();
}

void FrmPurgeNotice::LoadConfig() {
  Frame frame(ctx_, kModule, "LoadConfig");
  frame.Run([&] {
    node_ = ctx_.rootNode->GetNode(kTextNode, true, "Collection", Variant());
    Caption(KeyText("Form_Caption", Caption()));
    const auto text = [this](Label& label) {
      label.Caption(KeyText(label.Name() + "_Caption", label.Caption()));
      label.ToolTipText(KeyText(label.Name() + "_ToolTip", label.ToolTipText()));
    };
    text(lblDescriptiveTitle);
    text(lblItemCount);
    // The folder line has no caption of its own: it always shows the path.
    lblFolder.Caption(details_.Folder->FolderPath());
    lblFolder.ToolTipText(KeyText("lblFolder_ToolTip", lblFolder.ToolTipText()));
    text(lblMessage);
    text(lblQuestion);
    for (OptionButton* option :
         {&optPurge, &optPurgeDontAsk, &optDontPurge, &optDontPurgeDontAsk}) {
      option->Caption(KeyText(option->Name() + "_Caption", option->Caption()));
      option->ToolTipText(KeyText(option->Name() + "_ToolTip", option->ToolTipText()));
    }
    cmdOK.Caption(KeyText("cmdOK_Caption", cmdOK.Caption()));
    cmdOK.ToolTipText(KeyText("cmdOK_ToolTip", cmdOK.ToolTipText()));
    timeout_ = node_->GetNode("Timeout", true, "Integer", Variant(kDefaultTimeout))
                   ->GetContent()
                   .ToInteger();
  });
}

void FrmPurgeNotice::PopulateForm() {
  Frame frame(ctx_, kModule, "PopulateForm");
  frame.Run([&] {
    // An interval of 0 leaves the timer idle: the dialog waits for the user.
    tmrTimeout.Interval(timeout_);
    tmrTimeout.Enabled(true);
    // The safe answer: an unattended machine never purges from here.
    optDontPurge.Value(true);
    // Each placeholder in any case; each result is the next one's text.
    lblItemCount.Caption(Replace(lblItemCount.Caption(), "$AgentName", details_.AgentName));
    lblItemCount.Caption(
        Replace(lblItemCount.Caption(), "$ItemCount", std::to_string(details_.ItemCount)));
    lblItemCount.Caption(Replace(lblItemCount.Caption(), "$ItemType", details_.ItemType));
    lblFolder.Caption(details_.Folder->FolderPath());
  });
}

void FrmPurgeNotice::LayoutForm() {
  Frame frame(ctx_, kModule, "LayoutForm");
  frame.Run([] {});
}

void FrmPurgeNotice::tmrTimeout_Timer() {
  Frame frame(ctx_, kModule, "tmrTimeout_Timer");
  // Time is up: whatever option is on counts as chosen.
  frame.Run([&] { cmdOK_Click(); });
}

void FrmPurgeNotice::cmdOK_Click() {
  Frame frame(ctx_, kModule, "cmdOK_Click");
  frame.Run([&] {
    optionClosedByOK_ = false;
    SetPurgeNotify();
    Unload();
  });
}

bool FrmPurgeNotice::ChosenAnswer(Answer& answer) const {
  // PurgeNotify: 0 ask each time, 1 purge without asking, 2 stop purging.
  // Result: 0 purge, 1 do not purge.
  if (optPurge.Value()) {
    answer = {0, 0};
  } else if (optPurgeDontAsk.Value()) {
    answer = {1, 0};
  } else if (optDontPurge.Value()) {
    answer = {0, 1};
  } else if (optDontPurgeDontAsk.Value()) {
    answer = {2, 1};
  } else {
    return false;
  }
  return true;
}

void FrmPurgeNotice::SetPurgeNotify() {
  Frame frame(ctx_, kModule, "SetPurgeNotify");
  frame.Run([&] {
    if (Answer answer{}; ChosenAnswer(answer)) {
      // An agent the engine no longer knows is nothing here: the call fails,
      // the trace tells, and the engine is not flushed.
      ctx_.engine->Config()->Agent(details_.AgentName)->PurgeNotify(answer.purgeNotify);
    }
    ctx_.engine->Flush();
  });
}

void FrmPurgeNotice::Form_Unload(bool& /*cancel*/) {
  Frame frame(ctx_, kModule, "Form_Unload");
  frame.Run([&] {
    details_.Folder.Reset();
    tmrTimeout.Enabled(false);
    // Closed by its frame: the answer stays "do not purge" and nothing was written.
    if (!optionClosedByOK_) {
      if (Answer answer{}; ChosenAnswer(answer)) result_ = answer.result;
    }
  });
}

}  // namespace vellix

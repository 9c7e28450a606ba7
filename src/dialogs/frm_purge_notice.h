#pragma once

#include <cstdint>
#include <string>

#include "foundation/context.h"
#include "foundation/controls.h"
#include "foundation/form.h"
#include "foundation/outlook.h"
#include "foundation/purge_details.h"
#include "foundation/ref.h"

namespace vellix {

class ConfigNode;

// The engine's purge question as the notice keeps it: a copy taken when it
// is handed over, so the engine's object may go while the notice is up.
struct PurgeRecord {
  int32_t ItemCount = 0;
  std::string ItemType;
  Ref<MAPIFolder> Folder;
  std::string AgentName;
};

// The question before an agent purges filed items from a working folder. It
// offers four answers and, left alone, answers by itself with the one that is
// on: "do not purge" unless the user moved it. Unlike the other dialogs it
// keeps its design positions and takes only its texts from the tree.
class FrmPurgeNotice : public Form {
 public:
  FrmPurgeNotice(Context& ctx, UiHost& host);

  // The question to show; set before the dialog loads.
  [[nodiscard]] PurgeRecord Details();
  void Details(const Ref<PurgeDetails>& details);
  [[nodiscard]] Ref<MAPIFolder> Folder();
  [[nodiscard]] std::string ItemType();
  [[nodiscard]] std::string AgentName();
  [[nodiscard]] int32_t ItemCount();
  // The answer for the engine: 0 purge, 1 do not purge.
  [[nodiscard]] int32_t Result();
  // Milliseconds before the dialog answers by itself; 0 waits for the user.
  [[nodiscard]] int16_t Timeout() const { return timeout_; }

  Label lblDescriptiveTitle;
  Label lblItemCount;
  Label lblFolder;
  Label lblMessage;
  Label lblQuestion;
  OptionButton optPurge;
  OptionButton optPurgeDontAsk;
  OptionButton optDontPurge;
  OptionButton optDontPurgeDontAsk;
  CommandButton cmdOK;
  Timer tmrTimeout;

  // Texts from the tree, each key made with the design text when missing.
  void LoadConfig();
  // The timer started, the safe answer on, the question's figures filled in.
  void PopulateForm();
  // Writes the chosen answer to the agent, then lets the engine act on it.
  void SetPurgeNotify();
  // The design positions stand: nothing to lay out.
  void LayoutForm();

  void cmdOK_Click();
  void tmrTimeout_Timer();

  // Below the control panel's branch; the keys lie directly in it.
  static constexpr const char* kTextNode = "Componants.VellixControl.Strings";
  static constexpr int16_t kDefaultTimeout = 30000;

 protected:
  void Design() override;
  void Form_Load() override;
  void Form_Unload(bool& cancel) override;

 private:
  // The key's text, made with `present` when the tree has none.
  [[nodiscard]] std::string KeyText(const std::string& key, const std::string& present);
  // The answer of the option that is on, in the dialog's order; false when
  // none is on.
  struct Answer {
    int32_t purgeNotify;
    int32_t result;
  };
  [[nodiscard]] bool ChosenAnswer(Answer& answer) const;

  Context& ctx_;
  PurgeRecord details_;
  Ref<ConfigNode> node_;
  int16_t timeout_ = 0;
  // Set from load until OK runs: still set at unload means the frame closed it.
  bool optionClosedByOK_ = true;
  int32_t result_ = 1;
};

}  // namespace vellix

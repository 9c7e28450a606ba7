// The import wizard's Agents page and its folder survey: the nine agent
// choices, the walk of every folder tree under the chosen roots, and the Run
// grid's button that cycles a row's agent.

#include <cstdint>
#include <cstring>
#include <string>

#include "forms/row_layout.h"
#include "foundation/agent.h"
#include "foundation/config_node.h"
#include "foundation/engine.h"
#include "foundation/engine_config.h"
#include "foundation/frame.h"
#include "foundation/trace_names.h"
#include "foundation/utils.h"
#include "wizard/frm_import_wizard.h"

namespace vellix {

namespace {
constexpr const char* kModule = "frmImportWizard";
constexpr const char* kMailAndPost = "Mail and Post";

// One character of the name tests' text: none for what TrimAll removes, else
// the character in upper case (ASCII letters only).
char* PutKeyChar(char c, char* out) {
  const auto u = static_cast<unsigned char>(c);
  if (u <= ' ' && Utils::TrimsAway(c)) return out;
  *out = static_cast<char>(static_cast<unsigned char>(u - 'a') < 26 ? u - ('a' - 'A') : u);
  return out + 1;
}

// The text the name tests read: the path as TrimAll leaves it, in upper
// case, made in one pass into a buffer that keeps its room between folders.
// Every folder's path is read, and deep paths are long: eight characters go
// at a time where none of them is a blank, a control character or outside
// ASCII, which is nearly everywhere.
void NameKey(const std::string& path, std::string& key) {
  constexpr uint64_t kOnes = 0x0101010101010101ULL;
  constexpr uint64_t kHigh = 0x8080808080808080ULL;
  key.resize(path.size());
  const char* in = path.data();
  char* out = key.data();
  size_t i = 0;
  for (; i + 8 <= path.size(); i += 8) {
    uint64_t x = 0;
    std::memcpy(&x, in + i, 8);
    // A byte below 0x21 or above 0x7F: those eight one by one.
    if ((((x - kOnes * 0x21) | x) & kHigh) != 0) {
      for (size_t k = i; k < i + 8; ++k)
        out = PutKeyChar(in[k], out);
      continue;
    }
    // Bytes of 0x21 to 0x7F: adding keeps within each byte, and its high
    // bit tells a byte from 'a' on, and one past 'z'.
    const uint64_t fromA = x + kOnes * (0x80 - 'a');
    const uint64_t pastZ = x + kOnes * (0x80 - 'z' - 1);
    x ^= (fromA & ~pastZ & kHigh) >> 2;  // 0x20 off each small letter
    std::memcpy(out, &x, 8);
    out += 8;
  }
  for (; i < path.size(); ++i)
    out = PutKeyChar(in[i], out);
  key.resize(static_cast<size_t>(out - key.data()));
}

// Counts the survey's levels; the outermost one is the survey of a root.
class Level {
 public:
  explicit Level(int& depth) : depth_(depth) { ++depth_; }
  ~Level() { --depth_; }
  Level(const Level&) = delete;
  Level& operator=(const Level&) = delete;
  [[nodiscard]] bool Outermost() const { return depth_ == 1; }

 private:
  int& depth_;
};
}  // namespace

void FrmImportWizard::LayoutAgents() {
  Frame frame(ctx_, kModule, "LayoutAgents");
  frame.Run([&] {
    const LayoutMetrics& m = metrics_;
    RowLayout rows(m, node_);
    rows.Row(PlacePage(picAgents, lblAgDescription, rows));
    for (const AgentRow& row : agentRows_) {
      row.label->Caption(rows.Text(row.label->Name()));
      row.label->Move(m.Border, Twips(int64_t{rows.Row()} + m.TextOffset), m.LabelColumnWidth,
                      m.RowHeight);
      rows.PlaceData(*row.combo, m.DataColumnWidth);
      rows.NextRow();
    }

    // The choices: the none text first, then the agents of each one's type.
    const std::string none = Text(".Strings.None");
    for (const AgentRow& row : agentRows_) {
      row.combo->Clear();
      row.combo->AddItem(none);
    }
    for (const Ref<Agent>& agent : ctx_.engine->Config()->Agents()) {
      const std::string type = agent->MonitorType();
      const std::string name = agent->Name();
      if (type == kMailAndPost) {
        // Every mail agent is offered on all four mail choices; only the
        // agents named as the English default folders preselect, and the
        // one named Inbox takes other mail folders too.
        for (const AgentRow& row : agentRows_) {
          if (row.type == type) row.combo->AddItem(name);
        }
        for (const AgentRow& row : agentRows_) {
          if (row.type == type && name == row.preselect) row.combo->Text(name);
        }
        continue;
      }
      // The last agent of a type in the engine's order is the one preselected;
      // an agent of a type without a choice ("Unknown") is offered nowhere.
      for (const AgentRow& row : agentRows_) {
        if (row.type != type) continue;
        row.combo->Text(name);
        row.combo->AddItem(name);
      }
    }
    for (const AgentRow& row : agentRows_) {
      if (row.combo->Text().empty()) row.combo->Text(none);
    }
  });
}

bool FrmImportWizard::ExitAgents() {
  Frame frame(ctx_, kModule, "ExitAgents");
  return frame.Run(false, [&](bool& result) {
    // Made anew on every way out of the page, from the choices as they stand.
    mcolImportList_.Clear();
    Utils utils(ctx_);
    for (int32_t i = 0; i < lstSoRootFolders.ListCount(); ++i) {
      const std::string path = lstSoRootFolders.List(i);
      // A root that can't be found is passed over without a word.
      if (const Ref<MAPIFolder> folder = utils.GetFolder(mobjNamespace_, path))
        SurveyFolder(folder, path);
    }
    picSource.Visible(false);
    picAgents.Visible(false);
    result = true;
  });
}

ComboBox* FrmImportWizard::ChoiceFor(const std::string& typeName, const std::string& key) {
  if (typeName == kMailAndPost) {
    // The whole path counts, store and parents included: a folder below
    // Inbox is Inbox mail. Only the English default names are known.
    if (key.find("INBOX") != std::string::npos) return &cboAgInbox;
    if (key.find("SENTITEMS") != std::string::npos) return &cboAgSentItems;
    if (key.find("DELETEDITEMS") != std::string::npos) return &cboAgDeletedItems;
    return &cboAgOtherMailAndPost;
  }
  for (const AgentRow& row : agentRows_) {
    if (row.type == typeName) return row.combo;
  }
  return nullptr;
}

void FrmImportWizard::SurveyFolder(const Ref<MAPIFolder>& folder, const std::string& rootFolder) {
  // Logs under the page-exit procedure's name, as it always has.
  Frame frame(ctx_, kModule, TraceNames::SurveyFolder);
  frame.Run([&] {
    const Level level(surveyDepth_);
    if (level.Outermost()) {
      // The two texts that mean no agent; the tree can't change mid-walk.
      noneText_ = Text(".Strings.None");
      noAgentText_ = Text(".Strings.ImportWizard.NoAgent");
    }
    Ref<ImportEntry> entry = MakeRef<ImportEntry>(ctx_);
    entry->RootFolder = rootFolder;
    // Every folder after all of its descendants; siblings in the mail
    // program's order; no depth limit.
    const Ref<OutlookFolders> subFolders = folder->Folders();
    const int32_t count = subFolders->Count();
    for (int32_t i = 1; i <= count; ++i)
      SurveyFolder(subFolders->Item(i), rootFolder);

    Utils utils(ctx_);
    std::string typeName = utils.FolderTypeName(folder->DefaultItemType());
    if (typeName.empty()) return;  // no row; what lies below stands
    // One read of the path per folder: the key of the name tests is made
    // from it once, and the row keeps it as it came.
    std::string path = folder->FullFolderPath();
    if (typeName == kMailAndPost) NameKey(path, key_);
    const ComboBox* choice = ChoiceFor(typeName, key_);
    if (choice == nullptr) return;
    entry->Folder = std::move(path);
    entry->FolderTypeName = std::move(typeName);
    entry->Agent = choice->Text();
    entry->Active = entry->Agent != noneText_ && entry->Agent != noAgentText_;
    mcolImportList_.Add(std::move(entry));
  });
}

Collection<std::string> FrmImportWizard::AgentList(const std::string& typeName) {
  Frame frame(ctx_, kModule, "AgentList");
  return frame.Run(Collection<std::string>(), [&](Collection<std::string>& result) {
    // The literal, not the configured none text.
    result.Add("None");
    for (const Ref<Agent>& agent : ctx_.engine->Config()->Agents()) {
      if (typeName == agent->MonitorType()) result.Add(agent->Name());
    }
  });
}

void FrmImportWizard::cmdRuChange_Click() {
  Frame frame(ctx_, kModule, "cmdRuChange_Click");
  frame.Run([&] {
    if (fgcRuImportList.Col() != 2) return;
    // The cell alone changes: the row's entry keeps the agent the survey
    // gave it, and Finish goes by that.
    const Ref<ImportEntry>& entry = mcolImportList_.Item(fgcRuImportList.Row());
    const Collection<std::string> agents = AgentList(entry->FolderTypeName);
    const std::string shown = fgcRuImportList.Text();
    bool found = false;
    for (const std::string& name : agents) {
      if (found) {
        fgcRuImportList.Text(name);
        return;
      }
      found = name == shown;
    }
    // The last one shown: round to the first, "None".
    if (found) fgcRuImportList.Text(agents.Item(1));
  });
}

}  // namespace vellix

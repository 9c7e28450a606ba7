#include "panels/attention_panel.h"

#include "foundation/config_node.h"
#include "foundation/frame.h"

namespace vellix {

void AttentionPanel::LayoutAttention() {
  Frame frame(ctx(), "frmPopup", "LayoutAttention");
  frame.Run([&] {
    ctx().rootNode->GetNode(std::string(kBranch) + ".Strings.ControlPanel.Attention", false, "",
                            Variant());
  });
}

}  // namespace vellix

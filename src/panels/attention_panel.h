#pragma once

#include "forms/panel.h"

namespace vellix {

// The Attention panel (picAt): no content and no tab, so it never shows. Its
// key stays accepted by the tab flow; its layout only fetches its text node
// and its Load is empty.
class AttentionPanel : public Panel {
 public:
  using Panel::Panel;

  void Layout() override { LayoutAttention(); }

  void LayoutAttention();
};

}  // namespace vellix

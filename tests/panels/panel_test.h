#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/agent.h"
#include "foundation/config_node.h"
#include "foundation/engine_config.h"
#include "support/popup/popup_world.h"

namespace vellix::test {

// The window on screen with that tab open, and nothing recorded yet.
inline void OpenTab(PopupWorld& w, const std::string& tab) {
  w.Start();
  EXPECT_TRUE(w.popup.tabControlOptions.UserSelectTab(tab));
  w.log->records.clear();
  w.engine->ClearJournal();
}

// Writes a key of the configuration tree, made of the value's type when missing.
inline void SetKey(PopupWorld& w, const std::string& key, const Variant& value) {
  w.config->RootNode()->GetNode(key, true, value.TypeName(), value)->SetContent(value);
}

inline Ref<Agent> AgentOf(PopupWorld& w, const std::string& nameOrId) {
  Ref<Agent> agent = w.engine->Config()->Agent(nameOrId);
  EXPECT_TRUE(agent) << nameOrId;
  return agent;
}

inline std::vector<std::string> Rows(const ListControl& list) {
  std::vector<std::string> out;
  for (int32_t i = 0; i < list.ListCount(); ++i)
    out.push_back(list.List(i));
  return out;
}

// "module.procedure number" of each problem logged.
inline std::vector<std::string> Traces(const PopupWorld& w) {
  std::vector<std::string> out;
  for (const LogRecord& r : w.Problems())
    out.push_back(r.module + "." + r.procedure + " " + std::to_string(r.number));
  return out;
}

inline void Type(TextBox& box, const std::string& text) {
  ASSERT_TRUE(box.UserSetText(text)) << box.Name();
  box.UserLeave();
}

inline void Pick(ComboBox& combo, const std::string& row) {
  for (int32_t i = 0; i < combo.ListCount(); ++i) {
    if (combo.List(i) == row) {
      ASSERT_TRUE(combo.UserPick(i));
      return;
    }
  }
  FAIL() << "no row " << row << " in " << combo.Name();
}

}  // namespace vellix::test

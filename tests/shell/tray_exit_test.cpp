#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "servers/config/config_server.h"
#include "support/popup/popup_world.h"

namespace vellix {
namespace {

using ::testing::Contains;
using ::testing::IsEmpty;

// What the tray file holds now, read by a server of its own.
std::string Saved(const test::PopupWorld& w, const std::string& key) {
  ConfigServer fresh(w.dir / "ConfigTree.xml", {});
  Ref<ConfigNode> root = fresh.RootNode();
  return root ? root->GetValue(key).ToString() : std::string("(no tree)");
}

TEST(TrayExit, RightClickThenExitCommitsTheTreeAndEndsTheComponent) {
  test::PopupWorld w;
  w.engine->Configured(true);
  w.Start();
  ASSERT_TRUE(w.popup.Visible());
  const std::string key = "Componants.VellixControl.TrayExitMark";
  w.config->RootNode()->GetNode(key, true, "String", Variant("kept"));
  ASSERT_NE(Saved(w, key), "kept") << "not committed before the exit";

  w.host.OnPopup("mPopupSys", [](Menu& menu) { menu.Parent().Get<Menu>("mPopExit").UserClick(); });
  w.popup.UserMouseMove(0, 0, 517.0 * w.services.twipsPerPixelX, 0);  // right button up
  w.host.Pump();

  EXPECT_THAT(w.host.History(), Contains("popup mPopupSys"));
  EXPECT_THAT(w.host.Prompts(), IsEmpty()) << "the tray's Exit asks nothing";
  EXPECT_FALSE(w.popup.Loaded());
  EXPECT_THAT(w.host.History(), Contains("unload frmPopup"));
  EXPECT_EQ(Saved(w, key), "kept");
  // The icon goes before the component ends, as Form_Unload orders them.
  ASSERT_FALSE(w.tray.calls.empty());
  EXPECT_EQ(w.tray.calls.back().action, "Delete");
  const auto& life = w.log->lifecycle;
  const auto icon = std::find(life.begin(), life.end(), "ObjectDestroyed VellixControl TrayIcon");
  const auto ended = std::find(life.begin(), life.end(), "ComponentEnded VellixControl");
  ASSERT_NE(ended, life.end());
  EXPECT_LT(icon, ended);
  EXPECT_THAT(w.Problems(), IsEmpty());
}

}  // namespace
}  // namespace vellix

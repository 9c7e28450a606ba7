#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/control.h"

namespace vellix {

// A strip of tabs, each with a key, a caption and a tool tip. The strip holds
// no controls: a form shows the panel of the selected tab itself.
//
// Selecting another tab, by code (Tabs(key).Selected(true)) or by the user
// (UserSelectTab), raises BeforeClick(cancel) with cancel false; when a
// handler sets it true the selection stays where it was and nothing follows.
// Otherwise the tab becomes the selected one and Click follows. Selecting the
// selected tab raises nothing. The first tab added is selected, quietly.
class TabStrip : public Control {
 public:
  class Tab {
   public:
    Tab(const Tab&) = delete;
    Tab& operator=(const Tab&) = delete;

    [[nodiscard]] const std::string& Key() const { return key_; }
    // Position in the strip, from 1.
    [[nodiscard]] int32_t Index() const;
    [[nodiscard]] const std::string& Caption() const { return caption_; }
    void Caption(std::string value);
    [[nodiscard]] const std::string& ToolTipText() const { return toolTip_; }
    void ToolTipText(std::string value);
    [[nodiscard]] bool Selected() const;
    // True selects the tab as the strip does; false does nothing.
    void Selected(bool value);

   private:
    friend class TabStrip;
    Tab(TabStrip& strip, std::string key, std::string caption, std::string toolTip);

    TabStrip& strip_;
    std::string key_;
    std::string caption_;
    std::string toolTip_;
  };

  TabStrip(Form& form, std::string name, std::string container = {});

  // Adds a tab at the end; a key already there (without regard to case)
  // raises 35602.
  Tab& AddTab(std::string key, std::string caption, std::string toolTip = {});
  [[nodiscard]] int32_t TabCount() const { return static_cast<int32_t>(tabs_.size()); }
  // By position from 1 (35600 outside) or by key (35601 when absent).
  [[nodiscard]] Tab& Tabs(int32_t index) const;
  [[nodiscard]] Tab& Tabs(std::string_view key) const;
  [[nodiscard]] bool HasTab(std::string_view key) const;
  // The selected tab, or nullptr when the strip has none.
  [[nodiscard]] Tab* SelectedItem() const { return selected_; }

  std::function<void(bool& cancel)> BeforeClick;

  // The user clicks a tab; false when the strip can't be reached or has no
  // such tab. True also when a handler cancelled the change.
  bool UserSelectTab(std::string_view key);

 protected:
  [[nodiscard]] bool CanFocus() const override { return true; }
  void ResetProperties() override;

 private:
  void Select(Tab& tab);
  [[nodiscard]] Tab* FindTab(std::string_view key) const;

  std::vector<std::unique_ptr<Tab>> tabs_;
  Tab* selected_ = nullptr;
};

}  // namespace vellix

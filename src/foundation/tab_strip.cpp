#include "foundation/tab_strip.h"

#include <utility>

#include "foundation/text.h"
#include "foundation/vb_error.h"

namespace vellix {

TabStrip::Tab::Tab(TabStrip& strip, std::string key, std::string caption, std::string toolTip)
    : strip_(strip),
      key_(std::move(key)),
      caption_(std::move(caption)),
      toolTip_(std::move(toolTip)) {}

int32_t TabStrip::Tab::Index() const {
  for (size_t i = 0; i < strip_.tabs_.size(); ++i) {
    if (strip_.tabs_[i].get() == this) return static_cast<int32_t>(i) + 1;
  }
  return 0;
}

void TabStrip::Tab::Caption(std::string value) {
  if (SetProperty(caption_, std::move(value))) strip_.Changed("Tabs");
}

void TabStrip::Tab::ToolTipText(std::string value) {
  if (SetProperty(toolTip_, std::move(value))) strip_.Changed("Tabs");
}

bool TabStrip::Tab::Selected() const {
  return strip_.selected_ == this;
}

void TabStrip::Tab::Selected(bool value) {
  if (value) strip_.Select(*this);
}

TabStrip::TabStrip(Form& form, std::string name, std::string container)
    : Control(form, ControlKind::TabStrip, std::move(name), std::move(container)) {}

TabStrip::Tab& TabStrip::AddTab(std::string key, std::string caption, std::string toolTip) {
  if (!key.empty() && FindTab(key) != nullptr) throw VbError(err::kKeyNotUnique);
  tabs_.push_back(
      std::unique_ptr<Tab>(new Tab(*this, std::move(key), std::move(caption), std::move(toolTip))));
  Changed("Tabs");
  if (selected_ == nullptr) {
    selected_ = tabs_.back().get();
    Changed("SelectedItem");
  }
  return *tabs_.back();
}

TabStrip::Tab& TabStrip::Tabs(int32_t index) const {
  if (index < 1 || index > TabCount()) RaiseControlError(ctlerr::kIndexOutOfBounds);
  return *tabs_[static_cast<size_t>(index - 1)];
}

TabStrip::Tab& TabStrip::Tabs(std::string_view key) const {
  Tab* tab = FindTab(key);
  if (tab == nullptr) RaiseControlError(ctlerr::kElementNotFound);
  return *tab;
}

bool TabStrip::HasTab(std::string_view key) const {
  return FindTab(key) != nullptr;
}

bool TabStrip::UserSelectTab(std::string_view key) {
  Tab* tab = FindTab(key);
  if (tab == nullptr || !BeginUserAction()) return false;
  Select(*tab);
  return true;
}

void TabStrip::ResetProperties() {
  selected_ = nullptr;
  tabs_.clear();
}

void TabStrip::Select(Tab& tab) {
  if (selected_ == &tab) return;
  bool cancel = false;
  Tab* const wanted = &tab;
  Fire(BeforeClick, cancel);
  if (cancel) return;
  // A handler may have cleared the strip meanwhile.
  bool stillThere = false;
  for (const auto& t : tabs_)
    stillThere = stillThere || t.get() == wanted;
  if (!stillThere || selected_ == wanted) return;
  selected_ = wanted;
  Changed("SelectedItem");
  Fire(Click);
}

TabStrip::Tab* TabStrip::FindTab(std::string_view key) const {
  for (const auto& tab : tabs_) {
    if (!tab->key_.empty() && EqualsText(tab->key_, key)) return tab.get();
  }
  return nullptr;
}

}  // namespace vellix

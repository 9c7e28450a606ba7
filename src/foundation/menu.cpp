#include "foundation/menu.h"

#include <utility>

#include "foundation/form.h"

namespace vellix {

Menu::Menu(Form& form, std::string name, std::string parentMenu)
    : Control(form, ControlKind::Menu, std::move(name), std::move(parentMenu)) {}

void Menu::Caption(std::string value) {
  if (SetProperty(caption_, std::move(value))) Changed("Caption");
}

void Menu::Checked(bool value) {
  if (SetProperty(checked_, value)) Changed("Checked");
}

std::vector<Menu*> Menu::Items() const {
  std::vector<Menu*> items;
  for (Control* c : Parent().ChildrenOf(Name())) {
    if (c->Kind() == ControlKind::Menu) items.push_back(static_cast<Menu*>(c));
  }
  return items;
}

bool Menu::UserClick() {
  if (!Enabled() || !Visible() || IsSeparator()) return false;
  Fire(Click);
  return true;
}

void Menu::ResetProperties() {
  caption_.clear();
  checked_ = false;
}

}  // namespace vellix

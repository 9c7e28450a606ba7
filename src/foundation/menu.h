#pragma once

#include <string>
#include <vector>

#include "foundation/control.h"

namespace vellix {

// A menu or one entry of a menu. An entry's container is its parent menu's
// name; a caption of "-" makes a separator. A top menu used only as a popup
// may be invisible itself. A user's choice of an entry raises its Click,
// when the entry is enabled and visible.
class Menu : public Control {
 public:
  Menu(Form& form, std::string name, std::string parentMenu = {});

  // "&" marks the access key.
  [[nodiscard]] const std::string& Caption() const { return caption_; }
  void Caption(std::string value);
  [[nodiscard]] bool Checked() const { return checked_; }
  void Checked(bool value);
  [[nodiscard]] bool IsSeparator() const { return caption_ == "-"; }
  // The entries of this menu, in order.
  [[nodiscard]] std::vector<Menu*> Items() const;

  bool UserClick() override;

 protected:
  void ResetProperties() override;

 private:
  std::string caption_;
  bool checked_ = false;
};

}  // namespace vellix

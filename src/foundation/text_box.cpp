#include "foundation/text_box.h"

#include <utility>

namespace vellix {

TextBox::TextBox(Form& form, std::string name, std::string container)
    : Control(form, ControlKind::TextBox, std::move(name), std::move(container)) {}

void TextBox::Text(std::string value) {
  if (!SetProperty(text_, std::move(value))) return;
  Changed("Text");
  Fire(Change);
}

void TextBox::MultiLine(bool value) {
  if (SetProperty(multiLine_, value)) Changed("MultiLine");
}

void TextBox::ScrollBars(int32_t value) {
  if (value < 0 || value > 3) RaiseControlError(ctlerr::kInvalidPropertyValue);
  if (SetProperty(scrollBars_, value)) Changed("ScrollBars");
}

void TextBox::Locked(bool value) {
  if (SetProperty(locked_, value)) Changed("Locked");
}

void TextBox::Alignment(int32_t value) {
  if (value < 0 || value > 2) RaiseControlError(ctlerr::kInvalidPropertyValue);
  if (SetProperty(alignment_, value)) Changed("Alignment");
}

bool TextBox::UserSetText(std::string value) {
  if (locked_ || !BeginUserAction()) return false;
  Text(std::move(value));
  return true;
}

void TextBox::ResetProperties() {
  text_.clear();
  multiLine_ = false;
  scrollBars_ = 0;
  locked_ = false;
  alignment_ = 0;
}

}  // namespace vellix

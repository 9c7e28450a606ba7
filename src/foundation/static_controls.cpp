#include "foundation/static_controls.h"

#include <utility>

namespace vellix {

Label::Label(Form& form, std::string name, std::string container)
    : Control(form, ControlKind::Label, std::move(name), std::move(container)) {}

void Label::Caption(std::string value) {
  if (SetProperty(caption_, std::move(value))) Changed("Caption");
}

void Label::Alignment(int32_t value) {
  if (value < 0 || value > 2) RaiseControlError(ctlerr::kInvalidPropertyValue);
  if (SetProperty(alignment_, value)) Changed("Alignment");
}

void Label::ResetProperties() {
  caption_.clear();
  alignment_ = 0;
}

FrameControl::FrameControl(Form& form, std::string name, std::string container)
    : Control(form, ControlKind::Frame, std::move(name), std::move(container)) {}

void FrameControl::Caption(std::string value) {
  if (SetProperty(caption_, std::move(value))) Changed("Caption");
}

void FrameControl::ResetProperties() {
  caption_.clear();
}

PictureBox::PictureBox(Form& form, std::string name, std::string container)
    : Control(form, ControlKind::PictureBox, std::move(name), std::move(container)) {}

void PictureBox::Picture(std::string value) {
  if (SetProperty(picture_, std::move(value))) Changed("Picture");
}

void PictureBox::BorderStyle(int32_t value) {
  if (value < 0 || value > 1) RaiseControlError(ctlerr::kInvalidPropertyValue);
  if (SetProperty(borderStyle_, value)) Changed("BorderStyle");
}

void PictureBox::ResetProperties() {
  picture_.clear();
  borderStyle_ = 0;
}

}  // namespace vellix

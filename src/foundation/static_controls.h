#pragma once

#include <cstdint>
#include <string>

#include "foundation/control.h"

namespace vellix {

// A text on the form. Click is raised by a user's click only.
class Label : public Control {
 public:
  Label(Form& form, std::string name, std::string container = {});

  [[nodiscard]] const std::string& Caption() const { return caption_; }
  void Caption(std::string value);
  // 0 left, 1 right, 2 centre; any other value raises 380.
  [[nodiscard]] int32_t Alignment() const { return alignment_; }
  void Alignment(int32_t value);

 protected:
  void ResetProperties() override;

 private:
  std::string caption_;
  int32_t alignment_ = 0;
};

// A captioned frame that holds other controls; option buttons in one frame
// form one group. (Named apart from the procedure frame of frame.h.)
class FrameControl : public Control {
 public:
  FrameControl(Form& form, std::string name, std::string container = {});

  [[nodiscard]] const std::string& Caption() const { return caption_; }
  void Caption(std::string value);

 protected:
  void ResetProperties() override;

 private:
  std::string caption_;
};

// A panel that holds other controls and may show a picture (a file or
// picture name; empty for none).
class PictureBox : public Control {
 public:
  PictureBox(Form& form, std::string name, std::string container = {});

  [[nodiscard]] const std::string& Picture() const { return picture_; }
  void Picture(std::string value);
  // 0 none, 1 a fixed single line; any other value raises 380.
  [[nodiscard]] int32_t BorderStyle() const { return borderStyle_; }
  void BorderStyle(int32_t value);

 protected:
  void ResetProperties() override;

 private:
  std::string picture_;
  int32_t borderStyle_ = 0;
};

}  // namespace vellix

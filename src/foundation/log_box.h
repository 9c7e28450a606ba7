#pragma once

#include <cstddef>
#include <deque>
#include <string>

#include "foundation/control.h"

namespace vellix {

// A read-only multi-line box whose text grows by whole lines put on top, as
// a log does. Its text is its lines, newest first, each followed by "\r\n".
// The lines are kept apart so that adding one costs the same however long the
// log is: the view is told "Prepend" and inserts the new rows, it never reads
// the whole text again. Setting Text replaces every line ("Text" changes).
class LogBox : public Control {
 public:
  LogBox(Form& form, std::string name, std::string container = {});

  // The whole text, built on demand: newest line first, each line followed
  // by "\r\n", so a box with lines ends in "\r\n".
  [[nodiscard]] std::string Text() const;
  // Splits value at "\r\n" into lines; a last piece without its break is a
  // line too, so Text(Text()) keeps the box as it was.
  void Text(const std::string& value);

  // Puts line on top of the others; line holds no "\r\n" of its own.
  void PrependLine(std::string line);
  [[nodiscard]] std::size_t LineCount() const { return lines_.size(); }
  // Line 0 is the newest.
  [[nodiscard]] const std::string& Line(std::size_t index) const { return lines_.at(index); }

 protected:
  [[nodiscard]] bool CanFocus() const override { return true; }
  void ResetProperties() override { lines_.clear(); }

 private:
  std::deque<std::string> lines_;
};

}  // namespace vellix

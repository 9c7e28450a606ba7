#pragma once

#include <QDialog>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "foundation/event.h"
#include "foundation/form.h"
#include "view/qt/control_binding.h"

namespace vellix::qtview {

// The window of one loaded form: a dialog holding a widget per control,
// placed at the control's rectangle. The form's own caption, size, icon and
// window state follow the model; the user's close box, resizing, minimising
// and activation go to the model's entry points.
//
// A control's widget is made when the control first shows on a shown window,
// not at load: a form of many panels shows one at a time, and making the rest
// at start would only delay the first paint.
class FormWindow : public QDialog {
 public:
  struct Hooks {
    RenderContext context;
    // The window became the active one.
    std::function<void(Form&)> activated;
  };

  // Window frame around the client area, in twips, as the forms' layout
  // counts it: the form's Width and Height include it.
  static constexpr int kFrameSideTwips = 120;
  static constexpr int kFrameTopTwips = 500;

  FormWindow(Form& form, Hooks hooks);
  ~FormWindow() override;

  // The model, or nullptr once detached.
  [[nodiscard]] Form* Model() const { return form_; }
  // The form has been unloaded or is going: the window makes no more calls
  // into it and ignores its changes.
  void Detach();
  // The widget of a control by name (any case), made now if it hasn't shown
  // yet; nullptr for none.
  [[nodiscard]] QWidget* WidgetOf(std::string_view name);
  // Shows the window in the model's window state, the focus where the model
  // has it or else on the first field.
  void ShowAsModel();
  // The controls whose widgets take the focus by Tab, in the order Tab
  // visits them: by rows from the top, each row from the left, a frame's
  // controls where the frame lies.
  [[nodiscard]] std::vector<std::string> TabOrder() const;

 protected:
  bool event(QEvent* event) override;
  void closeEvent(QCloseEvent* event) override;
  void changeEvent(QEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  // Escape presses the model's Cancel button; neither hides the window behind
  // the model's back.
  void reject() override;
  void accept() override {}

 private:
  // The controls lying directly in a container ("" for the form) wait for
  // their widgets, to be made in parent.
  void BuildChildren(const std::string& container, QWidget* parent);
  void Wait(Control& control, QWidget* parent);
  // Makes a waiting control's widget; a container's children wait in turn.
  void Make(Control& control);
  // Makes the widget of every waiting control that shows, inner ones included.
  void BuildShown();
  [[nodiscard]] QWidget* Built(std::string_view name) const;
  void Restack(const std::string& container);
  void OnFormChanged(std::string_view property);
  void ApplySize();
  void ApplyWindowState();
  void ApplyFocus();
  // Every control in the order Tab visits the focusable ones.
  [[nodiscard]] std::vector<Control*> ReadingOrder() const;
  // The focusable widgets made so far, in tab order.
  [[nodiscard]] std::vector<QWidget*> TabWidgets() const;
  [[nodiscard]] std::vector<QWidget*> TabWidgets(const std::vector<Control*>& order) const;
  // Orders the tab chain and gives each field the label that names it.
  void ApplyTabOrder();
  // The binding whose caption names the field at order[at] (a label, or the
  // option it follows), or nullptr.
  [[nodiscard]] ControlBinding* LabelOf(const std::vector<Control*>& order, size_t at) const;
  // Orders the tab chain once the current layout pass has finished moving
  // controls.
  void ScheduleTabOrder();
  void FocusFirst();
  // Ctrl+Tab: the next (or previous) tab of the form's tab strip, chosen as a
  // click on it would choose it.
  void StepTab(int direction);

  Form* form_;
  Hooks hooks_;
  Connection changed_;
  std::vector<std::unique_ptr<ControlBinding>> bindings_;
  std::unordered_map<std::string, QWidget*> widgets_;  // by lower-case name
  std::unordered_map<const Control*, ControlBinding*> bindingOf_;
  std::unordered_set<const Control*> seen_;
  // Controls without a widget yet: the widget to make it in, and the watch on
  // their Visible.
  struct Waiting {
    QWidget* parent = nullptr;
    Connection watch;
  };
  std::unordered_map<Control*, Waiting> waiting_;
  int applying_ = 0;
  bool tabOrderDue_ = false;
};

}  // namespace vellix::qtview

#pragma once

#include <QObject>
#include <QPixmap>
#include <QWidget>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/control.h"
#include "foundation/event.h"

namespace vellix {
class LogBox;
}  // namespace vellix

namespace vellix::qtview {

// What a control's widget needs from the window it lies in.
struct RenderContext {
  double twipsPerPixel = 15.0;
  // The picture of a file or picture name; a null pixmap when there is none.
  std::function<QPixmap(const std::string&)> picture;
  // The stacking of a container's children changed.
  std::function<void(const std::string& container)> restack;
  // A control's widget moved or changed size.
  std::function<void()> moved;
};

// Runs a call into the models from a Qt event. An error that escapes a model
// must not unwind through Qt's event dispatch, so it is logged and dropped.
void RunGuarded(const char* what, const std::function<void()>& action);

// Ties one control of a form model to its widget, both ways: the model's
// property changes update the widget, the user's actions on the widget call
// the model's User... entry points. Changes the binding makes to the widget
// itself never reach the model again.
class ControlBinding : public QObject {
 public:
  ControlBinding(Control& control, QWidget* widget, const RenderContext& context);
  ~ControlBinding() override;

  [[nodiscard]] QWidget* Widget() const { return widget_; }
  [[nodiscard]] Control& Model() const { return control_; }
  // Re-reads one property of the model ("" or "Reset": all of them).
  void Refresh(std::string_view property);
  // The model is going (form unloaded or destroyed): no more calls either way.
  void Detach();
  [[nodiscard]] bool Detached() const { return detached_; }
  // The label that names this control for a screen reader (see
  // ApplyAccessibility); nullptr for none. The window finds it as it orders
  // the tab chain.
  void Buddy(ControlBinding* label);

 protected:
  // The kind's own properties; an unknown name re-reads all of them.
  virtual void Apply(std::string_view /*property*/) {}
  // The caption the control shows of its own, without access-key marks;
  // empty for kinds without one.
  [[nodiscard]] virtual QString Caption() const { return {}; }
  // Whether the widget shows that caption as its text (a button, a label).
  [[nodiscard]] virtual bool ShowsCaption() const { return false; }
  // A user's action on the widget. Nothing happens while the binding itself
  // updates the widget; afterwards the widget is put back in step with the
  // model, for actions the model refused or changed.
  void User(const std::function<void()>& action);
  [[nodiscard]] bool Applying() const { return applying_ > 0; }
  [[nodiscard]] int Px(double twips) const;
  [[nodiscard]] double Twips(double pixels) const;
  [[nodiscard]] const RenderContext& Context() const { return context_; }
  // Focus events of another widget of the control (an inner editor) count too.
  void WatchFocus(QWidget* widget);
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  // The base properties every kind has; false for a name it doesn't know.
  bool ApplyBase(std::string_view property);
  void ApplyGeometry();
  // The accessible name, from what the control has: its caption, else its
  // buddy label's caption, else its tool tip. (Qt describes a widget by its
  // tool tip of itself.)
  void ApplyAccessibility();

  Control& control_;
  QWidget* widget_;
  RenderContext context_;
  Connection changed_;
  ControlBinding* buddy_ = nullptr;     // the label naming this control
  std::vector<ControlBinding*> named_;  // the controls this label names
  int applying_ = 0;
  bool detached_ = false;
};

// The binding of a control with a new widget for it in parent; nullptr for the
// kinds that show nothing (timers, menus).
std::unique_ptr<ControlBinding> MakeBinding(Control& control, QWidget* parent,
                                            const RenderContext& context);

// The factories of the kind families, one per source file.
std::unique_ptr<ControlBinding> MakeSimpleBinding(Control& control, QWidget* parent,
                                                  const RenderContext& context);
std::unique_ptr<ControlBinding> MakeListBinding(Control& control, QWidget* parent,
                                                const RenderContext& context);
std::unique_ptr<ControlBinding> MakeLogBoxBinding(LogBox& box, QWidget* parent,
                                                  const RenderContext& context);

// The text of a caption without the runtime's access-key marks: "&File" ->
// "File", "A && B" -> "A & B".
QString PlainCaption(const std::string& caption);
// The share a grid cell shows as a progress bar: 0 to 100 for a text of the
// form "##0%" ("0%" to "100%"), else -1 and the cell shows its text.
int CellPercent(const QString& text);
QString Qs(const std::string& text);
std::string Std(const QString& text);

}  // namespace vellix::qtview

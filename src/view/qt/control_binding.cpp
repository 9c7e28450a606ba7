#include "view/qt/control_binding.h"

#include <QApplication>
#include <QFocusEvent>
#include <QPalette>
#include <QtGlobal>
#include <cmath>
#include <exception>
#include <utility>
#include <vector>

#include "foundation/log_box.h"
#include "foundation/scoped_value.h"

namespace vellix::qtview {

void RunGuarded(const char* what, const std::function<void()>& action) {
  try {
    action();
  } catch (const std::exception& e) {
    qWarning("vellix view: %s failed: %s", what, e.what());
  } catch (...) {
    qWarning("vellix view: %s failed", what);
  }
}

QString Qs(const std::string& text) {
  return QString::fromStdString(text);
}

std::string Std(const QString& text) {
  return text.toStdString();
}

QString PlainCaption(const std::string& caption) {
  std::string out;
  out.reserve(caption.size());
  for (size_t i = 0; i < caption.size(); ++i) {
    if (caption[i] == '&') {
      if (i + 1 < caption.size() && caption[i + 1] == '&') {
        out += '&';
        ++i;
      }
      continue;
    }
    out += caption[i];
  }
  return Qs(out);
}

namespace {

// An RGB value of the runtime (red + 256 * green + 65536 * blue).
QColor RuntimeColor(int32_t value) {
  return QColor(value & 0xFF, (value >> 8) & 0xFF, (value >> 16) & 0xFF);
}

}  // namespace

ControlBinding::ControlBinding(Control& control, QWidget* widget, const RenderContext& context)
    : control_(control), widget_(widget), context_(context) {
  widget_->setObjectName(Qs(control.Name()));
  WatchFocus(widget_);
  changed_ = control.OnChanged([this](Control&, std::string_view property) { Refresh(property); });
}

ControlBinding::~ControlBinding() = default;

void ControlBinding::Refresh(std::string_view property) {
  if (detached_) return;
  ScopedValue scope(applying_, applying_ + 1);
  const bool all = property.empty() || property == "Reset";
  if (all) {
    ApplyBase("");
    Apply("");
  } else if (!ApplyBase(property)) {
    Apply(property);
  }
  if (all || property == "Caption" || property == "ToolTipText" || property == "Tabs" ||
      property == "SelectedItem") {
    ApplyAccessibility();
    for (ControlBinding* named : named_)
      named->ApplyAccessibility();
  }
}

void ControlBinding::Buddy(ControlBinding* label) {
  if (label == buddy_) return;
  if (buddy_ != nullptr) std::erase(buddy_->named_, this);
  buddy_ = label;
  if (label != nullptr) label->named_.push_back(this);
  ApplyAccessibility();
}

void ControlBinding::ApplyAccessibility() {
  if (detached_) return;
  const QString caption = Caption();
  QString name;
  // A button or label is named by the caption it shows, as Qt reads it, and
  // keeps no name of its own: the common case costs a comparison.
  if (caption.isEmpty() || !ShowsCaption()) {
    name = caption;
    if (name.isEmpty() && buddy_ != nullptr) name = buddy_->Caption();
    if (name.isEmpty()) name = Qs(control_.ToolTipText());
  }
  if (widget_->accessibleName() != name) widget_->setAccessibleName(name);
}

void ControlBinding::Detach() {
  detached_ = true;
  changed_.Disconnect();
}

void ControlBinding::User(const std::function<void()>& action) {
  if (detached_ || Applying()) return;
  RunGuarded(control_.Name().c_str(), action);
  // The handler may have unloaded the form.
  if (!detached_) Refresh("");
}

int ControlBinding::Px(double twips) const {
  return static_cast<int>(std::lround(twips / context_.twipsPerPixel));
}

double ControlBinding::Twips(double pixels) const {
  return pixels * context_.twipsPerPixel;
}

void ControlBinding::WatchFocus(QWidget* widget) {
  widget->installEventFilter(this);
}

bool ControlBinding::eventFilter(QObject* watched, QEvent* event) {
  if (detached_ || Applying()) return QObject::eventFilter(watched, event);
  if (event->type() == QEvent::FocusIn) {
    const auto reason = static_cast<QFocusEvent*>(event)->reason();
    // Coming back to the window gives the focus back where the model has it.
    if (reason != Qt::ActiveWindowFocusReason && reason != Qt::PopupFocusReason) {
      RunGuarded("focus", [this] { control_.UserFocus(); });
    }
  } else if (event->type() == QEvent::FocusOut) {
    const auto reason = static_cast<QFocusEvent*>(event)->reason();
    QWidget* next = QApplication::focusWidget();
    // A move to another control is that control's focus-in; only a move out
    // of the form's controls leaves the focus with nothing.
    const bool toOtherControl = next != nullptr && widget_->window()->isAncestorOf(next);
    if (reason != Qt::ActiveWindowFocusReason && reason != Qt::PopupFocusReason &&
        !toOtherControl && control_.HasFocus()) {
      RunGuarded("focus", [this] { control_.UserLeave(); });
    }
  }
  return QObject::eventFilter(watched, event);
}

bool ControlBinding::ApplyBase(std::string_view property) {
  const bool all = property.empty();
  if (all || property == "Left" || property == "Top" || property == "Width" ||
      property == "Height") {
    ApplyGeometry();
    if (!all) return true;
  }
  if (all || property == "Visible") {
    widget_->setVisible(control_.Visible());
    if (!all) return true;
  }
  if (all || property == "Enabled") {
    widget_->setEnabled(control_.Enabled());
    if (!all) return true;
  }
  if (all || property == "ToolTipText") {
    widget_->setToolTip(Qs(control_.ToolTipText()));
    if (!all) return true;
  }
  if (all || property == "BackColor") {
    QPalette palette = widget_->palette();
    if (control_.BackColor() >= 0) {
      palette.setColor(QPalette::Window, RuntimeColor(control_.BackColor()));
      palette.setColor(QPalette::Base, RuntimeColor(control_.BackColor()));
      widget_->setAutoFillBackground(true);
    } else {
      palette = QPalette();
      widget_->setAutoFillBackground(false);
    }
    widget_->setPalette(palette);
    if (!all) return true;
  }
  // The window stacks all controls once when it is built.
  if (property == "ZOrder" || property == "ZIndex") {
    if (context_.restack) context_.restack(control_.Container());
    return true;
  }
  return false;
}

void ControlBinding::ApplyGeometry() {
  const int left = Px(control_.Left());
  const int top = Px(control_.Top());
  widget_->setGeometry(left, top, Px(control_.Left() + control_.Width()) - left,
                       Px(control_.Top() + control_.Height()) - top);
  if (context_.moved) context_.moved();
}

std::unique_ptr<ControlBinding> MakeBinding(Control& control, QWidget* parent,
                                            const RenderContext& context) {
  std::unique_ptr<ControlBinding> binding;
  switch (control.Kind()) {
    case ControlKind::Timer:
    case ControlKind::Menu:
      return nullptr;
    case ControlKind::ComboBox:
    case ControlKind::ListBox:
    case ControlKind::TabStrip:
    case ControlKind::TreeView:
    case ControlKind::FlexGrid:
      binding = MakeListBinding(control, parent, context);
      break;
    case ControlKind::LogBox:
      binding = MakeLogBoxBinding(static_cast<LogBox&>(control), parent, context);
      break;
    default:
      binding = MakeSimpleBinding(control, parent, context);
      break;
  }
  if (binding) binding->Refresh("");
  return binding;
}

}  // namespace vellix::qtview

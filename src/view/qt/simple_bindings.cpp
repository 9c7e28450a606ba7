// Bindings of the kinds that hold one value or none: labels, buttons, check
// and option buttons, text boxes, frames, picture boxes, date pickers and
// up-down controls.
#include <QCheckBox>
#include <QCoreApplication>
#include <QDateTimeEdit>
#include <QFrame>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QMouseEvent>
#include <QPainter>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QToolButton>
#include <QVBoxLayout>

#include "foundation/controls.h"
#include "foundation/date.h"
#include "view/qt/control_binding.h"
#include "view/qt/panel_style.h"

namespace vellix::qtview {

namespace {

Qt::Alignment TextAlignment(int32_t alignment) {
  switch (alignment) {
    case 1:
      return Qt::AlignRight;
    case 2:
      return Qt::AlignHCenter;
    default:
      return Qt::AlignLeft;
  }
}

class LabelBinding : public ControlBinding {
 public:
  LabelBinding(Label& label, QWidget* parent, const RenderContext& context)
      : ControlBinding(label, new QLabel(parent), context), label_(label) {
    auto* widget = static_cast<QLabel*>(Widget());
    widget->setWordWrap(true);
    widget->setTextFormat(Qt::PlainText);
  }

 protected:
  void Apply(std::string_view /*property*/) override {
    auto* widget = static_cast<QLabel*>(Widget());
    widget->setText(PlainCaption(label_.Caption()));
    widget->setAlignment(TextAlignment(label_.Alignment()) | Qt::AlignTop);
  }
  [[nodiscard]] QString Caption() const override { return PlainCaption(label_.Caption()); }
  [[nodiscard]] bool ShowsCaption() const override { return true; }
  bool eventFilter(QObject* watched, QEvent* event) override {
    if (watched == Widget() && event->type() == QEvent::MouseButtonRelease &&
        static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton) {
      User([this] { label_.UserClick(); });
    }
    return ControlBinding::eventFilter(watched, event);
  }

 private:
  Label& label_;
};

class ButtonBinding : public ControlBinding {
 public:
  ButtonBinding(CommandButton& button, QWidget* parent, const RenderContext& context)
      : ControlBinding(button, new QPushButton(parent), context), button_(button) {
    auto* widget = static_cast<QPushButton*>(Widget());
    // Enter presses the model's Default button only, not whichever has focus.
    widget->setAutoDefault(false);
    connect(widget, &QPushButton::clicked, this, [this] { User([this] { button_.UserClick(); }); });
  }

 protected:
  void Apply(std::string_view /*property*/) override {
    auto* widget = static_cast<QPushButton*>(Widget());
    widget->setText(Qs(button_.Caption()));
    widget->setDefault(button_.Default());
  }
  [[nodiscard]] QString Caption() const override { return PlainCaption(button_.Caption()); }
  [[nodiscard]] bool ShowsCaption() const override { return true; }

 private:
  CommandButton& button_;
};

class CheckBinding : public ControlBinding {
 public:
  CheckBinding(CheckBox& box, QWidget* parent, const RenderContext& context)
      : ControlBinding(box, new QCheckBox(parent), context), box_(box) {
    connect(static_cast<QCheckBox*>(Widget()), &QCheckBox::clicked, this,
            [this] { User([this] { box_.UserClick(); }); });
  }

 protected:
  void Apply(std::string_view /*property*/) override {
    auto* widget = static_cast<QCheckBox*>(Widget());
    widget->setText(Qs(box_.Caption()));
    const int32_t value = box_.Value();
    widget->setTristate(value == CheckBox::kGrayed);
    widget->setCheckState(value == CheckBox::kChecked  ? Qt::Checked
                          : value == CheckBox::kGrayed ? Qt::PartiallyChecked
                                                       : Qt::Unchecked);
  }
  [[nodiscard]] QString Caption() const override { return PlainCaption(box_.Caption()); }
  [[nodiscard]] bool ShowsCaption() const override { return true; }

 private:
  CheckBox& box_;
};

class OptionBinding : public ControlBinding {
 public:
  OptionBinding(OptionButton& option, QWidget* parent, const RenderContext& context)
      : ControlBinding(option, new QRadioButton(parent), context), option_(option) {
    auto* widget = static_cast<QRadioButton*>(Widget());
    // The model keeps its group exclusive; Qt's own grouping would fight it.
    widget->setAutoExclusive(false);
    connect(widget, &QRadioButton::clicked, this,
            [this] { User([this] { option_.UserClick(); }); });
  }

 protected:
  void Apply(std::string_view /*property*/) override {
    auto* widget = static_cast<QRadioButton*>(Widget());
    widget->setText(Qs(option_.Caption()));
    widget->setChecked(option_.Value());
  }
  [[nodiscard]] QString Caption() const override { return PlainCaption(option_.Caption()); }
  [[nodiscard]] bool ShowsCaption() const override { return true; }

 private:
  OptionButton& option_;
};

// Multi-line texts of the logic end lines with CR LF; the editor uses LF.
QString EditorText(const std::string& text) {
  QString out = Qs(text);
  out.remove(QLatin1Char('\r'));
  return out;
}

std::string ModelText(const QString& text) {
  QString out = text;
  out.replace(QLatin1String("\n"), QLatin1String("\r\n"));
  return Std(out);
}

class LineEditBinding : public ControlBinding {
 public:
  LineEditBinding(TextBox& box, QWidget* parent, const RenderContext& context)
      : ControlBinding(box, new QLineEdit(parent), context), box_(box) {
    connect(static_cast<QLineEdit*>(Widget()), &QLineEdit::textEdited, this,
            [this](const QString& text) { User([this, text] { box_.UserSetText(Std(text)); }); });
  }

 protected:
  void Apply(std::string_view /*property*/) override {
    auto* widget = static_cast<QLineEdit*>(Widget());
    const QString text = Qs(box_.Text());
    if (widget->text() != text) widget->setText(text);
    widget->setReadOnly(box_.Locked());
    widget->setAlignment(TextAlignment(box_.Alignment()) | Qt::AlignVCenter);
  }

 private:
  TextBox& box_;
};

class PlainTextBinding : public ControlBinding {
 public:
  PlainTextBinding(TextBox& box, QWidget* parent, const RenderContext& context)
      : ControlBinding(box, new QPlainTextEdit(parent), context), box_(box) {
    auto* widget = static_cast<QPlainTextEdit*>(Widget());
    // Tab moves on, as in every other field, rather than typing a tab.
    widget->setTabChangesFocus(true);
    connect(widget, &QPlainTextEdit::textChanged, this, [this, widget] {
      if (Applying()) return;
      const std::string text = ModelText(widget->toPlainText());
      User([this, text] { box_.UserSetText(text); });
    });
  }

 protected:
  void Apply(std::string_view /*property*/) override {
    auto* widget = static_cast<QPlainTextEdit*>(Widget());
    const QString text = EditorText(box_.Text());
    if (widget->toPlainText() != text) widget->setPlainText(text);
    widget->setReadOnly(box_.Locked());
    const int32_t bars = box_.ScrollBars();
    widget->setHorizontalScrollBarPolicy((bars & 1) != 0 ? Qt::ScrollBarAsNeeded
                                                         : Qt::ScrollBarAlwaysOff);
    widget->setVerticalScrollBarPolicy((bars & 2) != 0 ? Qt::ScrollBarAsNeeded
                                                       : Qt::ScrollBarAlwaysOff);
    // Without a horizontal bar the runtime wraps long lines.
    widget->setLineWrapMode((bars & 1) != 0 ? QPlainTextEdit::NoWrap : QPlainTextEdit::WidgetWidth);
  }

 private:
  TextBox& box_;
};

// A frame control: its caption over a box holding its controls, drawn as the
// Fusion style draws a group box. Painted here because QGroupBox's style loads
// its box from a picture on the first paint, and that load probes every image
// plugin, which costs the first window a noticeable part of its start.
class FramePanel : public QWidget {
 public:
  explicit FramePanel(QWidget* parent) : QWidget(parent) {}
  void SetTitle(const QString& title) {
    if (title == title_) return;
    title_ = title;
    update();
  }

 protected:
  void paintEvent(QPaintEvent* /*event*/) override {
    QPainter painter(this);
    const int textHeight = fontMetrics().height();
    const QRect box(QPoint(1, title_.isEmpty() ? 0 : textHeight + 4),
                    QPoint(width() - 1, height() - 1));
    // The border, then the inner edge a shade lighter than it, as Fusion has it.
    const QColor window = palette().color(QPalette::Window);
    CutBox(painter, box, window.darker(111), window.darker(104), window.darker(103));
    painter.fillRect(box.adjusted(2, 2, -2, -2), window.darker(101));
    if (title_.isEmpty()) return;
    painter.setPen(palette().color(QPalette::WindowText));
    painter.drawText(QRect(0, 1, width(), textHeight),
                     Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine | Qt::TextHideMnemonic,
                     title_);
  }

 private:
  QString title_;
};

class FrameBinding : public ControlBinding {
 public:
  FrameBinding(FrameControl& frame, QWidget* parent, const RenderContext& context)
      : ControlBinding(frame, new FramePanel(parent), context), frame_(frame) {}

 protected:
  void Apply(std::string_view /*property*/) override {
    static_cast<FramePanel*>(Widget())->SetTitle(PlainCaption(frame_.Caption()));
  }
  [[nodiscard]] QString Caption() const override { return PlainCaption(frame_.Caption()); }

 private:
  FrameControl& frame_;
};

// A panel that draws its picture at its top left, under its children.
class PictureFrame : public QFrame {
 public:
  explicit PictureFrame(QWidget* parent) : QFrame(parent) {}
  void SetPixmap(const QPixmap& pixmap) {
    pixmap_ = pixmap;
    update();
  }

 protected:
  void paintEvent(QPaintEvent* event) override {
    QFrame::paintEvent(event);
    if (pixmap_.isNull()) return;
    QPainter painter(this);
    painter.drawPixmap(contentsRect().topLeft(), pixmap_);
  }

 private:
  QPixmap pixmap_;
};

class PictureBinding : public ControlBinding {
 public:
  PictureBinding(PictureBox& box, QWidget* parent, const RenderContext& context)
      : ControlBinding(box, new PictureFrame(parent), context), box_(box) {}

 protected:
  void Apply(std::string_view /*property*/) override {
    auto* widget = static_cast<PictureFrame*>(Widget());
    widget->setFrameStyle(box_.BorderStyle() == 1 ? (QFrame::Panel | QFrame::Sunken)
                                                  : QFrame::NoFrame);
    const auto& picture = Context().picture;
    widget->SetPixmap(box_.Picture().empty() || !picture ? QPixmap() : picture(box_.Picture()));
  }

 private:
  PictureBox& box_;
};

QDateTime ToQt(Date date) {
  const CivilTime civil = ToCivil(date);
  return QDateTime(QDate(civil.year, civil.month, civil.day),
                   QTime(civil.hour, civil.minute, civil.second));
}

Date FromQt(const QDateTime& value) {
  const QDate d = value.date();
  const QTime t = value.time();
  return DateTimeSerial(d.year(), d.month(), d.day(), t.hour(), t.minute(), t.second());
}

// The picker's own pattern tokens in Qt's: they agree but for the AM/PM mark.
QString QtDatePattern(const std::string& pattern) {
  QString out = Qs(pattern);
  out.replace(QLatin1String("tt"), QLatin1String("AP"));
  return out;
}

class DateBinding : public ControlBinding {
 public:
  DateBinding(DatePicker& picker, QWidget* parent, const RenderContext& context)
      : ControlBinding(picker, new QDateTimeEdit(parent), context), picker_(picker) {
    auto* widget = static_cast<QDateTimeEdit*>(Widget());
    connect(widget, &QDateTimeEdit::dateTimeChanged, this, [this](const QDateTime& value) {
      if (Applying()) return;
      User([this, value] { picker_.UserSetValue(FromQt(value)); });
    });
  }

 protected:
  void Apply(std::string_view /*property*/) override {
    auto* widget = static_cast<QDateTimeEdit*>(Widget());
    const QLocale locale;
    QString pattern;
    switch (picker_.Format()) {
      case DatePicker::kLongDate:
        pattern = locale.dateFormat(QLocale::LongFormat);
        break;
      case DatePicker::kTime:
        pattern = locale.timeFormat(QLocale::LongFormat);
        break;
      case DatePicker::kCustom:
        pattern = QtDatePattern(picker_.CustomFormat());
        break;
      default:
        pattern = locale.dateFormat(QLocale::ShortFormat);
        break;
    }
    if (widget->displayFormat() != pattern) widget->setDisplayFormat(pattern);
    widget->setCalendarPopup(picker_.Format() != DatePicker::kTime);
    widget->setDateTimeRange(ToQt(picker_.MinDate()), ToQt(picker_.MaxDate()));
    const QDateTime value = ToQt(picker_.Value());
    if (widget->dateTime() != value) widget->setDateTime(value);
  }

  // Tab moves on to the next field, as from every other field, rather than
  // to the next part of the date (the arrow keys do that): the window's
  // chain handles it. (A subclass would cost the start its table of Qt's
  // virtual functions to bind.)
  bool eventFilter(QObject* watched, QEvent* event) override {
    if (watched == Widget() && event->type() == QEvent::KeyPress &&
        Widget()->parentWidget() != nullptr) {
      auto* key = static_cast<QKeyEvent*>(event);
      if ((key->key() == Qt::Key_Tab || key->key() == Qt::Key_Backtab) &&
          (key->modifiers() & (Qt::ControlModifier | Qt::AltModifier)) == 0) {
        QCoreApplication::sendEvent(Widget()->parentWidget(), event);
        return true;
      }
    }
    return ControlBinding::eventFilter(watched, event);
  }

 private:
  DatePicker& picker_;
};

class UpDownBinding : public ControlBinding {
 public:
  UpDownBinding(UpDown& updown, QWidget* parent, const RenderContext& context)
      : ControlBinding(updown, new QWidget(parent), context), updown_(updown) {
    auto* layout = new QVBoxLayout(Widget());
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    auto* up = new QToolButton(Widget());
    auto* down = new QToolButton(Widget());
    up->setObjectName(Qs(updown.Name() + ".Up"));
    down->setObjectName(Qs(updown.Name() + ".Down"));
    up->setArrowType(Qt::UpArrow);
    down->setArrowType(Qt::DownArrow);
    up->setAccessibleName(QStringLiteral("Up"));
    down->setAccessibleName(QStringLiteral("Down"));
    for (QToolButton* button : {up, down}) {
      // Not a stop of its own: the value is typed in the field it steps.
      button->setFocusPolicy(Qt::NoFocus);
      button->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
      button->setAutoRepeat(true);
      layout->addWidget(button);
    }
    connect(up, &QToolButton::clicked, this, [this] { User([this] { updown_.UserUp(); }); });
    connect(down, &QToolButton::clicked, this, [this] { User([this] { updown_.UserDown(); }); });
  }

 private:
  UpDown& updown_;
};

}  // namespace

std::unique_ptr<ControlBinding> MakeSimpleBinding(Control& control, QWidget* parent,
                                                  const RenderContext& context) {
  switch (control.Kind()) {
    case ControlKind::Label:
      return std::make_unique<LabelBinding>(static_cast<Label&>(control), parent, context);
    case ControlKind::CommandButton:
      return std::make_unique<ButtonBinding>(static_cast<CommandButton&>(control), parent, context);
    case ControlKind::CheckBox:
      return std::make_unique<CheckBinding>(static_cast<CheckBox&>(control), parent, context);
    case ControlKind::OptionButton:
      return std::make_unique<OptionBinding>(static_cast<OptionButton&>(control), parent, context);
    case ControlKind::TextBox: {
      auto& box = static_cast<TextBox&>(control);
      // The kind of editor is fixed when the window is made; forms set
      // MultiLine in their design step.
      if (box.MultiLine()) return std::make_unique<PlainTextBinding>(box, parent, context);
      return std::make_unique<LineEditBinding>(box, parent, context);
    }
    case ControlKind::Frame:
      return std::make_unique<FrameBinding>(static_cast<FrameControl&>(control), parent, context);
    case ControlKind::PictureBox:
      return std::make_unique<PictureBinding>(static_cast<PictureBox&>(control), parent, context);
    case ControlKind::DatePicker:
      return std::make_unique<DateBinding>(static_cast<DatePicker&>(control), parent, context);
    case ControlKind::UpDown:
      return std::make_unique<UpDownBinding>(static_cast<UpDown&>(control), parent, context);
    default:
      return nullptr;
  }
}

}  // namespace vellix::qtview

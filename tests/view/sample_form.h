#pragma once

#include <gtest/gtest.h>

#include <QTest>
#include <QWidget>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "foundation/controls.h"
#include "view/qt/qt_host.h"

namespace vellix::test {

// A form with one control of each kind, whose handlers write what ran to a
// log, for the view's tests.
class SampleForm : public Form {
 public:
  explicit SampleForm(UiHost& host, std::string name = "frmSample");

  std::vector<std::string> log;
  bool vetoTabs = false;
  bool refuseClose = false;
  int32_t lastUnloadMode = -1;

  Label lblInfo{*this, "lblInfo"};
  CommandButton cmdGo{*this, "cmdGo"};
  TextBox txtName{*this, "txtName"};
  CheckBox chkOn{*this, "chkOn"};
  FrameControl fraChoice{*this, "fraChoice"};
  OptionButton optA{*this, "optA", "fraChoice"};
  OptionButton optB{*this, "optB", "fraChoice"};
  // A panel hidden at load, with a frame of its own inside.
  PictureBox picMore{*this, "picMore"};
  CheckBox chkMore{*this, "chkMore", "picMore"};
  FrameControl fraInner{*this, "fraInner", "picMore"};
  OptionButton optInner{*this, "optInner", "fraInner"};
  ComboBox cboKind{*this, "cboKind"};
  ListBox lstTicks{*this, "lstTicks"};
  TabStrip tabMain{*this, "tabMain"};
  TreeView tvwFolders{*this, "tvwFolders"};
  FlexGrid grdRuns{*this, "grdRuns"};
  TextBox txtCount{*this, "txtCount"};
  UpDown udCount{*this, "udCount"};
  LogBox txtLog{*this, "txtLog"};
  Menu mnuPopup{*this, "mnuPopup"};
  Menu mnuOpen{*this, "mnuOpen", "mnuPopup"};
  Menu mnuSep{*this, "mnuSep", "mnuPopup"};
  Menu mnuHidden{*this, "mnuHidden", "mnuPopup"};
  Menu mnuExit{*this, "mnuExit", "mnuPopup"};

  double lastMouseX = -1;
  // Run after a mouse move is noted, and on unload: a test gives the form the
  // main form's ways with the tray.
  std::function<void()> mouseMoved;
  std::function<void()> unloading;

 protected:
  void Design() override;
  void Form_QueryUnload(bool& cancel, int32_t unloadMode) override;
  void Form_Activate() override { log.push_back("Activate"); }
  void Form_MouseMove(int16_t button, int16_t shift, double x, double y) override;
  void Form_Unload(bool& /*cancel*/) override {
    if (unloading) unloading();
  }
};

// A form shown and active on a host of its own.
template <class F>
class ShownForm : public ::testing::Test {
 protected:
  void SetUp() override {
    form.Show();
    window = host.WindowOf(form);
    ASSERT_NE(window, nullptr);
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window));
  }
  void TearDown() override {
    if (form.Loaded()) form.Unload();
  }

  // The form's widget of that name; a test that finds none ends there.
  template <class W>
  W* Find(const char* name) {
    auto* widget = window->findChild<W*>(QString::fromLatin1(name));
    if (widget == nullptr) throw std::runtime_error(std::string("no widget ") + name);
    return widget;
  }

  qtview::QtHost host;
  F form{host};
  QWidget* window = nullptr;
};

// The sample form shown, its log cleared.
class ShownSampleForm : public ShownForm<SampleForm> {
 protected:
  void SetUp() override {
    ShownForm::SetUp();
    form.log.clear();
  }
};

}  // namespace vellix::test

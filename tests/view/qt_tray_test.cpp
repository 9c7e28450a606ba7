#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

#include "sample_form.h"
#include "view/qt/qt_host.h"
#include "view/qt/qt_tray.h"

namespace vellix::test {
namespace {

// Maps the program's "<folder>\<file>" texts onto a folder of this machine.
std::function<std::string(const std::string&)> MapInto(const std::string& folder) {
  return [folder](const std::string& path) {
    const auto slash = path.find_last_of('\\');
    return folder + "/" + (slash == std::string::npos ? path : path.substr(slash + 1));
  };
}

TEST(QtTray, LoadsIconFilesAndRefusesWhatIsNoIcon) {
  qtview::QtHost host;
  QTemporaryDir dir;
  ASSERT_TRUE(dir.isValid());
  QFile::copy(QStringLiteral(VELLIX_SOURCE_DIR "/resources/Running.ico"),
              dir.filePath("Running.ico"));
  QFile text(dir.filePath("Notes.ico"));
  ASSERT_TRUE(text.open(QIODevice::WriteOnly));
  text.write("not an icon");
  text.close();
  qtview::QtTray tray(host, MapInto(dir.path().toStdString()));

  const std::string running = tray.LoadPicture("C:\\Program\\Running.ico");
  EXPECT_EQ(running, dir.filePath("Running.ico").toStdString());
  EXPECT_EQ(tray.LoadPicture("C:\\Program\\Missing.ico"), "");
  EXPECT_EQ(tray.LoadPicture("C:\\Program\\Notes.ico"), "");

  tray.Add(running, "Vellix: running");
  EXPECT_FALSE(tray.Icon().icon().isNull());
  EXPECT_EQ(tray.Icon().toolTip(), "Vellix: running");
  tray.Modify("", "Vellix: stopped");
  EXPECT_EQ(tray.Icon().toolTip(), "Vellix: stopped");
  EXPECT_TRUE(tray.Icon().isVisible());
  tray.Delete();
  EXPECT_FALSE(tray.Icon().isVisible());
}

TEST(QtTray, PassesGesturesToTheFormAsTheDesktopDisguisesThem) {
  qtview::QtHost host;
  SampleForm form(host);
  form.Load();
  qtview::QtTray tray(host, {});
  tray.AttachForm(form);
  const double tpp = host.TwipsPerPixel();

  Q_EMIT tray.Icon().activated(QSystemTrayIcon::Context);
  EXPECT_DOUBLE_EQ(form.lastMouseX / tpp, 517);
  Q_EMIT tray.Icon().activated(QSystemTrayIcon::Trigger);
  EXPECT_DOUBLE_EQ(form.lastMouseX / tpp, 514);
  Q_EMIT tray.Icon().activated(QSystemTrayIcon::DoubleClick);
  EXPECT_DOUBLE_EQ(form.lastMouseX / tpp, 515);
  // The icon pops no menu of its own.
  EXPECT_EQ(tray.Icon().contextMenu(), nullptr);
  form.Unload();
}

}  // namespace
}  // namespace vellix::test

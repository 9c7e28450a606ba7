#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QApplication>

int main(int argc, char** argv) {
  // No display is needed: the suite (and its listing by CTest) runs offscreen.
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication app(argc, argv);
  testing::InitGoogleMock(&argc, argv);
  return RUN_ALL_TESTS();
}

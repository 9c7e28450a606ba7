#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "view/qt/qt_web_browser.h"

namespace vellix::test {
namespace {

using qtview::QtWebBrowser;

// Environment variables changed for one test, put back after it.
struct EnvironmentScope {
  void Set(const char* name, const std::optional<QByteArray>& value) {
    if (saved.count(name) == 0)
      saved[name] = qEnvironmentVariableIsSet(name) ? std::optional(qgetenv(name)) : std::nullopt;
    value ? qputenv(name, *value) : qunsetenv(name);
  }
  ~EnvironmentScope() {
    for (const auto& [name, value] : saved)
      value ? qputenv(name.c_str(), *value) : qunsetenv(name.c_str());
  }
  std::map<std::string, std::optional<QByteArray>> saved;
};

class WebBrowser : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(dir.isValid());
    page = dir.filePath("page.htm").toStdString();
    QFile file(QString::fromStdString(page));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("<HTML> <\\HTML>");
    ASSERT_TRUE(QDir(dir.path()).mkdir("bin"));
    // Nothing of the machine's own desktop may answer or open a browser.
    env.Set("PATH", dir.filePath("bin").toLocal8Bit());
    for (const char* name : {"BROWSER", "DEFAULT_BROWSER", "XDG_CURRENT_DESKTOP", "DESKTOP_SESSION",
                             "KDE_FULL_SESSION", "GNOME_DESKTOP_SESSION_ID"})
      env.Set(name, std::nullopt);
  }

  void Script(const char* name, const QByteArray& body) {
    QFile file(dir.filePath(QStringLiteral("bin/") + QLatin1String(name)));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("#!/bin/sh\n" + body);
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
  }

  QTemporaryDir dir;
  EnvironmentScope env;
  std::string page;
};

TEST_F(WebBrowser, FindsTheDesktopsHandlerForPagesOrSaysThereIsNone) {
  struct Case {
    const char* what;
    std::map<QString, QString> answers;  // by type asked; a type missing fails
    ExecutableLookup expected;
  };
  const Case cases[] = {
      {"a handler for pages", {{"text/html", "pages.desktop\n"}}, {kShellSuccess, "pages.desktop"}},
      {"only one for addresses",
       {{"text/html", "\n"}, {"x-scheme-handler/https", "web.desktop"}},
       {kShellSuccess, "web.desktop"}},
      {"none",
       {{"text/html", ""}, {"x-scheme-handler/https", " "}},
       {kShellErrorNoAssociation, ""}},
  };
  for (const Case& c : cases) {
    std::vector<QString> asked;
    QtWebBrowser browser({}, [&](const QString& program, const QStringList& arguments) {
      EXPECT_EQ(program, "xdg-mime");
      asked.push_back(arguments.join(' '));
      auto it = c.answers.find(arguments.value(2));
      return it == c.answers.end() ? std::nullopt : std::optional(it->second);
    });
    const ExecutableLookup found = browser.FindExecutable(page);
    EXPECT_EQ(found.result, c.expected.result) << c.what;
    EXPECT_EQ(found.program, c.expected.program) << c.what;
    EXPECT_EQ(asked.front(), "query default text/html") << c.what;
  }
}

TEST_F(WebBrowser, AsksXdgMimeOnThePathAndOpensThroughTheDesktop) {
  // No xdg-mime at all: no handler; no page: not found.
  QtWebBrowser browser({});
  EXPECT_LE(browser.FindExecutable(page).result, 32);
  EXPECT_EQ(browser.FindExecutable(page + ".gone").result, kShellErrorFileNotFound);

  Script("xdg-mime", "[ \"$3\" = text/html ] && echo fake-browser.desktop\n");
  const ExecutableLookup found = browser.FindExecutable(page);
  EXPECT_EQ(found.result, kShellSuccess);
  EXPECT_EQ(found.program, "fake-browser.desktop");

  // Found, but with nothing on the path that can start it, the desktop opens
  // nothing: the handler did not start.
  EXPECT_LE(browser.ShellExecute(found.program, "https://example.invalid/help"), 32);

  std::vector<QUrl> opened;
  QtWebBrowser opening({}, QtWebBrowser::RunProgram, [&](const QUrl& url) {
    opened.push_back(url);
    return true;
  });
  EXPECT_GT(opening.ShellExecute("fake-browser.desktop", "https://example.invalid/a b"), 32);
  ASSERT_EQ(opened.size(), 1U);
  EXPECT_EQ(opened.front().toString(QUrl::FullyEncoded), "https://example.invalid/a%20b");
  EXPECT_LE(opening.ShellExecute("fake-browser.desktop", ""), 32);
  EXPECT_EQ(opened.size(), 1U);
}

}  // namespace
}  // namespace vellix::test

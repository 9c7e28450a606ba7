#include "platform/desktop/xdg_web_browser.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <cerrno>
#include <chrono>
#include <thread>

#include "scratch_folder.h"

namespace vellix::desktop {
namespace {

using namespace std::chrono_literals;

// Waits, at most a few seconds, for something a child process does.
bool WaitFor(const std::function<bool()>& done) {
  const auto until = std::chrono::steady_clock::now() + 5s;
  while (!done()) {
    if (std::chrono::steady_clock::now() > until) return false;
    std::this_thread::sleep_for(5ms);
  }
  return true;
}

// A browser that writes the number of its arguments and each argument in
// brackets to a file, by way of a temporary name so the file appears whole.
std::string RecordingBrowser(const std::filesystem::path& record) {
  return "#!/bin/sh\n"
         "{ printf '%s\\n' \"$#\"; for a in \"$@\"; do printf '[%s]\\n' \"$a\"; done; } > '" +
         record.string() + ".part'\nmv '" + record.string() + ".part' '" + record.string() + "'\n";
}

// A scratch folder with a help page on drive C and an empty bin folder.
class WebBrowser : public ::testing::Test {
 protected:
  WebBrowser() { scratch.WriteFile("drives/c/page.htm", "<HTML> <\\HTML>"); }
  XdgWebBrowser Browser(std::map<std::string, std::string> vars) const {
    return XdgWebBrowser(PathMapping(scratch.Path()), test::FixedEnvironment(std::move(vars)));
  }
  test::ScratchFolder scratch;
  const std::filesystem::path bin = scratch.MakeFolder("bin");
};

TEST_F(WebBrowser, FindsTheProgramThatOpensWebPages) {
  std::map<std::string, std::string> vars{{"PATH", "/nonexistent::" + bin.string()}};
  auto find = [&](const std::string& file) { return Browser(vars).FindExecutable(file); };

  EXPECT_EQ(find("C:\\page.htm").result, 31) << "no browser at all";
  EXPECT_EQ(find("C:\\missing.htm").result, 2);
  scratch.WriteFile("bin/xdg-open", "#!/bin/sh\n");  // not executable: passed over
  EXPECT_EQ(find("C:\\page.htm").result, 31);

  scratch.WriteFile("bin/x-www-browser", "#!/bin/sh\n", true);
  auto found = find("C:\\page.htm");
  EXPECT_GT(found.result, 32);
  EXPECT_EQ(found.program, (bin / "x-www-browser").string());
  scratch.WriteFile("bin/xdg-open", "#!/bin/sh\n", true);
  EXPECT_EQ(find("C:\\page.htm").program, (bin / "xdg-open").string());

  // $BROWSER, first entry, wins when it names a program.
  scratch.WriteFile("bin/mybrowser", "#!/bin/sh\n", true);
  vars["BROWSER"] = "mybrowser:xdg-open";
  EXPECT_EQ(find("C:\\page.htm").program, (bin / "mybrowser").string());
  const auto elsewhere = scratch.WriteFile("opt/browser", "#!/bin/sh\n", true);
  vars["BROWSER"] = elsewhere.string();
  EXPECT_EQ(find("C:\\page.htm").program, elsewhere.string());
  vars["BROWSER"] = "gone-browser";
  EXPECT_EQ(find("C:\\page.htm").program, (bin / "xdg-open").string());
}

TEST_F(WebBrowser, HandsTheHelpAddressOverAsOneArgumentAndRunsNothingElse) {
  const auto record = scratch.Path() / "argv.txt";
  scratch.WriteFile("bin/xdg-open", RecordingBrowser(record), true);
  const auto marker = scratch.Path() / "ran";
  auto browser = Browser({{"PATH", bin.string()}});

  const std::string address = "https://help.example.com/vellix?q=a b;touch " + marker.string() +
                              "1 \"quoted\" 'single' $(touch " + marker.string() + "2) `touch " +
                              marker.string() + "3` && touch " + marker.string() + "4 | x > y";
  auto found = browser.FindExecutable("C:\\page.htm");
  ASSERT_GT(found.result, 32);
  EXPECT_GT(browser.ShellExecute(found.program, address), 32);
  // Once the process has ended and been reaped (no zombie is left behind),
  // all it did is there to see.
  const pid_t pid = browser.LastProcessId();
  ASSERT_GT(pid, 0);
  ASSERT_TRUE(WaitFor([&] { return ::kill(pid, 0) == -1 && errno == ESRCH; }));
  EXPECT_EQ(test::ReadText(record), "1\n[" + address + "]\n");
  for (const char* n : {"1", "2", "3", "4"}) {
    EXPECT_FALSE(std::filesystem::exists(marker.string() + n)) << "a shell ran part " << n;
  }
  EXPECT_FALSE(std::filesystem::exists(scratch.Path() / "y"));

  // A program given by name is looked for on PATH; no parameters, no argument.
  std::filesystem::remove(record);
  EXPECT_GT(browser.ShellExecute("xdg-open", ""), 32);
  ASSERT_TRUE(WaitFor([&] { return std::filesystem::exists(record); }));
  EXPECT_EQ(test::ReadText(record), "0\n");
}

TEST_F(WebBrowser, SaysWhenTheBrowserCannotBeStarted) {
  auto browser = Browser({{"PATH", scratch.Path().string()}});
  // No program, a missing one by path or by name, and a folder.
  for (const auto& missing : {std::string(), (scratch.Path() / "none").string(),
                              std::string("none"), scratch.Path().string()})
    EXPECT_EQ(browser.ShellExecute(missing, "https://x"), 2) << missing;
  EXPECT_EQ(browser.ShellExecute(scratch.WriteFile("plain", "#!/bin/sh\n").string(), "x"), 5);
  // A script whose interpreter is missing, and a broken program.
  for (const auto& [name, text] :
       {std::pair{"broken", "#!/no/such/shell\n"}, std::pair{"junk", "\177ELF junk"}})
    EXPECT_LE(browser.ShellExecute(scratch.WriteFile(name, text, true).string(), "x"), 32) << name;
  EXPECT_EQ(browser.LastProcessId(), 0) << "nothing was started";
}

}  // namespace
}  // namespace vellix::desktop

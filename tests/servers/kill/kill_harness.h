#pragma once

// What the kill test's writers share: the marks a child sends while it
// writes, a scratch folder each writer works in, and the writer's shape.

#include <gtest/gtest.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>

#include "servers/config/atomic_file.h"
#include "support/child_process.h"

namespace vellix::killtest {

namespace fs = std::filesystem;
// What a child tells: the write begins, the write is done (followed by how
// long it took, in microseconds, and a new line).
constexpr char kBegins = 'b';
constexpr char kDone = 'e';

// In the child: tells the parent where the write is, and kills the child
// at its point. A timer of the kernel sends the SIGKILL: a parent, or a
// thread, woken to send it comes too late on a busy machine, where a write
// of a few hundred microseconds is over before either runs.
class Marks {
 public:
  // killAt: after Begin; none: the child lives until the parent kills it.
  Marks(int out, std::optional<std::chrono::microseconds> killAt) : out_(out), killAt_(killAt) {}
  void Begin() {
    ::clock_gettime(CLOCK_MONOTONIC, &begun_);
    test::Tell(out_, kBegins);
    if (!killAt_) return;
    sigevent event{};
    event.sigev_notify = SIGEV_SIGNAL;
    event.sigev_signo = SIGKILL;
    timer_t timer{};
    const int64_t at = begun_.tv_nsec + killAt_->count() * 1000;
    itimerspec when{};
    when.it_value.tv_sec = begun_.tv_sec + at / 1'000'000'000;
    when.it_value.tv_nsec = at % 1'000'000'000;
    if (::timer_create(CLOCK_MONOTONIC, &event, &timer) != 0 ||
        ::timer_settime(timer, TIMER_ABSTIME, &when, nullptr) != 0)
      ::_exit(5);
  }
  [[noreturn]] void Done() {
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    const int64_t took =
        (now.tv_sec - begun_.tv_sec) * 1'000'000 + (now.tv_nsec - begun_.tv_nsec) / 1000;
    test::Tell(out_, kDone);
    for (const char c : std::to_string(took) + "\n")
      test::Tell(out_, c);
    for (;;)
      ::pause();
  }

 private:
  int out_;
  std::optional<std::chrono::microseconds> killAt_;
  timespec begun_{};
};

// In memory where the machine has that: a killed process leaves what it
// wrote in the page cache, so flushes play no part in what a kill can break,
// and without waiting for a disk the 800 kills stay cheap.
class ScratchFolder {
 public:
  ScratchFolder() {
    const bool shm = ::access("/dev/shm", W_OK) == 0;
    std::string name = (shm ? std::string("/dev/shm") : fs::temp_directory_path().string()) +
                       "/vellix-kill-XXXXXX";
    if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    path_ = name;
  }
  ~ScratchFolder() {
    std::error_code ec;
    fs::remove_all(path_, ec);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  [[nodiscard]] const fs::path& Path() const { return path_; }

 private:
  fs::path path_;
};

// Files in a folder whose names hold `part`: what a write killed half-way
// leaves beside its file. Each with its time, as a store's journal comes
// back under the same name.
inline std::set<std::string> Leftovers(const fs::path& folder, const std::string& part) {
  std::set<std::string> names;
  std::error_code ec;
  for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
    const std::string name = it->path().filename().string();
    const auto stamp = StampOf(it->path());
    if (name.find(part) != std::string::npos && stamp)
      names.insert(name + " " + std::to_string(stamp->modifiedNs));
  }
  return names;
}

// One writer under test. Setup and Prepare run in the test's process, Work
// in a child that tells kBegins right before the write and kDone once it is
// on the disk. Check runs after each child, told whether the write was done
// before the kill; it answers whether the kill left a trace of a write cut
// half-way (a temporary file, a store's journal), before anything cleans up.
class Writer {
 public:
  explicit Writer(std::string name) : name_(std::move(name)) {}
  virtual ~Writer() = default;
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;
  [[nodiscard]] const std::string& Name() const { return name_; }
  virtual void Setup() {}
  virtual void Prepare() {}
  virtual void Work(Marks& marks) = 0;
  virtual bool Check(bool done) = 0;

 protected:
  // Whether the kill left something in `left` that the last check did not.
  [[nodiscard]] bool Fresh(const std::set<std::string>& left) const {
    return std::any_of(left.begin(), left.end(), [&](const auto& n) { return !seen_.contains(n); });
  }
  // What is left once a check is done.
  std::set<std::string> seen_;
  ScratchFolder scratch_;
  fs::path root_ = scratch_.Path();

 private:
  std::string name_;
};

// The writers of the period stores, made in store_writers.cpp.
std::unique_ptr<Writer> MakeProcessingPass();
std::unique_ptr<Writer> MakeBackupRun();

}  // namespace vellix::killtest

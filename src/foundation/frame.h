#pragma once

#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "foundation/context.h"
#include "foundation/vb_error.h"

namespace vellix {

// The frame every procedure, handler and property runs in. A failure stops
// the procedure where it failed, is written to the error log with the
// procedure's record, and the caller gets the default result:
//
//   bool FrmPopup::LeavePeriods() {
//     Frame frame(ctx(), "frmPopup", "LeavePeriods");
//     return frame.Run(false, [&] {
//       ...
//       frame.ErrorText = "...";  // a soft failure: logged with number 0
//       return true;
//     });
//   }
//
// A body that takes `T& result` sets its result as it goes; what it had set
// when it failed is what the caller gets, as with a function's name in the
// runtime.
class Frame {
 public:
  Frame(Context& ctx, std::string_view module, std::string_view procedure)
      : ctx_(ctx), module_(module), procedure_(procedure) {}

  // A soft failure: the last text set is logged with number 0 at the end.
  std::string ErrorText;
  // The frame end skips each of its own failing statements instead of
  // raising them into the caller (Main, TrayIcon).
  bool PassOverErrors = false;

  template <class T, class Body>
  T Run(T defaultResult, Body&& body) {
    T result = std::move(defaultResult);
    std::optional<VbError> pending;
    if constexpr (std::is_invocable_v<Body&, T&>) {
      pending = Capture([&] { body(result); });
    } else {
      T value = result;
      pending = Capture([&] { value = body(); });
      if (!pending) result = std::move(value);
    }
    End(pending);
    return result;
  }

  template <class Body>
  void Run(Body&& body) {
    End(Capture(std::forward<Body>(body)));
  }

  [[nodiscard]] Context& ctx() const { return ctx_; }

 private:
  template <class Fn>
  static std::optional<VbError> Capture(Fn&& fn) {
    try {
      fn();
    } catch (const VbError& e) {
      return e;
    } catch (const std::exception& e) {
      return VbError(kInternalError, std::string("Internal error: ") + e.what());
    }
    return std::nullopt;
  }

  // The frame end: the soft text, then the pending error if its number is
  // strictly positive. A number above 32767 overflows its 16-bit field and
  // the overflow goes to the caller.
  void End(const std::optional<VbError>& pending);

  static constexpr int32_t kInternalError = 51;

  Context& ctx_;
  // Literals, or texts that outlive the frame: they are only read when a
  // record is written, so a frame costs no copy of either.
  std::string_view module_;
  std::string_view procedure_;
};

}  // namespace vellix

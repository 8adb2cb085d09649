#pragma once

#include "core/console/spinner.hpp"
#include "core/console/text_style.hpp"
#include "core/platform/terminal.hpp"
#include "core/support/clock.hpp"
#include "core/support/environment.hpp"

#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <utility>

namespace kestu {

/// The one place that writes, and that knows whether a person at a terminal reads it or a script. What it may do is
/// decided when it is made. All functions may be called from any thread; writes never mix.
class Console {
 public:
  Console(Terminal& terminal, const Environment& environment, Clock& clock);

  bool spins() const { return spinner_.abilities().spins; }
  bool styles() const { return style_.on(); }

  /// Standard error is a terminal that can redraw a line, also when standard output goes elsewhere.
  bool redraws() const { return spinner_.abilities().redraws; }

  /// Standard input is a terminal, so that there is someone to ask.
  bool asks() const { return isTerminal(Stream::in); }
  bool isTerminal(Stream stream) const { return terminal_.isTerminal(stream); }

  /// The styles of what is shown; plain text where there are none.
  const TextStyles& style() const { return style_; }

  /// Columns for what is written to standard output.
  int width() const;

  /// The window's lines, when there is a window.
  std::optional<int> rows() const { return terminal_.rows(); }

  void out(std::string_view text); ///< to standard output as it is

  /// To standard output, a JSON document.
  void json(std::string_view document);

  /// With a line feed, and at a terminal broken between words; a command line to be copied stays whole.
  void line(std::string_view text);       ///< to standard output
  void error(std::string_view message);   ///< to standard error
  void failure(std::string_view message); ///< the same, its first line in red at a terminal

  /// Asks with " [y/N] "; only "y" and "yes" are yes. Throws Stopped.
  bool ask(std::string_view question, const std::stop_token& stop);

  /// A line redrawn in place on standard error, cut to the window; nothing where the console doesn't redraw.
  void status(std::string_view text);
  void clearStatus() { spinner_.status({}); }

  /// A call in flight, for as long as this lives.
  class Busy {
   public:
    explicit Busy(Console& console) : spinner_(console.spinner_) { spinner_.begin(); }
    ~Busy() { spinner_.end(); }
    Busy(const Busy&) = delete;
    Busy& operator=(const Busy&) = delete;

   private:
    Spinner& spinner_;
  };

  /// What the work returns, with the spinner turning meanwhile.
  template <class Work>
  auto during(Work&& work) {
    Busy busy(*this);
    return std::forward<Work>(work)();
  }

 private:
  std::string folded(Stream stream, std::string_view text) const;

  Terminal& terminal_;
  const std::optional<int> givenColumns_;
  const TextStyles style_;
  Spinner spinner_;
};

} // namespace kestu

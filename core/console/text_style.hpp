#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kestu {

/// A pair of Select Graphic Rendition codes (ECMA-48), and the functions that know such sequences in a text.
class TextStyle {
 public:
  static const TextStyle bold, dim, highlight, red, green, amber;

  constexpr TextStyle(std::string_view on, std::string_view off) : on_(on), off_(off) {}

  /// The text between the two sequences; as it is when it is empty or styles are off.
  std::string operator()(std::string_view text, bool on) const;

  /// Without style sequences.
  static std::string plain(std::string_view text);

  /// The count of user-perceived characters of the plain form.
  static std::size_t width(std::string_view text);

  /// Breaks lines at blanks so that they fit in so many columns; lines that this makes begin with `indent` blanks. A
  /// word that is too long keeps a line of its own, so that a link can be copied. No line ends with a blank.
  static std::string wrap(std::string_view text, int width, int indent = 0);

  /// One line of at most so many columns, with "…" where it was cut. What a style turned on is turned off.
  static std::string line(std::string_view text, int width);

 private:
  std::string_view on_;
  std::string_view off_;
};

inline constexpr TextStyle TextStyle::bold{"1", "22"};
inline constexpr TextStyle TextStyle::dim{"2", "22"};
inline constexpr TextStyle TextStyle::highlight{"7", "27"};
inline constexpr TextStyle TextStyle::red{"31", "39"};
inline constexpr TextStyle TextStyle::green{"32", "39"};
inline constexpr TextStyle TextStyle::amber{"33", "39"};

/// The styles of one place to show text at: on at a terminal, off elsewhere.
class TextStyles {
 public:
  explicit TextStyles(bool areOn) : on_(areOn) {}

  bool on() const { return on_; }
  std::string bold(std::string_view text) const { return TextStyle::bold(text, on_); }
  std::string dim(std::string_view text) const { return TextStyle::dim(text, on_); }
  std::string highlight(std::string_view text) const { return TextStyle::highlight(text, on_); }
  std::string red(std::string_view text) const { return TextStyle::red(text, on_); }
  std::string green(std::string_view text) const { return TextStyle::green(text, on_); }
  std::string amber(std::string_view text) const { return TextStyle::amber(text, on_); }

 private:
  bool on_;
};

} // namespace kestu

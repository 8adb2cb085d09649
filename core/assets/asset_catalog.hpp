#pragma once

#include "core/assets/asset_file.hpp"
#include "core/assets/asset_kind.hpp"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestu {

class JSONValue;

/// A range of pixel sizes, both ends inclusive.
struct Dimensions {
  std::int64_t minWidth = 0;
  std::int64_t maxWidth = 0;
  std::int64_t minHeight = 0;
  std::int64_t maxHeight = 0;

  bool contains(std::int64_t width, std::int64_t height) const;

  /// "1290 × 2796", "1200–1242 × 2208–2688".
  std::string text() const;
};

struct ImageSpec {
  Dimensions dimensions;
  bool alpha = false; ///< an alpha channel is taken
  std::optional<std::int64_t> maxBytes{};
  std::optional<std::vector<std::string>> extensions{}; ///< with their dots
  bool universal = false;                               ///< as the service sends it
};

struct FrameRates {
  double min = 0;
  double max = 0;
};

struct VideoSpec {
  Dimensions dimensions;
  std::vector<FrameRates> fps{}; ///< any rate when empty
  std::optional<double> minSeconds{};
  std::optional<double> maxSeconds{}; ///< durations are checked only when both are there
  bool audio = false;                 ///< a sound track is needed
  std::optional<std::int64_t> maxBytes{};
  std::optional<std::vector<std::string>> extensions{};
  bool universal = false;

  /// "30", "23.98".
  static std::string number(double value);

  /// "23.98–30 or 60".
  std::string rates() const;

  /// "15–30 s, 23.98–30 fps, with sound"; empty when anything goes.
  std::string text() const;
};

/// One of Apple's displays, or another place in which the App Store shows assets.
struct AssetDisplay {
  std::string group{}; ///< Apple's ID
  std::string name{};  ///< "iPhone 6.9″"
  std::string device{};
  std::string platform{};
  std::int64_t max = 0; ///< assets of the kind
  std::vector<ImageSpec> images{};
  std::vector<VideoSpec> videos{};

  /// The first of `images` or `videos` that contains the size; turned sideways when `turns` is set, nothing contains it
  /// upright and the device can be turned. Null when none does: spec(&AssetDisplay::images, 1290, 2796, true).
  template <class Spec>
  const Spec* spec(std::vector<Spec> AssetDisplay::*specs, std::int64_t width, std::int64_t height, bool turns) const;

  /// What is wrong with a file, each a predicate that goes after the file's path ("has an alpha channel, …"); none when
  /// the display takes no file of that size. A video without facts is only checked for being a video.
  std::optional<std::vector<std::string>> problems(const AssetFile& file, bool turns) const;

  /// The texts of the sizes taken, each once, in order.
  std::vector<std::string> sizes(MediaType type) const;
};

/// The displays of one kind, in the order in which they are shown. What it finds points into `displays`.
struct AssetDisplays {
  AssetKind kind = AssetKind::screenshots;
  std::vector<AssetDisplay> displays;

  template <class Spec>
  struct Sized {
    const AssetDisplay* display;
    const Spec* spec;
  };

  /// Of the first display with the same group; how many displays there are when there is none.
  std::size_t position(const AssetDisplay& display) const;

  /// The display that a folder's name stands for: by ID, else by the name with or without its inch mark; case and
  /// blanks don't matter. Null when there is none, or more than one of that name.
  const AssetDisplay* named(std::string_view text) const&;
  const AssetDisplay* named(std::string_view text) const&& = delete;

  /// The IDs of the displays that share a name, for which `named` therefore finds none; empty otherwise.
  std::vector<std::string> sharing(std::string_view text) const;

  /// The first display that takes the size, turned where the device can be: sized(&AssetDisplay::images, 1290, 2796).
  template <class Spec>
  std::optional<Sized<Spec>> sized(std::vector<Spec> AssetDisplay::*specs, std::int64_t width,
                                   std::int64_t height) const& {
    for (const AssetDisplay& display : displays) {
      if (const Spec* spec = display.spec(specs, width, height, true)) return Sized<Spec>{&display, spec};
    }
    return std::nullopt;
  }
  template <class Spec>
  std::optional<Sized<Spec>> sized(std::vector<Spec> AssetDisplay::*, std::int64_t, std::int64_t) const&& = delete;
};

/// Apple's displays by the kinds' catalog keys, as the service has them now.
struct AssetCatalog {
  std::map<std::string, std::vector<AssetDisplay>> kinds;

  /// Unknown keys are passed over. Throws JSONError when it isn't a catalog, CLIError (unavailable) when a range's
  /// minimum is above its maximum.
  static AssetCatalog read(const JSONValue& value);

  AssetDisplays operator[](AssetKind kind) const;

  /// Adds the displays of another catalog that this one lacks.
  void add(const AssetCatalog& other);

  /// Empty for a key that isn't there.
  const std::vector<AssetDisplay>& displays(const std::string& key) const;
};

} // namespace kestu

#include "core/assets/asset_catalog.hpp"
#include "core/console/format.hpp"
#include "core/support/text.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace kestu {

namespace {

constexpr double secondsTolerance = 0.05;
constexpr double rateTolerance = 0.5;

template <class Value, class Render>
std::string span(Value min, Value max, Render render) {
  return min == max ? render(min) : render(min) + "–" + render(max);
}

std::string bytes(std::int64_t count) {
  return Format::bytes(static_cast<std::uint64_t>(std::max<std::int64_t>(count, 0)));
}

void checkCommon(std::vector<std::string>& problems, const AssetFile& file, const auto& spec) {
  if (spec.extensions && !spec.extensions->empty()) {
    std::string dotted = dottedExtension(file.path);
    bool taken = std::any_of(spec.extensions->begin(), spec.extensions->end(),
                             [&](const std::string& accepted) { return Text::lowercased(accepted) == dotted; });
    if (!taken) {
      problems.push_back(fmt::format("is a {}, and Apple takes {} here", dotted, Text::orList(*spec.extensions)));
    }
  }
  if (spec.maxBytes && file.size > *spec.maxBytes) {
    problems.push_back(fmt::format("is {}, and Apple takes {} at most", bytes(file.size), bytes(*spec.maxBytes)));
  }
}

std::vector<std::string> imageProblems(const AssetFile& file, const ImageSpec& spec) {
  std::vector<std::string> problems;
  if (file.alpha && !spec.alpha) {
    problems.push_back("has an alpha channel, which Apple takes none of at " + spec.dimensions.text() +
                       ": save it without one");
  }
  checkCommon(problems, file, spec);
  return problems;
}

std::vector<std::string> videoProblems(const AssetFile& file, const VideoFacts& facts, const VideoSpec& spec) {
  std::vector<std::string> problems;
  if (spec.minSeconds && spec.maxSeconds &&
      !(*spec.minSeconds - secondsTolerance <= facts.seconds && facts.seconds <= *spec.maxSeconds + secondsTolerance)) {
    problems.push_back(fmt::format("runs {:.1f} s, and Apple takes {} s", facts.seconds,
                                   span(*spec.minSeconds, *spec.maxSeconds, VideoSpec::number)));
  }
  auto taken = [&](const FrameRates& rates) {
    return rates.min - rateTolerance <= facts.fps && facts.fps <= rates.max + rateTolerance;
  };
  if (!spec.fps.empty() && std::none_of(spec.fps.begin(), spec.fps.end(), taken)) {
    problems.push_back("is " + VideoSpec::number(facts.fps) + " fps, and Apple takes " + spec.rates() + " fps");
  }
  if (spec.audio && !facts.audio) {
    problems.emplace_back("has no sound track, which Apple needs here (a silent one will do)");
  }
  checkCommon(problems, file, spec);
  return problems;
}

template <class Spec>
void addSizes(std::vector<std::string>& texts, const std::vector<Spec>& specs) {
  for (const Spec& spec : specs) {
    std::string text = spec.dimensions.text();
    if (std::find(texts.begin(), texts.end(), text) == texts.end()) texts.push_back(text);
  }
}

} // namespace

bool Dimensions::contains(std::int64_t width, std::int64_t height) const {
  return minWidth <= width && width <= maxWidth && minHeight <= height && height <= maxHeight;
}

std::string Dimensions::text() const {
  auto pixels = [](std::int64_t count) { return std::to_string(count); };
  return span(minWidth, maxWidth, pixels) + " × " + span(minHeight, maxHeight, pixels);
}

std::string VideoSpec::number(double value) {
  bool whole = std::abs(value - std::round(value)) <= 0.01;
  return whole ? fmt::format("{:.0f}", std::round(value)) : fmt::format("{:.2f}", value);
}

std::string VideoSpec::rates() const {
  std::vector<std::string> ranges;
  for (const FrameRates& range : fps) ranges.push_back(span(range.min, range.max, number));
  return Text::joined(ranges, " or ");
}

std::string VideoSpec::text() const {
  std::vector<std::string> parts;
  if (minSeconds && maxSeconds) parts.push_back(span(*minSeconds, *maxSeconds, number) + " s");
  if (!fps.empty()) parts.push_back(rates() + " fps");
  if (audio) parts.emplace_back("with sound");
  return Text::joined(parts, ", ");
}

template <class Spec>
const Spec* AssetDisplay::spec(std::vector<Spec> AssetDisplay::*specs, std::int64_t width, std::int64_t height,
                               bool turns) const {
  auto find = [&](std::int64_t across, std::int64_t down) -> const Spec* {
    auto contains = [&](const Spec& spec) { return spec.dimensions.contains(across, down); };
    auto found = std::find_if((this->*specs).begin(), (this->*specs).end(), contains);
    return found == (this->*specs).end() ? nullptr : &*found;
  };
  const Spec* upright = find(width, height);
  bool canTurn = turns && (device == "iphone" || device == "ipad");
  return upright || !canTurn ? upright : find(height, width);
}

template const ImageSpec* AssetDisplay::spec(std::vector<ImageSpec> AssetDisplay::*, std::int64_t, std::int64_t,
                                             bool) const;
template const VideoSpec* AssetDisplay::spec(std::vector<VideoSpec> AssetDisplay::*, std::int64_t, std::int64_t,
                                             bool) const;

std::optional<std::vector<std::string>> AssetDisplay::problems(const AssetFile& file, bool turns) const {
  if (!file.isVideo) {
    const ImageSpec* fitting = spec(&AssetDisplay::images, file.width, file.height, turns);
    return fitting ? std::optional(imageProblems(file, *fitting)) : std::nullopt;
  }
  if (!file.facts) return videos.empty() ? std::nullopt : std::optional(std::vector<std::string>());
  const VideoSpec* fitting = spec(&AssetDisplay::videos, file.facts->width, file.facts->height, turns);
  return fitting ? std::optional(videoProblems(file, *file.facts, *fitting)) : std::nullopt;
}

std::vector<std::string> AssetDisplay::sizes(MediaType type) const {
  std::vector<std::string> texts;
  if (type == MediaType::image) addSizes(texts, images);
  if (type == MediaType::video) addSizes(texts, videos);
  return texts;
}

} // namespace kestu

#include "core/release/preview_page.hpp"

#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/listing/word_difference.hpp"
#include "core/release/preview_style.hpp"
#include "core/release/web_address.hpp"
#include "core/support/base64.hpp"
#include "core/support/error.hpp"
#include "core/support/files.hpp"
#include "core/support/text.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <memory>
#include <system_error>
#include <tuple>
#include <utility>
#include <vector>

namespace kestu::PreviewPage {

namespace {

using enum ListingField;

// What is kestu's own text stands in English and from left to right, wherever it is.
constexpr std::string_view english = R"( lang="en" dir="ltr")";

std::string inEnglish(std::string_view html, std::string_view look = "") {
  return look.empty() ? fmt::format("<span{}>{}</span>", english, html)
                      : fmt::format(R"(<span class="{}"{}>{}</span>)", look, english, html);
}

std::string counted(std::size_t count, std::string_view one) {
  return fmt::format("{} {}{}", count, one, count == 1 ? "" : "s");
}

std::string badge(std::string_view look, std::string_view text) {
  return fmt::format(R"(<span class="badge {}"{}>{}</span>)", look, english, escaped(text));
}

/// Errors, warnings and differences in so many words; empty without any.
template <class Counted>
std::string badges(const Counted& of) {
  std::string html;
  for (Level level : {Level::error, Level::warning}) {
    if (std::size_t count = of.count(level)) html += badge(rawValue(level), counted(count, rawValue(level)));
  }
  if (std::size_t count = of.differences()) html += badge("", counted(count, "difference"));
  return html;
}

std::string list(const Findings& findings) {
  if (findings.empty()) return {};
  std::string html = fmt::format("<ul class=\"findings\"{}>", english);
  for (const Finding& each : findings) {
    html += fmt::format("<li class=\"{0}\"><b>{0}</b> {1}</li>", rawValue(each.level), escaped(each.message));
  }
  return html + "</ul>\n";
}

std::string difference(std::string_view before, std::string_view after) {
  std::string html;
  const WordRun* last = nullptr;
  const auto runs = wordDifference(before, after);
  for (const WordRun& run : runs) {
    const std::string text = escaped(run.text);
    if (last && wouldGlue(*last, run)) html += ' ';
    last = &run;
    html += run.kind == WordRun::Kind::same   ? text
            : run.kind == WordRun::Kind::goes ? "<del>" + text + "</del>"
                                              : "<ins>" + text + "</ins>";
  }
  return html;
}

std::string standingBadge(Standing standing) {
  switch (standing) {
  case Standing::added:
    return badge("mark", "new");
  case Standing::changed:
    return badge("mark", "changed");
  case Standing::held:
    return badge("held mark", "not taken any more");
  default:
    return {};
  }
}

/// The text itself: a web address as a link, what changed word by word.
std::string content(const PreviewText& text) {
  if (text.standing == Standing::changed && text.other) return difference(*text.other, text.shown);
  if (text.shown.empty()) return inEnglish("none", "soft");
  if (facts(text.field).isURL && isWebAddress(text.shown)) {
    return fmt::format(R"(<a href="{0}" rel="noopener noreferrer" dir="ltr">{0}</a>)", escaped(text.shown));
  }
  return escaped(text.shown);
}

/// What the repository says and the version doesn't take.
std::string heldBack(const PreviewText& text) {
  if (text.standing != Standing::held || !text.other) return {};
  return "<p class=\"soft mark\">" + inEnglish("The repo says otherwise, and this version takes no more of it:") +
         "</p><p class=\"text differs held mark\">" + difference(text.shown, *text.other) + "</p>";
}

std::string look(Standing standing) {
  return standing == Standing::added || standing == Standing::changed ? " differs" : "";
}

std::string headed(const PreviewText* text, std::string_view heading) {
  if (!text) return {};
  return fmt::format("<h4>{}{}</h4>\n<p class=\"text{}\">{}</p>{}{}\n", inEnglish(heading),
                     standingBadge(text->standing), look(text->standing), content(*text), heldBack(*text),
                     list(text->findings));
}

std::string duration(double seconds) {
  const auto whole = static_cast<std::int64_t>(std::llround(seconds));
  return fmt::format("{}:{:02}", whole / 60, whole % 60);
}

std::string videoText(const AssetFile& file) {
  std::string html = R"(<span class="play" aria-hidden="true">▶</span><span>App preview</span>)";
  if (file.facts) html += fmt::format("<span>{} long</span>", duration(file.facts->seconds));
  html += file.frame ? "<span>poster frame at " + escaped(*file.frame) + "</span>" : "";
  return html;
}

/// What is said of a file, by its name rather than its whole path.
Findings byName(const PreviewAsset& asset) {
  Findings findings = asset.findings;
  for (Finding& each : findings) {
    if (each.message.starts_with(asset.path)) each.message.replace(0, asset.path.size(), asset.file.name);
  }
  return findings;
}

std::string caption(const PreviewAsset& asset) {
  std::string html = "<bdi>" + escaped(asset.file.name) + "</bdi>";
  if (asset.file.width > 0) html += fmt::format("<br>{} × {}", asset.file.width, asset.file.height);
  std::string word;
  if (asset.standing == Standing::added) word = "new";
  if (asset.standing == Standing::changed) word = "poster frame changed";
  if (asset.standing == Standing::moved) word = fmt::format("moved, was {}", asset.before.value_or(0));
  if (asset.standing == Standing::removed) word = "goes away";
  if (!word.empty()) {
    html += "<br>" + badge(asset.standing == Standing::removed ? "removed mark" : "mark", word);
  }
  return fmt::format("<figcaption>{}{}</figcaption>", inEnglish(html), list(byName(asset)));
}

/// The parts of a page, one after the other.
class Writer {
 public:
  Writer(const ReleasePreview& preview, const std::function<void(std::string_view)>& sink, const std::stop_token& stop)
      : preview_(preview), sink_(sink), stop_(stop) {}

  void write() {
    start();
    if (!preview_.findings.empty()) {
      sink_("<section><h2>The release</h2>\n" + list(preview_.findings) + "</section>\n");
    }
    for (const PreviewLanguage& each : preview_.languages) language(each);
    sink_(
        fmt::format("</main>\n<footer class=\"soft\">{}Made by kestu release preview, {}.</footer>\n</body>\n</html>\n",
                    copyright(), escaped(preview_.made)));
  }

 private:
  void start() const {
    const std::string title = escaped(preview_.title);
    std::string html = "<!doctype html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n";
    html += std::string(mark) + "\n";
    html += R"(<meta http-equiv="Content-Security-Policy" content="default-src 'none'; img-src data:; )"
            R"(style-src 'unsafe-inline'; base-uri 'none'; form-action 'none'">)"
            "\n<meta name=\"referrer\" content=\"no-referrer\">\n"
            "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n";
    html += fmt::format("<title>{} · preview</title>\n<style>{}</style>\n</head>\n<body>\n", title, style);
    html += fmt::format("<header>\n<h1>{}</h1>\n<p class=\"soft\">{}</p>\n", title,
                        escaped(preview_.state + (preview_.state.empty() ? "" : " · ") + preview_.made));
    std::string sums = badges(preview_);
    if (sums.empty() && preview_.isCompared) sums = badge("", "App Store Connect has all of it");
    html += "<p class=\"sums\">" + sums + "</p>\n";
    for (const std::string& left : preview_.leftOut) html += "<p class=\"left\">" + escaped(left) + "</p>\n";
    if (preview_.isCompared) {
      html += "<p class=\"switch\"><input type=\"checkbox\" id=\"marks\" checked>"
              "<label for=\"marks\">Mark what differs from App Store Connect</label></p>\n";
    }
    sink_(html + "</header>\n" + navigation() + "<main>\n");
  }

  std::string navigation() const {
    if (preview_.languages.size() < 2) return {};
    std::string html = "<nav aria-label=\"Languages\"><ul>\n<li><a href=\"#\">All</a></li>\n";
    for (const PreviewLanguage& each : preview_.languages) {
      std::string_view dot = each.count(Level::error)     ? "error"
                             : each.count(Level::warning) ? "warning"
                             : each.differences()         ? "apart"
                                                          : "";
      std::string_view says = dot == "error" ? "has errors" : dot == "warning" ? "has warnings" : "differs";
      html += fmt::format(
          "<li><a href=\"#{0}\" title=\"{0}\">{1}{2}</a></li>\n", escaped(each.locale), nameOf(each),
          dot.empty() ? "" : fmt::format(R"(<span class="dot {}" role="img" aria-label="{}"></span>)", dot, says));
    }
    return html + "</ul></nav>\n";
  }

  std::string copyright() const {
    if (!preview_.copyright) return {};
    return (preview_.copyright->starts_with("©") ? "" : "© ") + escaped(*preview_.copyright) + "<br>";
  }

  static std::string nameOf(const PreviewLanguage& language) {
    return escaped(language.name.empty() ? language.locale : language.name);
  }

  void language(const PreviewLanguage& language) {
    const std::string locale = escaped(language.locale);
    std::string html = fmt::format(
        "<section class=\"language\" id=\"{0}\" aria-labelledby=\"{0}-heading\">\n<h2 id=\"{0}-heading\">{1} <span "
        "class=\"soft\">{0}{2}</span>{3}{4}</h2>\n",
        locale, nameOf(language), language.isPrimary ? " · primary language" : "",
        language.isNew ? badge("mark", "new language") : "", badges(language));
    html += list(language.findings);
    html += fmt::format("<article lang=\"{}\" dir=\"{}\">\n", locale, language.rightToLeft ? "rtl" : "ltr");
    sink_(html + head(language));
    for (const PreviewDisplay& each : language.displays) display(each);
    if (language.displays.empty()) sink_("<p>" + inEnglish("No screenshots.", "soft") + "</p>\n");
    html = headed(language.text(promotionalText), "Promotional text");
    html += headed(language.text(description), "Description");
    html += headed(language.text(whatsNew), "What’s new");
    sink_(html + information(language) + "</article>\n</section>\n");
  }

  static std::string head(const PreviewLanguage& language) {
    const PreviewText* title = language.text(name);
    const PreviewText* under = language.text(subtitle);
    std::string html = fmt::format("<div class=\"head\"><div class=\"icon\"{}>App icon</div><div>\n<h3{}>{}{}</h3>\n",
                                   english, title && !look(title->standing).empty() ? " class=\"differs\"" : "",
                                   title && !title->shown.empty() ? content(*title) : inEnglish("No name", "soft"),
                                   title ? " " + standingBadge(title->standing) : "");
    if (title) html += heldBack(*title) + list(title->findings);
    if (under) {
      html += fmt::format("<p class=\"subtitle{}\">{} {}</p>\n{}{}", look(under->standing),
                          under->shown.empty() ? inEnglish("No subtitle", "soft") : content(*under),
                          standingBadge(under->standing), heldBack(*under), list(under->findings));
    }
    return html + "</div></div>\n";
  }

  /// What isn't read on the page itself: its links, and the keywords that customers never see.
  static std::string information(const PreviewLanguage& language) {
    std::string rows;
    for (const auto& [field, label] : {std::pair(keywords, "Keywords, for search alone"),
                                       {supportUrl, "Support URL"},
                                       {marketingUrl, "Marketing URL"},
                                       {privacyPolicyUrl, "Privacy policy URL"},
                                       {privacyChoicesUrl, "Privacy choices URL"}}) {
      const PreviewText* text = language.text(field);
      if (!text) continue;
      rows += fmt::format("<dt>{}</dt><dd><span class=\"{}\">{}</span> {}{}{}</dd>\n", inEnglish(label),
                          look(text->standing), content(*text), standingBadge(text->standing), heldBack(*text),
                          list(text->findings));
    }
    if (rows.empty()) return {};
    return "<h4>" + inEnglish("Information") + "</h4>\n<dl>\n" + rows + "</dl>\n";
  }

  /// "5 files: 1 new, 1 goes away".
  static std::string sums(const PreviewDisplay& display) {
    auto count = [&](auto takes) {
      return static_cast<std::size_t>(std::count_if(display.assets.begin(), display.assets.end(), takes));
    };
    const std::size_t own = count([](const PreviewAsset& each) { return each.isThere(); });
    if (own == 0) return "App Store Connect’s, not in the repo";
    std::vector<std::string> parts;
    for (const auto& [standing, one, more] : {std::tuple(Standing::added, "new", "new"),
                                              {Standing::moved, "moved", "moved"},
                                              {Standing::changed, "changed", "changed"},
                                              {Standing::removed, "goes away", "go away"}}) {
      const std::size_t found = count([is = standing](const PreviewAsset& each) { return each.standing == is; });
      if (found > 0) parts.push_back(fmt::format("{} {}", found, found == 1 ? one : more));
    }
    return counted(own, "file") + (parts.empty() ? "" : ": " + Text::joined(parts, ", "));
  }

  void display(const PreviewDisplay& display) {
    std::string html = fmt::format("<section class=\"display\"><h4>{} {}</h4>\n{}", inEnglish(escaped(display.name)),
                                   inEnglish(sums(display), "soft"), list(display.findings));
    sink_(html + fmt::format("<ul class=\"strip\" tabindex=\"0\" aria-label=\"{}\">\n", escaped(display.name)));
    for (const PreviewAsset& each : display.assets) asset(each);
    sink_("</ul></section>\n");
  }

  void asset(const PreviewAsset& asset) {
    if (stop_.stop_requested()) throw Stopped();
    sink_(fmt::format("<li><figure class=\"{}\">", rawValue(asset.standing)));
    if (!asset.embedded || !image(asset)) standIn(asset);
    sink_(caption(asset) + "</figure></li>\n");
  }

  void standIn(const PreviewAsset& asset) const {
    std::string inside = asset.file.isVideo ? videoText(asset.file)
                         : asset.isThere()  ? "<span>" + escaped(asset.file.name) + "</span>"
                                            : "<span>In App Store Connect, not in the repo</span>";
    sink_(fmt::format("<div class=\"stand{}{}\"{}>{}</div>", asset.file.isVideo ? " video" : "",
                      asset.standing == Standing::removed ? " removed" : "", english, inside));
  }

  /// False, and nothing written, when the file can't be opened any more.
  bool image(const PreviewAsset& asset) const {
    std::unique_ptr<FileReader> file;
    try {
      file = std::make_unique<FileReader>(asset.file.path);
    } catch (const std::system_error&) {
      return false;
    }
    constexpr std::size_t piece = std::size_t{3} << 16U; // a multiple of 3, as base64 needs it
    auto buffer = std::make_unique<std::array<char, piece>>();
    std::size_t count = file->readAt(0, buffer->data(), piece);
    const bool isPNG = std::string_view(buffer->data(), count).starts_with("\x89PNG");
    sink_(fmt::format(R"(<img alt="{}" width="{}" height="{}" src="data:image/{};base64,)", escaped(asset.file.name),
                      asset.file.width, asset.file.height, isPNG ? "png" : "jpeg"));
    for (std::uint64_t offset = 0; count > 0; count = file->readAt(offset, buffer->data(), piece)) {
      if (stop_.stop_requested()) throw Stopped();
      sink_(base64({buffer->data(), count}));
      offset += count;
    }
    sink_("\">");
    return true;
  }

  const ReleasePreview& preview_;
  const std::function<void(std::string_view)>& sink_;
  const std::stop_token& stop_;
};

} // namespace

std::string escaped(std::string_view text) {
  std::string html;
  for (char c : printableText(text)) {
    switch (c) {
    case '&':
      html += "&amp;";
      break;
    case '<':
      html += "&lt;";
      break;
    case '>':
      html += "&gt;";
      break;
    case '"':
      html += "&quot;";
      break;
    case '\'':
      html += "&#39;";
      break;
    default:
      html += c;
    }
  }
  return html;
}

void write(const ReleasePreview& preview, const std::function<void(std::string_view)>& sink,
           const std::stop_token& stop) {
  Writer(preview, sink, stop).write();
}

} // namespace kestu::PreviewPage

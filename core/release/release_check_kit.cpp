#include "core/console/format.hpp"
#include "core/release/release_check.hpp"
#include "core/support/text.hpp"

#include <fmt/format.h>

#include <algorithm>

namespace kestu::ReleaseCheck {

Findings whatsNew(const std::vector<WhatsNewPage>& pages, const std::string& version, const std::string& platform,
                  const std::optional<std::string>& repositoryPage) {
  auto warning = [](std::string message) -> Findings {
    return {{Level::warning, "whatsnew", std::nullopt, std::move(message)}};
  };
  auto isShown = [&](const WhatsNewPage& page) { return !page.platform || *page.platform == platform; };
  const WhatsNewPage* own = nullptr;
  bool earlier = false;
  for (const WhatsNewPage& page : pages) {
    if (!isShown(page)) continue;
    // A page of the platform's own is shown before one of every platform's.
    if (page.version == version && (!own || page.platform)) own = &page;
    earlier = earlier || Text::naturalLess(page.version, version);
  }
  std::string number = Format::shellWord(version);
  if (own && own->isDraft()) {
    return warning(fmt::format("The {} What's New page is a draft, so no one sees it: kestu kit whats-new publish {}{}",
                               version, number, own->platform ? " --platform " + Format::shellWord(platform) : ""));
  }
  if (own) return {};
  if (repositoryPage) {
    Findings findings = warning(fmt::format("{} isn't uploaded to kestu: kestu kit whats-new upload {} --version {}",
                                            *repositoryPage, Format::shellWord(*repositoryPage), number));
    findings.front().file = repositoryPage;
    return findings;
  }
  if (!earlier) return {};
  return warning("No What's New page for " + version + ", though earlier versions had one.");
}

Findings flags(const std::vector<FlagRead>& missing) {
  Findings findings;
  for (const FlagRead& read : missing) {
    findings.push_back(
        {Level::warning,
         "flags",
         std::nullopt,
         fmt::format("The code reads the flag {} ({}:{}), which kestu doesn't have: kestu kit flags create {}",
                     read.key, read.file, read.line, Flags::argument(read.key)),
         {},
         read.file,
         read.line});
  }
  return findings;
}

} // namespace kestu::ReleaseCheck

#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/overview/app_status.hpp"
#include "core/release/phased.hpp"
#include "core/release/versions.hpp"
#include "core/support/text.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace kestu {

namespace {

/// A row of the page: what it is about, which only the first of several says, and its text.
struct Row {
  std::string label;
  std::string text;
};

std::string counted(std::int64_t count, const std::string& one, const std::string& several) {
  return Format::number(count) + " " + (count == 1 ? one : several);
}

/// What a version waits for, where its state doesn't say so itself; begins with a comma.
std::string waitsFor(const AppStatus::OnPlatform& on, Moment now) {
  const StoreVersion& next = *on.next;
  if (next.isWithReview()) return on.submittedAt ? ", sent " + Format::ago(*on.submittedAt, now) : "";
  if (next.state == "pendingapplerelease" && next.earliestReleaseDate) {
    return ", " + Format::moment(*next.earliestReleaseDate, now);
  }
  if (next.state == "prepareforsubmission" || next.state == "readyforreview" || next.state == "developerrejected") {
    return next.build ? ", waits for you to send it" : ", waits for a build";
  }
  return next.takesUpdate() ? ", waits for what you mend" : "";
}

void addPlatform(std::vector<Row>& rows, const AppStatus::OnPlatform& on, const TextStyles& style, Moment now) {
  std::vector<std::string> texts;
  if (on.live) texts.push_back(style.bold(on.live->number()) + " " + Versions::stateText(*on.live, style));
  if (on.next) {
    texts.push_back(style.bold(on.next->number()) + " " + Versions::stateText(*on.next, style) + waitsFor(on, now));
  }
  if (texts.empty()) texts.emplace_back("no version yet");
  if (on.build) {
    texts.push_back("build " + on.build->text() + " " + on.build->stateText() + ", " +
                    Format::ago(on.build->uploadedAt, now));
  }
  for (std::size_t at = 0; at < texts.size(); ++at)
    rows.push_back({at == 0 ? platformLabel(on.platform) : "", texts[at]});
}

std::string rankText(const AppStatus::Rank& rank, const TextStyles& style) {
  std::string change;
  if (rank.before && *rank.before > rank.rank) change = style.green(fmt::format(" ▲{}", *rank.before - rank.rank));
  if (rank.before && *rank.before < rank.rank) change = style.red(fmt::format(" ▼{}", rank.rank - *rank.before));
  if (!rank.before) change = style.green(" new");
  return fmt::format("#{}{} in {}, {}, {}", rank.rank, change, printable(rank.category), printable(rank.chart),
                     printable(rank.storefront));
}

std::vector<Row> rowsOf(const AppStatus& status, const TextStyles& style, Moment now) {
  std::vector<Row> rows;
  for (const AppStatus::OnPlatform& on : status.platforms) addPlatform(rows, on, style, now);
  if (status.platforms.empty()) rows.push_back({"Versions", "none yet"});
  rows.push_back({"Rating", status.rating ? fmt::format("{:.1f} of 5, {}", status.rating->average,
                                                        counted(status.rating->count, "rating", "ratings"))
                                          : "none yet"});
  if (status.reviews) {
    std::string unread =
        status.reviews->unread == 0 ? "none unread" : Format::number(status.reviews->unread) + " unread";
    rows.push_back({"Reviews", (status.reviews->unread > 0 ? style.amber(unread) : unread) + ", " +
                                   Format::number(status.reviews->recent) + " in the last " +
                                   counted(status.reviews->days, "day", "days")});
  } else {
    rows.push_back({"Reviews", "none yet"});
  }
  auto add = [&](const std::string& label, std::string text) {
    bool repeated = std::any_of(rows.begin(), rows.end(), [&](const Row& row) { return row.label == label; });
    rows.push_back({repeated ? "" : label, std::move(text)});
  };
  for (const AppStatus::Rank& rank : status.ranks) add("Ranks", rankText(rank, style));
  for (const AppStatus::WaitingPlan& each : status.waiting) {
    add("Approvals", style.amber(printable(each.title)) + " waits in the kestu app, until " +
                         Format::moment(each.plan.expiresAt, now));
  }
  for (const AppStatus::RunningJob& each : status.jobs) {
    add("Jobs", printable(each.group) + ": " + printable(Format::job(each.job)));
  }
  return rows;
}

} // namespace

std::string AppStatus::text(std::optional<int> width, const TextStyles& style, Moment now) const {
  constexpr int column = 11;
  std::string page = style.bold(printable(app.name)) + " (" + printable(app.bundleId) + ")";
  if (width) page = TextStyle::wrap(page, *width, 2);
  for (const Row& row : rowsOf(*this, style, now)) {
    std::string pad(static_cast<std::size_t>(std::max(column - static_cast<int>(Text::columns(row.label)), 0)), ' ');
    std::string line = style.dim(row.label) + pad + row.text;
    page += "\n" + (width ? TextStyle::wrap(line, *width, column) : line);
  }
  return page;
}

} // namespace kestu

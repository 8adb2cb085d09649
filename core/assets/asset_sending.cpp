#include "core/assets/asset_sending.hpp"

#include "core/assets/asset_problems.hpp"
#include "core/assets/asset_walk.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/console/progress.hpp"
#include "core/console/table.hpp"
#include "core/project/project_search.hpp"
#include "core/support/tasks.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <chrono>
#include <iterator>
#include <map>
#include <mutex>
#include <utility>

namespace kestu {

using Kind = CLIError::Kind;

namespace {

std::string filesText(const AssetTotals& sum, const std::string& after) {
  std::string files = sum.files == 1 ? "1 file" : Format::number(sum.files) + " files";
  return files + " (" + Format::bytes(sum.bytes) + ") " + after;
}

/// "2 added, 1 removed".
std::string displayChange(const PlannedDisplay& display) {
  std::vector<std::string> parts;
  auto add = [&](const std::optional<std::int64_t>& count, const std::string& word) {
    if (count.value_or(0) > 0) parts.push_back(Format::number(*count) + " " + word);
  };
  add(display.added, "added");
  add(display.removed, "removed");
  add(display.moved, "moved");
  add(display.framed, display.framed == 1 ? "poster frame" : "poster frames");
  return parts.empty() ? "changed" : Text::joined(parts, ", ");
}

/// Null where App Store Connect shows nothing.
const ShownDisplay* shownOf(const ShownAssets& shown, const AssetKey& key) {
  for (const ShownLanguage& language : shown.languages) {
    if (language.locale != key.locale) continue;
    for (const ShownDisplay& display : language.displays) {
      if (display.kind == key.kind && display.group == key.group) return &display;
    }
  }
  return nullptr;
}

/// Tells the service which files have arrived.
class Arrivals {
 public:
  Arrivals(const Client& client, const AssetDestination& destination)
      : client_(client), path_(destination.app + "/assets/uploaded"), query_(destination.query()), begun_(now()),
        told_(begun_) {}

  /// From any thread; told now and then.
  void add(const std::string& assetId) {
    std::vector<std::string> ids;
    {
      std::lock_guard lock(mutex_);
      ++count_;
      waiting_.push_back(assetId);
      if (now() - told_ < pause()) return;
      ids = std::exchange(waiting_, {});
      told_ = now();
    }
    try {
      tell(client_, ids);
    } catch (...) { // they are told at the end
      std::lock_guard lock(mutex_);
      waiting_.insert(waiting_.end(), ids.begin(), ids.end());
      throw;
    }
  }

  void tellAll() { tell(client_, std::exchange(waiting_, {})); }

  /// In an end that wasn't meant to come; what keeps it from being told is of no use to the user.
  void tellBeforeTheEnd() {
    try {
      tell(client_.unstopped(), std::exchange(waiting_, {}));
    } catch (const std::exception&) {
    }
  }

  int count() const { return count_; } ///< once nothing is sent any more

 private:
  std::chrono::nanoseconds now() const { return client_.context().clock.continuous(); }

  /// Seldom enough that a long push spends no more calls on it than a short one.
  std::chrono::nanoseconds pause() const {
    return std::max<std::chrono::nanoseconds>(std::chrono::seconds(2), (now() - begun_) / 20);
  }

  void tell(const Client& client, const std::vector<std::string>& ids) const {
    if (ids.empty()) return;
    client.checked(client.send("POST", path_, query_, JSONData::object({{"assetIds", ids}}).compact()));
  }

  const Client& client_;
  const std::string path_;
  const Query query_;
  const std::chrono::nanoseconds begun_;
  std::mutex mutex_; // guards what follows
  std::vector<std::string> waiting_;
  std::chrono::nanoseconds told_;
  int count_ = 0;
};

} // namespace

std::string AssetSelection::plural() const {
  return kinds.size() == 1 ? std::string(facts(kinds.front()).plural) : "assets";
}

std::string AssetSelection::limits() const {
  std::string text;
  if (!locales.empty()) text += " for " + printable(Text::joined(locales, ", "));
  if (!displays.empty()) text += " on " + printable(Text::joined(displays, ", "));
  return text;
}

namespace AssetPush {

std::vector<std::string> groups(const AssetSelection& selection, const AssetCatalog& catalog,
                                const ScanOptions& options) {
  std::vector<std::string> found;
  for (const std::string& name : selection.displays) {
    std::size_t before = found.size();
    std::string unknown;
    for (AssetKind kind : selection.kinds) {
      DisplayChoice displays(catalog[kind], options);
      if (unknown.empty() || !displays.all().sharing(name).empty()) unknown = displays.unknown(name);
      if (const AssetDisplay* display = displays.named(name)) found.push_back(display->group);
    }
    if (found.size() == before) throw CLIError(Kind::usage, printable(unknown));
  }
  return found;
}

AssetCatalog catalogs(const Client& client, const std::string& app, const std::vector<std::string>& platforms) {
  std::vector<AssetCatalog> found(platforms.size());
  fewAtOnce(found.size(), found.size(), client.context().stop, [&](std::size_t index, const std::stop_token&) {
    Query query = {{"platform", platforms[index]}};
    found[index] = client.get(app + "/assets/catalog", query, AssetCatalog::read).value;
  });
  AssetCatalog all;
  for (const AssetCatalog& catalog : found) all.add(catalog);
  return all;
}

AssetScan scan(const AssetSelection& selection, const std::filesystem::path& root, const AssetCatalog& catalog,
               ScanOptions options) {
  options.locales = selection.locales;
  options.groups = groups(selection, catalog, options);
  options.hashing = true;
  AssetScan all;
  for (AssetKind kind : selection.kinds) {
    AssetScan one = Assets::sets(kind, root, catalog, options);
    std::move(one.sets.begin(), one.sets.end(), std::back_inserter(all.sets));
    std::move(one.problems.begin(), one.problems.end(), std::back_inserter(all.problems));
    std::move(one.notes.begin(), one.notes.end(), std::back_inserter(all.notes));
  }
  if (all.sets.empty()) all.elsewhere = Project::elsewhere(Project::Contents::screenshots, root);
  return all;
}

void requireSendable(const AssetScan& scan, const AssetSelection& selection, int columns) {
  if (!scan.problems.empty()) {
    throw CLIError(Kind::failed,
                   "Apple wouldn't take these, so nothing was sent:" + problemLines(scan.problems, columns));
  }
  if (!scan.sets.empty()) return;
  std::string folder(facts(selection.kinds.front()).folders.front());
  std::string message = "This repo has no " + selection.plural() + selection.limits() +
                        ", so nothing was sent. They go in " + folder +
                        "/<locale>/<display>/: kestu assets sizes lists the displays.";
  for (const std::string& line : scan.elsewhere) message += "\n" + printable(line);
  throw CLIError(Kind::notFound, message);
}

} // namespace AssetPush

std::string AssetTotals::toUpload() const { return files == 0 ? "nothing to upload" : filesText(*this, "to upload"); }

std::string AssetTotals::uploaded() const { return files == 0 ? "nothing uploaded" : filesText(*this, "uploaded"); }

AssetSending::AssetSending(AssetDestination destination, std::vector<AssetSet> sets, AssetsPlan plan, JSONData body)
    : destination_(std::move(destination)), sets_(std::move(sets)), plan_(std::move(plan)), body_(std::move(body)),
      transfers_(AssetPush::transfers(plan_, sets_)) {}

AssetSending AssetSending::plan(const Client& client, AssetDestination destination, std::vector<AssetSet> sets,
                                const std::string& plural, bool dryRun) {
  Query query = destination.query();
  if (dryRun) query.push_back(Client::dryRun);
  std::string request = AssetPush::planned(sets).compact();
  std::string body = client.checked(client.send("POST", destination.app + "/assets", query, request));
  try {
    JSONValue value = JSONValue::parse(body);
    AssetsPlan plan = AssetsPlan::read(value);
    for (const AssetSet& set : sets) AssetPush::displayOf(plan, set);
    AssetSending sending(std::move(destination), std::move(sets), std::move(plan), JSONData::copied(value));
    for (const AssetTransfer& transfer : sending.transfers_) {
      // Nothing is reserved in a dry run, so there may be no parts yet.
      if (!dryRun && !UploadPart::areWhole(transfer.upload->parts, transfer.file->size)) {
        throw JSONError("the parts of " + transfer.upload->assetId + " aren't its file");
      }
    }
    return sending;
  } catch (const JSONError&) {
    throw CLIError(Kind::unavailable, "kestu's answer for the " + plural +
                                          " wasn't what this version of the CLI expects. Update the CLI, or try "
                                          "again.");
  }
}

AssetTotals AssetSending::totals() const {
  AssetTotals sum;
  for (const AssetTransfer& transfer : transfers_) {
    ++sum.files;
    sum.bytes += static_cast<std::uint64_t>(transfer.file->size);
  }
  return sum;
}

std::string AssetSending::lines(const TextStyles& style) const {
  std::vector<std::vector<std::string>> rows;
  for (const AssetSet& set : sets_) {
    const PlannedDisplay& display = AssetPush::displayOf(plan_, set);
    if (display.unchanged) continue;
    rows.push_back({"  " + style.bold(printable(set.locale)), printable(set.display.name),
                    counted(set.kind, set.files.size()), displayChange(display)});
  }
  return Format::table(rows);
}

std::vector<ChangeItem> AssetSending::changes(const ShownAssets& shown) const {
  std::vector<ChangeItem> items;
  for (const AssetSet& set : sets_) {
    if (AssetPush::displayOf(plan_, set).unchanged) continue;
    const ShownDisplay* now = shownOf(shown, set.key());
    std::string place = set.locale + " " + set.display.name;
    std::vector<std::string> from, to;
    std::map<std::string, std::optional<std::string>> frames; // by checksum
    for (const ShownAsset& asset : now ? now->assets : std::vector<ShownAsset>()) {
      from.push_back(asset.fileName + (asset.md5 ? " " + *asset.md5 : ""));
      if (asset.md5) frames[*asset.md5] = asset.frame;
    }
    for (const AssetFile& file : set.files) to.push_back(file.name + " " + file.md5.value_or(""));
    auto before = from.empty() ? std::nullopt : std::optional(Text::joined(from, "\n"));
    if (before != Text::joined(to, "\n")) {
      items.push_back({place, std::string(facts(set.kind).plural), before, Text::joined(to, "\n")});
    }
    for (const AssetFile& file : set.files) {
      auto frame = frames[file.md5.value_or("")];
      if (file.frame && file.frame != frame)
        items.push_back({place, "poster frame of " + file.name, frame, file.frame});
    }
  }
  return items;
}

JSONData AssetSending::answer() const {
  JSONData uploads = JSONData::array();
  for (const AssetTransfer& transfer : transfers_) {
    const AssetUpload& upload = *transfer.upload;
    uploads.add(JSONData::object({{"assetId", upload.assetId},
                                  {"md5", upload.md5},
                                  {"video", upload.video},
                                  {"fileName", transfer.file->name},
                                  {"size", transfer.file->size}}));
  }
  JSONData answer = body_;
  return answer.set("uploads", std::move(uploads));
}

void AssetSending::upload(const Client& client) const {
  if (transfers_.empty()) return;
  const ServiceContext& context = client.context();
  AssetTotals sum = totals();
  Arrivals arrivals(client, destination_);
  try {
    Progress progress(context.console, context.clock, "Sending", sum.bytes, sum.files, {"file", "files"});
    AssetPush::send(
        transfers_, PartUploader(context.transport, context.clock), context.stop,
        [&](const AssetFile& file, std::int64_t bytes) { progress.advance(bytes, 0, printable(file.name)); },
        [&](const AssetTransfer& transfer) {
          progress.advance(0, 1);
          arrivals.add(transfer.upload->assetId);
        });
  } catch (const Stopped&) {
    arrivals.tellBeforeTheEnd();
    context.console.error("Stopped: " + Format::number(arrivals.count()) + " of " + Format::number(sum.files) +
                          (sum.files == 1 ? " file" : " files") +
                          " had arrived, and nothing changed. Run it again to send the rest.");
    throw;
  } catch (const std::exception&) {
    arrivals.tellBeforeTheEnd();
    throw;
  }
  arrivals.tellAll();
}

ChangeRequest AssetSending::commit() const {
  return {"POST", destination_.app + "/assets/commit", destination_.query(), AssetPush::placed(plan_, sets_).compact()};
}

} // namespace kestu

#include "cli/offers/offer_codes.hpp"
#include "cli/prices/typed_values.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/support/incoming_file.hpp"
#include "core/support/moments.hpp"
#include "core/support/text.hpp"

#include <charconv>
#include <chrono>
#include <filesystem>
#include <memory>
#include <system_error>

namespace kestu {

namespace fs = std::filesystem;

namespace {

using Kind = CLIError::Kind;

constexpr std::int64_t mostCodes = 25'000; // of a batch
constexpr std::size_t longestCode = 64;
constexpr int mostMonths = 6; // that one-time codes are good for

/// Where codes are written, as it was typed.
struct CodesTarget {
  std::optional<std::string> to;
  bool force = false;

  bool isStandardOutput() const { return to == "-"; }
  fs::path file(const Context& context) const { return context.folder / *to; }

  void declare(Command& command) {
    declareWord(command, "--to", "file",
                "Where the codes go, a line each: a file (one that ends in .csv has their links too), or - for "
                "standard output.",
                to);
    command.flag({"--force"}, force, "Write over a file that is there.");
  }

  /// Before anything is sent: whether they could be written there.
  void requireFree(const Context& context) const {
    if (!to || isStandardOutput()) return;
    std::error_code ignored;
    fs::path target = file(context);
    if (fs::is_directory(target, ignored))
      throw CLIError(Kind::usage, printable(*to) + " is a folder: name a file in it.");
    fs::path folder = target.parent_path();
    if (!fs::is_directory(folder, ignored)) {
      throw CLIError(Kind::usage, printable(*to) + " lies in a folder that isn't there.");
    }
    bool isThere = fs::exists(fs::symlink_status(target, ignored));
    if (isThere && !force) throw CLIError::notWritten("Something is there already", {printable(*to)});
  }

  void check(const Output& output, Faults& faults) const {
    if (to && to->empty()) faults.add("--to is empty: it's a file, or - for standard output.");
    if (force && (!to || isStandardOutput())) faults.add("--force goes with --to and a file.");
    if (isStandardOutput() && output.quiet()) faults.add("--to - writes the codes alone, so --output has no place.");
  }
};

/// The codes once Apple has made them.
std::vector<std::string> fetchCodes(Context& context, const FoundOffer& found, const std::string& batchId) {
  constexpr std::chrono::minutes patience{10};
  constexpr std::chrono::seconds interval{5};
  Console::Busy busy(context.console);
  auto deadline = context.clock.continuous() + patience;
  std::string path = found.path + "/batches/" + percentEncoded(batchId) + "/codes";
  while (true) {
    auto answer = found.client.get(path, {}, [](const JSONValue& value) {
      return std::pair(value.at("state").text(), value.at("codes").texts());
    });
    auto& [state, codes] = answer.value;
    if (state == "ready") {
      for (const std::string& code : codes) {
        if (!CodeFile::isCode(code)) throw notUnderstood();
      }
      return std::move(codes);
    }
    if (context.clock.continuous() + interval >= deadline) {
      throw CLIError(Kind::pending, "Apple is still making the codes.");
    }
    context.clock.sleep(interval, context.stop);
  }
}

/// "500 codes".
std::string counted(std::size_t count) {
  return Format::number(static_cast<std::int64_t>(count)) + (count == 1 ? " code" : " codes");
}

std::size_t writeCodes(Context& context, const FoundOffer& found, const std::string& batchId,
                       const CodesTarget& target) {
  std::vector<std::string> codes = fetchCodes(context, found, batchId);
  bool spreadsheet = Text::lowercased(*target.to).ends_with(".csv");
  std::string text = CodeFile::text(codes, found.app.appId, spreadsheet);
  bool isFile = !target.isStandardOutput();
  if (isFile) target.requireFree(context); // it may have come meanwhile
  try {
    if (!isFile) {
      context.console.out(text);
    } else {
      IncomingFile file(target.file(context));
      file.write(text);
      file.replaceTarget(0600); // each code is worth an offer
    }
  } catch (const std::system_error& error) {
    std::string place = isFile ? printable(*target.to) : "Standard output";
    throw CLIError(Kind::failed, place + " couldn't be written (" + error.code().message() + ").");
  }
  return codes.size();
}

/// "kestu offer-codes download Spring --codes … --to codes.txt", which fetches them at any time.
std::string downloadCommand(const FoundOffer& found, const AppTarget& app, const std::string& batchId,
                            const std::string& to) {
  return "kestu offer-codes download" + offerWords(app, found.word) + " --codes " + printable(batchId) + " --to " +
         Format::shellWord(printable(to));
}

// generate

struct GenerateOptions : ChangeOptions {
  OfferTarget target;
  std::optional<std::string> count, expires, custom;
  CodesTarget codes;
};

struct Wanted {
  std::int64_t count = 0;
  std::optional<std::string> expires, custom;
};

std::string dayOf(Moment moment) { return Moments::iso8601(moment).substr(0, 10); }

std::string lastDay(Moment now) {
  auto today = std::chrono::floor<std::chrono::days>(now);
  std::chrono::year_month_day day(today);
  day += std::chrono::months(mostMonths);
  if (!day.ok()) day = day.year() / day.month() / std::chrono::last;
  return dayOf(std::chrono::sys_days(day));
}

void checkExpiry(const GenerateOptions& options, Moment now, Faults& faults) {
  const auto& expires = options.expires;
  if (!expires) {
    if (!options.custom) faults.add("--expires is the last day of one-time codes, as " + expiryExample(now) + ".");
    return;
  }
  if (!TypedValues::isDay(*expires) || *expires <= dayOf(now)) {
    faults.add("--expires is a day to come, as " + expiryExample(now) + ", not " + printable(*expires) + ".");
  } else if (!options.custom && *expires > lastDay(now)) {
    faults.add("One-time codes are good for " + std::to_string(mostMonths) + " months, so --expires is " +
               lastDay(now) + " at most.");
  }
}

Wanted wantedOf(const GenerateOptions& options, Moment now, Console& console) {
  Faults faults;
  Wanted wanted{0, options.expires, options.custom};
  if (!options.count) {
    faults.add(options.custom ? "--count says how many times the code may be redeemed."
                              : "--count says how many one-time codes, or with --custom how many times a code of your "
                                "own may be redeemed.");
  } else {
    const std::string& typed = *options.count;
    auto [end, error] = std::from_chars(typed.data(), typed.data() + typed.size(), wanted.count);
    bool isRead = error == std::errc() && end == typed.data() + typed.size();
    if (!isRead || wanted.count < 1 || wanted.count > mostCodes) {
      faults.add("--count is a whole number from 1 to " + Format::number(mostCodes) + ", not " + printable(typed) +
                 ".");
    }
  }
  checkExpiry(options, now, faults);
  if (options.custom && (!CodeFile::isCode(*options.custom) || options.custom->size() > longestCode)) {
    faults.add("--custom is up to " + std::to_string(longestCode) + " letters and figures: SPRING26.");
  }
  if (options.custom && options.codes.to) faults.add("--custom is one code, which you know: --to goes without it.");
  if (options.codes.to && options.noWait) faults.add("--to waits for the codes, so it goes without --no-wait.");
  options.codes.check(options, faults);
  faults.settle(console);
  return wanted;
}

ProposedChange proposalOf(const FoundOffer& found, const Wanted& wanted, const GenerateOptions& options) {
  CodeBatch batch;
  batch.code = wanted.custom;
  batch.count = wanted.count;
  std::string until = wanted.expires ? ", until " + Format::day(*wanted.expires) : "";
  std::string what = batch.title() + " for " + found.about() + until;
  ProposedChange change;
  change.title = found.app.appTitle() + ": " + what + ", after your approval. It gives " + found.offer.what() + " to " +
                 Format::eligibility(found.offer.eligibility) + ".";
  std::string place = wanted.custom.value_or("one-time codes");
  change.items = {{place, "count", std::nullopt, std::to_string(wanted.count)}};
  if (wanted.expires) change.items.push_back({place, "expires on", std::nullopt, wanted.expires});
  change.would = "Dry run: would make " + what + ", in " + found.app.appTitle() + ", after your approval.";
  change.done = "✓ Made " + what + ".";
  if (wanted.custom) {
    change.done += "\nNext: kestu offer-codes view" + offerWords(options.target.app, found.word);
  }
  return change;
}

std::string batchIdIn(const std::string& body) {
  try {
    return JSONValue::parse(body).at("batchId").text();
  } catch (const JSONError&) {
    throw notUnderstood();
  }
}

/// After the codes are made: into the file; whatever goes wrong, how to have them still is told.
void deliver(Context& context, const FoundOffer& found, const std::string& batchId, const GenerateOptions& options,
             const Response<ChangeAnswer>& answer) {
  std::string command = downloadCommand(found, options.target.app, batchId, *options.codes.to);
  std::size_t count = 0;
  try {
    count = writeCodes(context, found, batchId, options.codes);
  } catch (const CLIError& error) {
    throw CLIError(error.kind,
                   error.description + "\nThe codes are made, and stay in App Store Connect.\nNext: " + command);
  } catch (const Stopped&) {
    context.console.error("The codes are made, and stay in App Store Connect.\nNext: " + command);
    throw;
  }
  if (options.codes.isStandardOutput()) return;
  JSONData whole = JSONData::copied(JSONValue::parse(answer.body));
  whole.set("count", static_cast<std::int64_t>(count)).set("file", *options.codes.to);
  options.emit(context.console, whole,
               "✓ Wrote " + counted(count) + " to " + printable(*options.codes.to) +
                   ". Each is worth an offer: keep the file to yourself.");
}

/// Codes are made of an offer that is on, and a custom code once.
void requireRoom(const FoundOffer& found, const Wanted& wanted, const GenerateOptions& options,
                 const std::string& today) {
  std::string about = "The" + found.about().substr(3);
  if (!found.offer.active) throw CLIError(Kind::failed, about + " is off for good. Nothing sent.");
  for (const CodeBatch& each : found.offer.batches) {
    if (!wanted.custom || each.code != wanted.custom || !each.active || each.expiresOn.value_or(today) < today)
      continue;
    throw CLIError(Kind::failed, about + " has the code " + each.title() + " already. Nothing sent.\nNext: kestu " +
                                     "offer-codes view" + offerWords(options.target.app, found.word));
  }
}

void runGenerate(Context& context, const GenerateOptions& options) {
  Wanted wanted = wantedOf(options, context.clock.now(), context.console);
  options.codes.requireFree(context);
  FoundOffer found = FoundOffer::of(options.target, context);
  requireRoom(found, wanted, options, TypedValues::today(context));
  JSONData body = JSONData::object({{"count", wanted.count}});
  body.setGiven("code", wanted.custom).setGiven("expiresOn", wanted.expires);
  ChangeRequest request{"POST", found.path + "/batches", {}, body.compact()};
  ProposedChange change = proposalOf(found, wanted, options);
  if (options.dryRun) return options.send(context, found.client, request, change);
  GenerateOptions telling = options;
  telling.json = options.quiet() || options.codes.isStandardOutput(); // standard output is the codes' alone
  telling.confirm(context, change);
  auto answer = telling.sent(context, found.client, request, change);
  std::string batchId = batchIdIn(answer.body);
  std::string download = wanted.custom ? "" : downloadCommand(found, options.target.app, batchId, "codes.txt");
  if (answer.value.plan && answer.value.plan->waits()) {
    std::string then = download.empty() ? "" : "\nOnce it's approved: " + download;
    return options.emitBody(context.console, answer.body,
                            "● Waiting for your approval in the kestu app." + then + "\nNext: kestu status" +
                                ofApp(options.target.app));
  }
  if (!options.codes.to) {
    return options.emitBody(context.console, answer.body,
                            change.done + (download.empty() ? "" : "\nNext: " + download));
  }
  telling.say(context.console, change.done);
  deliver(context, found, batchId, options, answer);
}

// download

struct DownloadOptions : GlobalOptions {
  OfferTarget target;
  std::optional<std::string> batch;
  CodesTarget codes;
};

const CodeBatch& batchOf(const FoundOffer& found, const DownloadOptions& options) {
  const CodeBatch* batch = options.batch ? found.offer.batch(*options.batch) : found.offer.newestOneTime();
  std::string words = offerWords(options.target.app, found.word);
  std::string about = "The" + found.about().substr(3);
  if (!batch && options.batch) {
    throw CLIError(Kind::notFound, about + " has no codes " + printable(*options.batch) + ": kestu offer-codes view" +
                                       words + " shows them.");
  }
  if (!batch) {
    throw CLIError(Kind::notFound, about + " has no one-time codes yet.\nNext: kestu offer-codes generate" + words +
                                       " --count 500 --expires <day>");
  }
  if (batch->isOneTime()) return *batch;
  throw CLIError(Kind::usage, printable(*batch->code) + " is a custom code, the same for everyone: there's nothing to "
                                                        "download.");
}

void runDownload(Context& context, const DownloadOptions& options) {
  Faults faults;
  if (!options.codes.to) faults.add("--to says where the codes go: a file, or - for standard output.");
  options.codes.check(options, faults);
  faults.settle(context.console);
  options.codes.requireFree(context);
  FoundOffer found = FoundOffer::of(options.target, context);
  const CodeBatch& batch = batchOf(found, options);
  if (!found.offer.isOn(batch))
    context.console.error("! These codes are off for good: nobody can redeem them any more.");
  std::size_t count = 0;
  try {
    count = writeCodes(context, found, batch.batchId, options.codes);
  } catch (const CLIError& error) {
    if (error.kind != Kind::pending) throw;
    throw CLIError(error.kind, error.description + " Run it again to keep waiting.");
  }
  if (options.codes.isStandardOutput()) return;
  JSONData object = JSONData::object(
      {{"batchId", batch.batchId}, {"count", static_cast<std::int64_t>(count)}, {"file", *options.codes.to}});
  options.emit(context.console, object,
               "✓ Wrote " + counted(count) + " of " + found.about() + " to " + printable(*options.codes.to) + ".");
}

} // namespace

std::string expiryExample(Moment now) { return dayOf(now + std::chrono::hours(24 * 90)); }

void addOfferCodesGenerate(Command& group) {
  Command& command = group.add("generate", "Make codes of an offer: one-time codes, or a custom code that many may "
                                           "redeem. Waits for your approval.");
  command.discussion =
      "With --to the one-time codes are written once they are made; kestu offer-codes download fetches "
      "them at any time. A file that is there is never written over without --force.";
  auto options = std::make_shared<GenerateOptions>();
  options->target.declare(command);
  declareWord(command, "--count", "count",
              "How many one-time codes, or with --custom how many times the code may be redeemed: up to 25,000.",
              options->count);
  declareWord(
      command, "--expires", "date",
      "Their last day, as 2026-12-26: of one-time codes 6 months ahead at most. A custom code's may be left out.",
      options->expires);
  declareWord(command, "--custom", "code", "A code of your own, up to 64 letters and figures: SPRING26.",
              options->custom);
  options->codes.declare(command);
  options->target.app.declare(command);
  options->ChangeOptions::declare(command);
  command.needs({"--count"});
  command.needs({"--expires", "--custom"});
  command.example("Winter --count 500 --expires 2027-03-31 --to codes.txt",
                  "One-time codes, written to a file once they're made.");
  command.example("Winter --custom FROST27 --count 1000", "One word that a thousand may redeem.");
  command.run = [options](Context& context) { runGenerate(context, *options); };

  Command& download = group.add("download", "Write an offer's one-time codes to a file, or to standard output.");
  auto downloading = std::make_shared<DownloadOptions>();
  downloading->target.declare(download);
  declareWord(download, "--codes", "codes",
              "Which codes, by their ID, as kestu offer-codes view shows it. The newest when left out.",
              downloading->batch);
  downloading->codes.declare(download);
  downloading->target.app.declare(download);
  downloading->GlobalOptions::declare(download);
  download.needs({"--to"});
  download.example("Winter --to codes.csv", "The newest codes, with their links.");
  download.example("Winter --to -", "On standard output.");
  download.run = [downloading](Context& context) { runDownload(context, *downloading); };
}

} // namespace kestu

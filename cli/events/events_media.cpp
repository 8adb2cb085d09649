#include "cli/before_sending.hpp"
#include "cli/events/events.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/console/progress.hpp"

#include <memory>

namespace kestu {

using Kind = CLIError::Kind;

namespace {

struct MediaOptions : ChangeOptions {
  EventTarget target;
  const EventSlot* slot = nullptr;
  std::string file;
  std::optional<std::string> language, frame;
};

/// The language that the file goes to; it has to be there.
std::string languageOf(const FoundEvent& found, const MediaOptions& options) {
  std::string locale = languageOr(options.language, found.event.primaryLocale, found.app);
  if (found.event.language(locale)) return locale;
  throw CLIError(Kind::notFound, found.event.quoted() + " isn't in " + printable(locale) +
                                     ". To give it the language: " + found.command("localize") + " --language " +
                                     Format::shellWord(printable(locale)) + " --display-name <name>");
}

ProposedChange proposal(const FoundEvent& found, const EventMediaFile& file, const std::string& locale) {
  const EventLanguage& language = *found.event.language(locale);
  const auto& before = file.slot == &EventMediaFile::card ? language.card : language.details;
  const std::string label(file.slot->label);
  ProposedChange change;
  change.waits = false;
  change.title = found.app.appTitle() + ", in-app event " + found.event.quoted() + " in " + printable(locale) + ": " +
                 file.name() + " (" + Format::bytes(static_cast<std::uint64_t>(file.size())) + ") as its " + label +
                 (before ? ", in place of " + printable(before->fileName) : "") + ".";
  change.items = {{found.event.name + " " + locale, label, before ? std::optional(before->fileName) : std::nullopt,
                   file.path.filename().string()}};
  if (file.frame || (before && before->frame && file.video)) {
    change.items.push_back(
        {found.event.name + " " + locale, label + " poster frame", before ? before->frame : std::nullopt, file.frame});
  }
  change.would = "Dry run: would send " + file.name() + " as the " + label + " of " + found.about() + " in " +
                 printable(locale) + ".";
  change.done = "✓ Sent " + file.name() + ". Apple checks it: " + found.command("view") + " says when it's ready.";
  return change;
}

void runMedia(Context& context, const MediaOptions& options) {
  EventMediaFile file = beforeSending(context.console, [&] {
    return EventMediaFile::read(context.folder, options.file, *options.slot, options.frame, context.probe,
                                context.stop);
  });
  Faults faults;
  checkLanguage("--language", options.language, faults);
  faults.add(file.problem);
  if (!file.note.empty()) faults.notes.push_back(file.note);
  faults.settle(context.console);
  FoundEvent found = FoundEvent::of(options.target, context);
  refuse(found.refusal({std::string(options.slot->label)}, context));
  const std::string locale = languageOf(found, options);
  ProposedChange change = proposal(found, file, locale);
  if (options.dryRun) return options.tellDryRun(context, change, "{}");
  options.confirm(context, change);
  std::string assetId = uploadEventMedia(context, found.client, found.path + "/languages/" + percentEncoded(locale),
                                         file, "Nothing of the event changed; run it again.");
  JSONData answer = file.reservation();
  answer.set("assetId", assetId).set("locale", locale);
  options.emitBody(context.console, answer.compact(), change.done);
}

void addMedia(Command& group, const EventSlot& slot, const std::string& abstract, const std::string& fileHelp) {
  Command& command = group.add(std::string(slot.key), abstract);
  command.discussion = "PNG or JPEG, or .mov, .mp4 or .m4v. The bytes go straight to Apple, which then checks them.";
  auto options = std::make_shared<MediaOptions>();
  options->slot = &slot;
  options->target.declare(command);
  command.argument({"file", fileHelp,
                    [options](const std::string& value) {
                      if (value.empty()) throw UsageError("The file's path is empty.");
                      options->file = value;
                    },
                    true});
  declareEventText(command, "--language", "language",
                   "The language that it's for, as App Store Connect writes it. The event's primary language when left "
                   "out.",
                   options->language);
  declareEventText(command, "--frame", "frame",
                   "A video's poster frame, HH:MM:SS:FF: 00:00:05:00. Apple's own to start "
                   "with.",
                   options->frame);
  const std::string name = slot.key == "card" ? "\"Winter Lights\" card" : "\"Winter Lights\" page";
  command.example(name + ".png", "An image, in the event's primary language.");
  command.example(name + ".mov --language sv --frame 00:00:05:00", "A video in Swedish, with its poster frame.");
  options->target.app.declare(command);
  options->ChangeOptions::declare(command);
  command.run = [options](Context& context) { runMedia(context, *options); };
}

} // namespace

std::string uploadEventMedia(Context& context, const Client& client, const std::string& languagePath,
                             const EventMediaFile& file, const std::string& left) {
  bool committing = false;
  // What a lost answer to the last call leaves isn't known.
  auto leaves = [&](bool answered) {
    return committing && !answered ? "Whether the event has it now isn't known: kestu events view shows it." : left;
  };
  try {
    auto reserved = client
                        .decoded(client.send("POST", languagePath + "/media", {}, file.reservation().compact()),
                                 EventMediaReservation::read)
                        .value;
    Progress progress(context.console, context.clock, "Sending " + file.name(), static_cast<std::uint64_t>(file.size()),
                      static_cast<int>(reserved.parts.size()));
    PartUploader uploader(context.transport, context.clock, {});
    file.send(
        reserved.parts, uploader, context.stop, [&](int, int) { progress.advance(0, 1); },
        [&](std::int64_t bytes) { progress.advance(bytes, 0); });
    progress.finish();
    committing = true;
    client.post(languagePath + "/media/" + percentEncoded(reserved.assetId) + "/commit");
    return reserved.assetId;
  } catch (const CLIError& error) {
    throw CLIError(error.kind, error.description + "\n" + leaves(error.kind != Kind::unavailable));
  } catch (const Stopped&) {
    context.console.error(leaves(false));
    throw;
  }
}

void addEventsMedia(Command& group) {
  addMedia(
      group, EventMediaFile::card,
      "Upload an in-app event's card, what Today and Search show of it: a landscape image or video, 16:9, in place "
      "of the one before.",
      "The card: a landscape image or video, 16:9, from 1920 × 1080.");
  addMedia(group, EventMediaFile::details,
           "Upload an in-app event's details page, what opens from its card: a portrait image or video, 9:16, in place "
           "of the one before.",
           "The details page: a portrait image or video, 9:16, from 1080 × 1920.");
}

} // namespace kestu

#include "cli/events/events.hpp"
#include "cli/unchanged.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/events/event_text.hpp"

#include <functional>
#include <memory>

namespace kestu {

namespace {

struct ReviewOptions : ChangeOptions {
  EventTarget target;
  bool withVersion = false;
};

void runSubmit(Context& context, const ReviewOptions& options) {
  FoundEvent found = FoundEvent::of(options.target, context);
  refuse(EventRules::submitRefusal(found.event));
  const bool alone = !options.withVersion;
  const std::string next =
      "\nNext: kestu submit <version> --event " + Format::shellWord(printable(found.called())) + found.ofApp;
  const bool ready = found.event.stateKind() == EventState::readyForReview;
  if (ready && !alone) {
    return tellUnchanged(context, options,
                         "✓ " + found.event.quoted() + " goes with the version already: nothing sent." + next);
  }
  const std::string how = alone ? " on its own" : " with the version";
  ProposedChange change;
  change.waits = alone;
  change.title = "Send " + found.about() + " to App Review" + how + ".";
  change.items = {{found.event.name, "state", found.event.state, alone ? "waitingforreview" : "readyforreview"}};
  change.would =
      "Dry run: would send " + found.about() + " to App Review" + how + (alone ? ", after your approval." : ".");
  change.done = alone ? "✓ Sent " + found.event.quoted() + " to App Review."
                      : "✓ " + found.event.quoted() + " goes to App Review with the version." + next;
  ChangeRequest request{"POST", found.path + "/submit", {}, JSONData::object({{"withVersion", !alone}}).compact()};
  options.make(context, found.client, request, change);
}

void runCancel(Context& context, const ReviewOptions& options) {
  FoundEvent found = FoundEvent::of(options.target, context);
  refuse(EventRules::cancelRefusal(found.event));
  ProposedChange change;
  change.waits = false;
  const bool there = found.event.stateKind() != EventState::readyForReview;
  change.title = "Take " + found.about() + " back from App Review." + (there ? " It loses its place there." : "");
  change.items = {{found.event.name, "state", found.event.state, "draft"}};
  change.would = "Dry run: would take " + found.about() + " back from App Review.";
  change.done =
      "✓ Took " + found.event.quoted() + " back from App Review. It can change now.\nNext: " + found.command("submit");
  options.make(context, found.client, {"POST", found.path + "/cancel", {}, std::nullopt}, change);
}

void runDelete(Context& context, const ReviewOptions& options) {
  FoundEvent found = FoundEvent::of(options.target, context);
  refuse(EventRules::deleteRefusal(found.event, found.command("cancel")));
  ProposedChange change;
  change.title = "Delete " + found.about() + ", which is " + Format::eventState(found.event) + ". Can't be undone.";
  change.items = {{found.event.name, "event", found.event.eventId, std::nullopt}};
  change.would = "Dry run: would delete " + found.about() + ", after your approval.";
  change.done = "✓ Deleted " + found.event.quoted() + ".";
  options.make(context, found.client, {"DELETE", found.path, {}, std::nullopt}, change);
}

Command& add(Command& group, const std::string& word, const std::string& abstract,
             void (*run)(Context&, const ReviewOptions&),
             const std::function<void(Command&, ReviewOptions&)>& own = nullptr) {
  Command& command = group.add(word, abstract);
  auto options = std::make_shared<ReviewOptions>();
  options->target.declare(command);
  if (own) own(command, *options);
  options->target.app.declare(command);
  options->ChangeOptions::declare(command);
  command.run = [options, run](Context& context) { run(context, *options); };
  return command;
}

} // namespace

void addEventsReview(Command& group) {
  add(group, "submit",
      "Send an in-app event to App Review: on its own, which waits for your approval in the Kestu app, or with the "
      "version.",
      runSubmit, [](Command& command, ReviewOptions& options) {
        command.flag({"--with-version"}, options.withVersion,
                     "Let it go with the version that's submitted next, rather than on its own.");
        command.example("\"Winter Lights\"", "On its own, after your approval.");
        command.example("\"Winter Lights\" --with-version", "With the version that is submitted next.");
      });
  add(group, "cancel", "Take an in-app event back from App Review, to change it and submit it again.", runCancel)
      .example("\"Harvest Moon\"", "Takes it back.");
  add(group, "delete",
      "Delete an in-app event: a draft, an approved one or an archived one, as Apple allows. Can't be undone, so it "
      "waits for your approval.",
      runDelete)
      .example("\"Winter Lights\" --dry-run", "What would go; nothing is sent.");
}

} // namespace kestu

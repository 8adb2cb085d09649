#include "cli/app_platform.hpp"
#include "cli/before_sending.hpp"
#include "cli/builds/builds.hpp"
#include "cli/context.hpp"
#include "core/builds/build_file.hpp"
#include "core/builds/build_upload.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/console/progress.hpp"
#include "core/support/text.hpp"

#include <memory>

namespace kestu {

using Kind = CLIError::Kind;

namespace {

// upload

struct UploadOptions : GlobalOptions {
  std::string file;
  BuildFile::Given given;
  BuildPlatform platform;
  AppTarget app;
  WaitTime time;
  bool wait = false;
  bool dryRun = false;
};

BuildReference referenceTo(const BuildFile& file) { return {file.version, file.number, std::nullopt}; }

/// Another command line about the file's build.
std::string commandAbout(const std::string& command, const BuildFile& file, const UploadOptions& options) {
  ManagedBuild named;
  named.version = file.version;
  named.number = file.number;
  named.platform = file.platform;
  return BuildTarget{std::nullopt, options.platform, options.app}.next(command, named);
}

/// The step's result. When it ends too soon, what that leaves at Apple is said: `undone` after a refusal, `unsure`
/// where no answer tells whether the step was done.
template <class Step>
auto orSay(Context& context, const std::string& undone, const std::string& unsure, Step step) {
  try {
    return step();
  } catch (const CLIError& error) {
    const std::string& left = error.kind == Kind::unavailable ? unsure : undone;
    throw CLIError(error.kind, error.description + (left.empty() ? "" : "\n" + left));
  } catch (const Stopped&) {
    context.console.error(unsure);
    throw;
  }
}

/// The builds and uploads that have this name already, which a wait for the new one must not take for it.
std::vector<std::string> sameName(const Client& client, const std::string& path, const BuildFile& file) {
  std::vector<std::string> ids;
  for (const ManagedBuild& build : Builds::fetch(client, path, file.platform).value.builds) {
    if (referenceTo(file).names(build)) ids.push_back(build.buildId);
  }
  return ids;
}

void sendParts(Context& context, const BuildFile& file, const std::vector<UploadPart>& parts) {
  Progress progress(context.console, context.clock, "Sending", file.size, static_cast<int>(parts.size()));
  PartUploader uploader(context.transport, context.clock, {"Run it again to send it anew.", ""});
  BuildUpload::send(
      file, parts, uploader, context.stop, [&](int, int) { progress.advance(0, 1); },
      [&](std::int64_t bytes) { progress.advance(bytes, 0); });
  progress.finish();
}

/// Reserves, sends the file and commits; the ID of the upload.
std::string upload(Context& context, const Client& client, const std::string& path, const BuildFile& file,
                   const UploadOptions& options) {
  const std::string uploads = path + "/testflight/uploads";
  const std::string look = "kestu builds list" + BuildTarget{{}, {}, options.app}.ofApp();
  const std::string ofBuild = commandAbout("remove", file, options);
  UploadReservation reserved =
      orSay(context, "", "An unfinished upload may be at Apple now. " + look + " shows it; to remove it: " + ofBuild,
            [&] { return client.post(uploads, {}, BuildUpload::request(file), UploadReservation::read).value; });
  // Earlier runs may have left more of the same build.
  const std::string removal = ofBuild + " --upload " + Format::shellWord(printable(reserved.uploadId));
  const std::string stays = "The unfinished upload stays at Apple until it's removed: " + removal;
  orSay(context, stays, stays, [&] { sendParts(context, file, reserved.parts); });
  orSay(context, stays,
        "Whether Apple has the whole file now isn't known. " + look +
            " shows where it is; if it's still uploading, remove it: " + removal,
        [&] { client.post(uploads + "/" + percentEncoded(reserved.uploadId) + "/commit"); });
  return reserved.uploadId;
}

void runUpload(Context& context, const UploadOptions& options) {
  Console& console = context.console;
  BuildFile::Given given = options.given;
  given.platform = options.platform.platform;
  BuildFile file =
      beforeSending(console, [&] { return BuildFile::read(context.folder, options.file, given, context.stop); });
  if (!file.problem.empty()) console.error(file.name() + " goes as it is. " + file.problem);
  Client client = context.signedIn();
  auto app =
      beforeSending(console, [&] { return AppOnPlatform::resolve(client, options.app, file.platform, context); });
  const std::string& path = app.path;
  std::string build = file.text() + " for " + platformLabel(file.platform);
  std::string about = app.appTitle() + " " + build;
  std::string size = Format::bytes(file.size);
  JSONData request = BuildUpload::request(file);
  if (options.dryRun) {
    client.checked(client.send("POST", path + "/testflight/uploads", {Client::dryRun}, request.compact()));
    if (options.quiet()) {
      console.json(withChanges(request.compact(), {{build, "build", std::nullopt, file.name()}}));
    } else {
      console.line("Dry run: " + about + " (" + file.name() + ", " + size + ") would upload. Nothing sent.");
    }
    return;
  }
  options.say(console, file.name() + ": " + about + ", " + size + ", straight to Apple…");
  std::vector<std::string> past;
  if (options.wait) past = beforeSending(console, [&] { return sameName(client, path, file); });
  std::string uploadId = upload(context, client, path, file, options);
  std::string done = "✓ Uploaded " + build + ". Apple is processing it, usually 5 to 30 minutes.";
  JSONData answer = request;
  answer.set("uploadId", uploadId);
  if (!options.wait) return options.emit(console, answer, done + "\nNext: " + commandAbout("wait", file, options));
  options.say(console, done);
  BuildTarget target{std::nullopt, options.platform, options.app};
  BuildWait::Goal goal{referenceTo(file), file.platform, false, false, past};
  auto reached = waitFor(context, options, client, path, goal, options.time.limit, target);
  if (!reached) {
    // Running the same again would send the file a second time.
    throw CLIError(Kind::pending, "The time ran out with it still on its way. To keep waiting: " +
                                      commandAbout("wait", file, options));
  }
  answer.set("processed", reached->json);
  options.emit(console, answer, reachedText(reached->build, target));
}

/// An option whose text `read` takes, or refuses.
void declareText(Command& command, const std::string& name, const std::string& help, std::optional<std::string>& target,
                 std::string (*read)(const std::string&)) {
  command.option(
      {{"--" + name}, name, help, [&target, read](const std::string& value) { target = read(value); }, {}, false});
}

// remove

struct RemoveOptions : ChangeOptions {
  BuildTarget target;
  std::optional<std::string> uploadId;
};

void runRemove(Context& context, const RemoveOptions& options) {
  Client client = context.signedIn();
  auto app = AppOnPlatform::resolve(client, options.target.app, options.target.platform.platform, context);
  const std::string& path = app.path;
  auto uploads = BuildUpload::fetchUnfinished(client, path);
  Moment now = context.clock.now();
  const UnfinishedUpload& upload =
      BuildUpload::choose(uploads, *options.target.build, options.target.platform.platform, options.uploadId, now);
  ChangeRequest request{
      "DELETE", path + "/testflight/uploads/" + percentEncoded(upload.uploadId), {}, upload.named().compact()};
  std::string build = upload.text() + " for " + platformLabel(upload.platform);
  std::string details =
      "the unfinished upload of " + app.appTitle() + " " + build + ", begun " + Format::ago(upload.createdAt, now);
  ProposedChange change;
  change.title = "Remove " + details + ". Can't be undone.";
  change.sameAs = request.method + " " + request.path;
  change.items = {{build, "unfinished upload", upload.uploadId, std::nullopt}};
  change.would = "Dry run: would remove " + details + ", after your approval.";
  change.done = "✓ Removed the unfinished upload of " + upload.text() + ".";
  options.make(context, client, request, change);
}

} // namespace

void addBuildsUpload(Command& group) {
  Command& command =
      group.add("upload", "Upload a build to TestFlight: its bytes go straight to Apple, never through kestu.");
  command.discussion =
      "An .ipa's version, build number and platform are read from its Info.plist; a Mac app's .pkg "
      "needs --version and --build. Apple then processes it, usually 5 to 30 minutes: --wait waits for "
      "that.";
  auto options = std::make_shared<UploadOptions>();
  command.argument({"file", "The .ipa or .pkg.", [options](const std::string& value) { options->file = value; }, true});
  declareText(command, "version", "Its version, when the file doesn't say.", options->given.version, versionGiven);
  declareText(command, "build", "Its build number, when the file doesn't say.", options->given.number,
              buildNumberGiven);
  options->platform.declare(command, "ios, macos, tvos or visionos, when the file doesn't say.");
  command.flag({"--wait"}, options->wait, "Wait until Apple has processed it.");
  options->time.declare(command, "How long --wait waits, in minutes.");
  command.flag({"--dry-run"}, options->dryRun, "Show what it would upload, and send nothing.");
  options->app.declare(command);
  options->GlobalOptions::declare(command);
  command.validate = [options] {
    if (options->time.given && !options->wait) throw UsageError("--timeout is for --wait: give both, or neither.");
  };
  command.run = [options](Context& context) { runUpload(context, *options); };
  command.example("Daylight.ipa --wait", "Uploads it, and waits until Apple has processed it.");
  command.example("Daylight.pkg --version 1.2 --build 45", "A Mac app's, which doesn't say these itself.");
}

void addBuildsRemove(Command& group) {
  Command& command =
      group.add("remove", "Remove an unfinished upload: one Apple never got the whole file of. Can't be undone, so it "
                          "waits for your approval.");
  command.discussion =
      "An upload stopped part way stays at Apple waiting for its file, though it never becomes a build, "
      "and kestu builds lists it only for its first half hour. Named by its build, the one unfinished "
      "upload of it is removed; where there are several, it lists them, and --upload names one.";
  auto options = std::make_shared<RemoveOptions>();
  declareBuild(command, options->target.build, "The build: its number (45), or version and number (\"1.2 (45)\").",
               true);
  declareText(command, "upload", "Which upload, by the ID listed where a build has several.", options->uploadId,
              [](const std::string& value) { return Text::trimmed(value); });
  options->target.platform.declare(command, "ios, macos, tvos or visionos, where a number is on several.");
  options->target.app.declare(command);
  options->ChangeOptions::declare(command);
  command.run = [options](Context& context) { runRemove(context, *options); };
  command.example("40", "Removes the unfinished upload of build 40, after your approval.");
}

} // namespace kestu

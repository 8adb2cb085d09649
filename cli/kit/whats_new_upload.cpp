#include "cli/before_sending.hpp"
#include "cli/kit/kit.hpp"
#include "cli/waiting.hpp"
#include "core/changes/accompanied_change.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/console/progress.hpp"
#include "core/kit/whats_new.hpp"
#include "core/kit/whats_new_folder.hpp"
#include "core/project/project.hpp"

#include <system_error>

namespace kestu {

namespace fs = std::filesystem;

namespace {

struct UploadOptions : ChangeOptions {
  std::string folder;
  std::string version;
  std::optional<std::string> platform;
  AppTarget app;
};

/// From where it was typed, or else from the repository's root, as messages name it.
fs::path pathOf(const std::string& folder, const Context& context) {
  fs::path here = context.folder / folder;
  fs::path atRoot = Project::root(context.folder) / folder;
  std::error_code failed;
  return !fs::is_directory(here, failed) && fs::is_directory(atRoot, failed) ? atRoot : here;
}

std::string counted(std::size_t count, const std::string& one, const std::string& several) {
  return count == 1 ? "1 " + one : Format::number(static_cast<std::int64_t>(count)) + " " + several;
}

std::string contents(const WhatsNewFolder& folder) {
  std::string text = counted(folder.languages.size(), "language", "languages");
  if (folder.images.empty()) return text;
  return text + ", " + counted(folder.imageCount(), "image", "images") + " (" + Format::bytes(folder.imageBytes()) +
         ")";
}

std::vector<ChangeItem> items(const WhatsNewFolder& folder) {
  std::vector<ChangeItem> items;
  for (const auto& [locale, page] : folder.languages) {
    items.push_back({locale, "title", std::nullopt, page.title});
    items.push_back({locale, "body", std::nullopt, page.body});
  }
  for (const auto& [name, image] : folder.images) items.push_back({name, "image", std::nullopt, image.md5});
  return items;
}

/// Each language with its title.
std::string titles(const WhatsNewFolder& folder) {
  std::vector<std::vector<std::string>> rows;
  for (const auto& [locale, page] : folder.languages) {
    rows.push_back({"  " + printable(locale), printable(page.title)});
    if (!page.images.empty()) rows.back().push_back(counted(page.images.size(), "image", "images"));
  }
  return Format::table(rows);
}

/// Sends the images that the answer asks for, and says that all are there.
void sendImages(Context& context, const Client& client, const WhatsNewFolder& folder, const std::string& path,
                const Query& query, const std::string& body) {
  std::vector<WhatsNewUpload> uploads;
  try {
    uploads = JSONValue::parse(body).listAt("uploads", WhatsNewUpload::read);
  } catch (const JSONError&) {
    throw notUnderstood();
  }
  const std::string left = "The page's texts are at kestu, without all of its images: run it again to send those that "
                           "are missing.";
  try {
    if (!uploads.empty()) {
      Progress progress(context.console, context.clock, "Sending", folder.imageBytes(), 0);
      PartUploader uploader(context.transport, context.clock, {});
      WhatsNew::send(folder, uploads, uploader, context.stop, [&](std::int64_t bytes) { progress.advance(bytes, 0); });
    }
    client.checked(client.send("POST", path + "/commit", query, std::nullopt));
  } catch (const CLIError& error) {
    throw CLIError(error.kind, error.description + "\n" + left);
  } catch (const Stopped&) {
    context.console.error(left);
    throw;
  }
}

/// The answer without the signed addresses that the images went to.
std::string withoutAddresses(const std::string& body) {
  JSONData answer = JSONData::copied(JSONValue::parse(body));
  JSONData uploads = JSONData::array();
  for (JSONData upload : answer.find("uploads")->elements()) {
    upload.erase("parts");
    uploads.add(std::move(upload));
  }
  return answer.set("uploads", std::move(uploads)).compact();
}

void runUpload(Context& context, const UploadOptions& options) {
  std::string shown = printable(options.folder);
  while (shown.size() > 1 && shown.ends_with('/')) shown.pop_back();
  WhatsNewFolder folder = beforeSending(context.console, [&] {
    Console::Busy busy(context.console);
    return WhatsNewFolder::read(pathOf(options.folder, context), shown, context.stop);
  });
  for (const std::string& note : folder.notes) context.console.error(note);
  KitApp app = KitApp::resolve(options.app, options.platform, context);
  auto pages = fetchWhatsNewPages(app.client, app.app.appId).value;
  const WhatsNewPage* before = WhatsNew::find(pages, options.version, options.platform);
  std::string title = "the What's New page of " + WhatsNew::title(options.version, options.platform);
  KitChange change;
  change.request = {"POST", app.path({"whats-new", options.version}), {}, folder.request().compact()};
  if (options.platform) change.request.query.emplace_back("platform", *options.platform);
  change.would = (before ? "replace " : "upload ") + title + " of " + app.app.appTitle() + ", " + contents(folder);
  change.waits = before && !before->isDraft();
  change.done = "✓ Uploaded " + title + ": " + contents(folder) + ".";
  if (!change.waits) {
    change.done += "\nNext: kestu kit whats-new publish " + Format::shellWord(printable(options.version)) +
                   (options.platform ? " --platform " + *options.platform : "") + appWords(options.app);
  }
  change.items = items(folder);
  ProposedChange proposal = proposed(change, context.console);
  proposal.lines = titles(folder);
  if (options.dryRun) return options.send(context, app.client, change.request, proposal);
  options.confirm(context, proposal);
  auto waiting = [&](const Plan& plan) {
    rememberWaiting(context, proposal.identity(), plan);
    tellWaiting(context, options, plan);
  };
  auto answer =
      ChangeFlow::sendAccompanied(app.client, change.request, !options.noWait, waiting, [&](const std::string& body) {
        sendImages(context, app.client, folder, change.request.path, change.request.query, body);
      });
  bool stillWaits = answer.value.plan && answer.value.plan->waits();
  if (stillWaits) rememberWaiting(context, proposal.identity(), *answer.value.plan);
  options.emitBody(context.console, withoutAddresses(answer.body),
                   stillWaits ? "● Waiting for your approval in the kestu app." : proposal.done);
}

} // namespace

void addWhatsNewUpload(Command& whatsNew) {
  Command& command = whatsNew.add("upload", "Send a version's page from a folder, with the images that it names.");
  command.discussion =
      "The folder has a Markdown file for each language, called as en-US.md. Its first heading is the title; the rest "
      "is what users read. The images that it names, PNG or JPEG, lie in the folder too. Everything is checked before "
      "anything is sent. A draft is replaced at once; a page that users see waits for your approval.";
  auto options = addChange<UploadOptions>(command, runUpload, [&](UploadOptions& own) {
    declareName(command, "folder", "The folder with the page, as metadata/releases/1.2/whatsnew.", own.folder);
    declareText(command, "--version", "version", "The version whose page it is, as 1.2.",
                [&own](const std::string& version) { own.version = versionGiven(version); });
    declarePlatform(command, "The platform whose own page it is. A page is every platform's when left out.",
                    own.platform);
  });
  command.validate = [options] {
    if (options->version.empty()) throw UsageError("--version says which version the page is of.");
  };
  command.needs({"--version"});
  command.example("metadata/releases/1.2/whatsnew --version 1.2", "The page of 1.2, in each language that has a file.");
}

} // namespace kestu

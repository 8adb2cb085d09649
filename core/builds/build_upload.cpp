#include "core/builds/build_upload.hpp"

#include "core/builds/build_number.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/console/table.hpp"

#include <algorithm>

namespace kestu {

using Kind = CLIError::Kind;

namespace {

constexpr int partsAtOnce = 4;

bool isMeant(const UnfinishedUpload& upload, const BuildReference& build, const std::optional<std::string>& platform) {
  if (platform && upload.platform != *platform) return false;
  return build.number == upload.build && (!build.version || BuildNumber::sameVersion(build.version, upload.version));
}

std::string listed(const std::vector<const UnfinishedUpload*>& uploads, Moment now) {
  std::vector<std::vector<std::string>> rows;
  for (const UnfinishedUpload* upload : uploads) {
    rows.push_back({"  " + printable(upload->uploadId), upload->text(), platformLabel(upload->platform),
                    Format::ago(upload->createdAt, now)});
  }
  return Format::table(rows);
}

} // namespace

UploadReservation UploadReservation::read(const JSONValue& value) {
  return {value.at("uploadId").text(), value.listAt("parts", UploadPart::read)};
}

UnfinishedUpload UnfinishedUpload::read(const JSONValue& value) {
  return {value.at("uploadId").text(), value.at("platform").text(), value.find("version", &JSONValue::text),
          value.at("build").text(), value.at("createdAt").moment()};
}

std::string UnfinishedUpload::text() const { return BuildReference{version, build, std::nullopt}.text(); }

JSONData UnfinishedUpload::named() const {
  if (!version) {
    throw CLIError(Kind::failed, "Apple doesn't say which version upload " + printable(uploadId) +
                                     " is of, so kestu can't name it to remove.");
  }
  return JSONData::object({{"platform", platform}, {"version", *version}, {"build", build}});
}

JSONData BuildUpload::request(const BuildFile& file) {
  return JSONData::object({{"platform", file.platform},
                           {"version", file.version},
                           {"build", file.number},
                           {"fileName", file.file.filename().string()},
                           {"fileSize", file.size}});
}

void BuildUpload::send(const BuildFile& file, const std::vector<UploadPart>& parts, const PartUploader& uploader,
                       const std::stop_token& stop, const PartUploader::Progress& progress,
                       const PartUploader::Moved& moved) {
  auto same = [&] { return FileStamp::of(file.file) == file.stamp; };
  const CLIError changed(Kind::failed, file.name() + " changed while it was being sent.");
  if (!same()) throw changed;
  if (!UploadPart::areWhole(parts, static_cast<std::int64_t>(file.size))) throw notUnderstood();
  uploader.send(file.file, parts, partsAtOnce, stop, progress, moved);
  // Parts of two builds that are as long would make one that is neither.
  if (!same()) throw changed;
}

std::vector<UnfinishedUpload> BuildUpload::fetchUnfinished(const Client& client, const std::string& appPath) {
  auto read = [](const JSONValue& value) { return value.listAt("uploads", UnfinishedUpload::read); };
  return client.get(appPath + "/testflight/uploads", {}, read).value;
}

const UnfinishedUpload& BuildUpload::choose(const std::vector<UnfinishedUpload>& uploads, const BuildReference& build,
                                            const std::optional<std::string>& platform,
                                            const std::optional<std::string>& uploadId, Moment now) {
  std::vector<const UnfinishedUpload*> meant;
  for (const UnfinishedUpload& upload : uploads) {
    if (isMeant(upload, build, platform)) meant.push_back(&upload);
  }
  if (uploadId) {
    auto found =
        std::find_if(meant.begin(), meant.end(), [&](const auto* each) { return each->uploadId == *uploadId; });
    if (found != meant.end()) return **found;
    throw CLIError(Kind::notFound, printable(*uploadId) + " isn't an unfinished upload of " + build.text() + ".");
  }
  if (meant.size() == 1) return *meant.front();
  if (meant.empty()) throw CLIError(Kind::notFound, "There's no unfinished upload of " + build.text() + ".");
  throw CLIError(Kind::usage, std::to_string(meant.size()) + " unfinished uploads of " + build.text() +
                                  ". Name one with --upload:\n" + listed(meant, now));
}

} // namespace kestu

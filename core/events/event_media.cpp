#include "core/events/event_media.hpp"

#include "core/assets/asset_measure.hpp"
#include "core/assets/frames.hpp"
#include "core/console/printable.hpp"
#include "core/service/refusal.hpp"
#include "core/support/error.hpp"

#include <fmt/format.h>

#include <system_error>

namespace kestu {

namespace fs = std::filesystem;
using Kind = CLIError::Kind;

const EventSlot EventMediaFile::card = {"card", "card", "landscape", 16, 9, 1920, 1080};
const EventSlot EventMediaFile::details = {"details", "details page", "portrait", 9, 16, 1080, 1920};

namespace {

/// Why the file can't be opened; empty when it can.
std::string pathProblem(const fs::path& path, const std::string& shown) {
  std::error_code error;
  fs::file_status status = fs::status(path, error);
  if (!fs::exists(status)) return "No file at " + shown;
  if (!fs::is_regular_file(status)) return shown + " isn't a file.";
  return "";
}

std::string sizeProblem(const AssetFile& file, const EventSlot& slot, const std::string& shown) {
  bool unmeasured = file.isVideo && !file.facts;
  bool shaped = file.width * slot.down == file.height * slot.across;
  if (unmeasured || (shaped && file.width >= slot.width && file.height >= slot.height)) return "";
  return fmt::format("{} is {} × {}: an event's {} is {}, {}:{}, from {} × {}.", shown, file.width, file.height,
                     slot.label, slot.shape, slot.across, slot.down, slot.width, slot.height);
}

std::string frameProblem(const std::optional<std::string>& frame, MediaType type) {
  if (!frame) return "";
  if (type != MediaType::video) return "--frame is a video's.";
  return Frames::isFrame(*frame) ? "" : "--frame is HH:MM:SS:FF: 00:00:05:00.";
}

/// Measures and hashes; why the bytes can't be sent, empty when they can.
std::string measure(AssetFile& file, const EventSlot& slot, const std::string& shown, const ScanOptions& options,
                    bool& unmeasured) {
  AssetMeasurer measurer(options);
  try {
    switch (measurer.measureAndHash(file, options.stop)) {
    case AssetMeasurer::Outcome::wrongType:
      return shown + (file.isVideo ? " isn't a video kestu can read." : " isn't a PNG or a JPEG.");
    case AssetMeasurer::Outcome::changed:
      return shown + " changed while it was being read.";
    case AssetMeasurer::Outcome::fine:
      break;
    }
  } catch (const std::system_error& error) {
    return shown + " can't be read: " + printable(error.code().message()) + ".";
  }
  unmeasured = measurer.unmeasuredVideos();
  return sizeProblem(file, slot, shown);
}

} // namespace

EventMediaFile EventMediaFile::read(const fs::path& folder, const std::string& file, const EventSlot& slot,
                                    const std::optional<std::string>& frame, const VideoProbeFunction& probe,
                                    const std::stop_token& stop) {
  EventMediaFile media;
  media.slot = &slot;
  media.path = folder / file;
  const std::string shown = printable(file);
  auto type = mediaType(media.path.filename().string());
  if (!type) {
    media.problem = fmt::format("{} is neither an image (PNG, JPEG) nor a video (.mov, .mp4, .m4v), which an event's "
                                "{} is.",
                                shown, slot.label);
    return media;
  }
  media.video = *type == MediaType::video;
  media.problem = pathProblem(media.path, shown);
  if (media.problem.empty()) media.problem = frameProblem(frame, *type);
  auto stamp = FileStamp::of(media.path);
  if (media.problem.empty() && (!stamp || stamp->size == 0)) media.problem = shown + " is empty.";
  if (!media.problem.empty()) return media;
  media.stamp = *stamp;
  media.frame = frame;
  AssetFile measured;
  measured.name = media.path.filename().string();
  measured.path = media.path;
  measured.isVideo = media.video;
  bool unmeasured = false;
  media.problem = measure(measured, slot, shown, {.hashing = true, .probe = probe, .stop = stop}, unmeasured);
  media.md5 = measured.md5.value_or("");
  if (unmeasured) {
    media.note = shown + " goes unmeasured, and Apple checks its size: libkestu-media isn't there. " +
                 std::string(videoModuleRemedy);
  }
  return media;
}

std::string EventMediaFile::name() const { return printable(path.filename().string()); }

JSONData EventMediaFile::reservation() const {
  JSONData request = JSONData::object({{"slot", slot->key},
                                       {"fileName", path.filename().string()},
                                       {"fileSize", size()},
                                       {"md5", md5},
                                       {"video", video}});
  return request.setGiven("frame", frame);
}

void EventMediaFile::send(const std::vector<UploadPart>& parts, const PartUploader& uploader,
                          const std::stop_token& stop, const PartUploader::Progress& progress,
                          const PartUploader::Moved& moved) const {
  constexpr int partsAtOnce = 4;
  auto same = [&] { return FileStamp::of(path) == stamp; };
  const CLIError changed(Kind::failed, name() + " changed while it was being sent.");
  if (!same()) throw changed;
  if (!UploadPart::areWhole(parts, size())) throw notUnderstood();
  uploader.send(path, parts, partsAtOnce, stop, progress, moved);
  if (!same()) throw changed;
}

EventMediaReservation EventMediaReservation::read(const JSONValue& value) {
  return {value.at("assetId").text(), value.listAt("parts", UploadPart::read)};
}

} // namespace kestu

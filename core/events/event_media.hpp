#pragma once

#include "core/assets/video_probe.hpp"
#include "core/builds/build_file.hpp"
#include "core/service/part_uploader.hpp"
#include "core/support/json_data.hpp"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace kestu {

/// Where an event's media stand.
struct EventSlot {
  std::string_view key;       ///< the service's word: "card", "details"
  std::string_view label;     ///< "card", "details page"
  std::string_view shape;     ///< "landscape", "portrait"
  std::int64_t across, down;  ///< of the aspect: 16 and 9
  std::int64_t width, height; ///< the least, in pixels
};

/// A file for an event's card or details page.
struct EventMediaFile {
  static const EventSlot card, details;

  const EventSlot* slot = nullptr;
  std::filesystem::path path{}; ///< absolute
  FileStamp stamp{};
  std::string md5{};
  bool video = false;
  std::optional<std::string> frame{}; ///< HH:MM:SS:FF
  std::string problem{};              ///< why it can't be sent, a whole sentence; nothing else is known of it then
  std::string note{};                 ///< what to know of it though it can; a whole sentence, or empty

  /// The file at `file`, seen from `folder`, measured and hashed. Throws Stopped.
  static EventMediaFile read(const std::filesystem::path& folder, const std::string& file, const EventSlot& slot,
                             const std::optional<std::string>& frame, const VideoProbeFunction& probe,
                             const std::stop_token& stop);

  std::string name() const;                                                   ///< printable
  std::int64_t size() const { return static_cast<std::int64_t>(stamp.size); } ///< bytes

  JSONData reservation() const; ///< the request

  /// Sends all parts, four at once. A CLIError when the file isn't the one that was read any more.
  void send(const std::vector<UploadPart>& parts, const PartUploader& uploader, const std::stop_token& stop,
            const PartUploader::Progress& progress, const PartUploader::Moved& moved) const;
};

/// The service's answer to a reservation.
struct EventMediaReservation {
  std::string assetId;
  std::vector<UploadPart> parts;

  static EventMediaReservation read(const JSONValue& value);
};

} // namespace kestu

#pragma once

#include "core/service/part_uploader.hpp"
#include "core/support/json_data.hpp"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <stop_token>
#include <string>
#include <vector>

namespace kestu {

/// A What's New page as a folder has it: a file for each language, and the images that they name.
struct WhatsNewFolder {
  struct Language {
    std::string title, body;
    std::vector<std::string> images; ///< as its text names them
  };
  struct Image {
    std::filesystem::path file;
    std::string md5;
    std::uint64_t size = 0;
  };

  std::map<std::string, Language> languages; ///< by locale
  std::map<std::string, Image> images;       ///< by the name that the texts have for it
  std::vector<std::string> notes;            ///< what is doubtful, but sent

  /// Reads `<locale>.md` files and checks all that they name. `shown` is the folder in messages. All that is wrong is
  /// told by one CLIError. Throws Stopped.
  static WhatsNewFolder read(const std::filesystem::path& folder, const std::string& shown,
                             const std::stop_token& stop);

  /// The request's body.
  JSONData request() const;
  std::uint64_t imageBytes() const; ///< of all different images
  std::size_t imageCount() const;   ///< different ones
};

/// An image that the service doesn't have yet.
struct WhatsNewUpload {
  std::string md5;
  std::vector<UploadPart> parts;

  static WhatsNewUpload read(const JSONValue& value);
};

namespace WhatsNew {

/// Sends all parts, four at once. A CLIError when the service asks for an image that the folder hasn't, or when one
/// isn't what it was any more.
void send(const WhatsNewFolder& folder, const std::vector<WhatsNewUpload>& uploads, const PartUploader& uploader,
          const std::stop_token& stop, const PartUploader::Moved& moved);

} // namespace WhatsNew

} // namespace kestu

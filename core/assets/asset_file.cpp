#include "core/assets/asset_file.hpp"

#include <algorithm>
#include <array>

namespace kestu {

namespace {

struct Extension {
  std::string_view dotted;
  MediaType type;
};

constexpr std::array extensions = {
    Extension{".png", MediaType::image}, Extension{".jpg", MediaType::image}, Extension{".jpeg", MediaType::image},
    Extension{".mov", MediaType::video}, Extension{".mp4", MediaType::video}, Extension{".m4v", MediaType::video},
};

char lowered(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

} // namespace

std::optional<MediaType> mediaType(std::string_view fileName) {
  if (fileName.starts_with('.')) return std::nullopt;
  std::string dotted = dottedExtension(fileName);
  auto found = std::find_if(extensions.begin(), extensions.end(), [&](auto entry) { return entry.dotted == dotted; });
  return found == extensions.end() ? std::nullopt : std::optional(found->type);
}

std::string dottedExtension(const std::filesystem::path& file) {
  std::string dotted = file.extension().string();
  std::transform(dotted.begin(), dotted.end(), dotted.begin(), lowered);
  return dotted;
}

} // namespace kestu

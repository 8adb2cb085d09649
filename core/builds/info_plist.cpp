#include "core/builds/info_plist.hpp"

#include "core/builds/plist_shape.hpp"
#include "core/support/text.hpp"

#include <plist/plist.h>

#include <memory>

namespace kestu {

namespace {

using Node = std::unique_ptr<void, decltype(&plist_free)>;

std::optional<std::string> textOf(plist_t node) {
  if (!node || plist_get_node_type(node) != PLIST_STRING) return std::nullopt;
  std::uint64_t length = 0;
  const char* text = plist_get_string_ptr(node, &length);
  std::string trimmed = Text::trimmed({text, length});
  return trimmed.empty() ? std::nullopt : std::optional(trimmed);
}

std::string platformOf(plist_t platforms) {
  bool listed = platforms && plist_get_node_type(platforms) == PLIST_ARRAY && plist_array_get_size(platforms) > 0;
  std::string first = listed ? textOf(plist_array_get_item(platforms, 0)).value_or("") : "";
  return first == "AppleTVOS" ? "tvos" : first == "XROS" ? "visionos" : "ios";
}

} // namespace

std::optional<InfoPlist> InfoPlist::read(std::string_view bytes) {
  if (!hasPlainShape(bytes)) return std::nullopt;
  plist_t parsed = nullptr;
  // Not plist_from_memory, which takes more arguments in newer versions of the library.
  auto parse = bytes.starts_with("bplist") ? &plist_from_bin : &plist_from_xml;
  parse(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &parsed);
  Node root(parsed, plist_free);
  if (!root || plist_get_node_type(root.get()) != PLIST_DICT) return std::nullopt;
  auto item = [&](const char* key) { return plist_dict_get_item(root.get(), key); };
  return InfoPlist{textOf(item("CFBundleShortVersionString")), textOf(item("CFBundleVersion")),
                   platformOf(item("CFBundleSupportedPlatforms"))};
}

} // namespace kestu

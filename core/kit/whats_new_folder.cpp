#include "core/kit/whats_new_folder.hpp"

#include "core/assets/image_header.hpp"
#include "core/console/printable.hpp"
#include "core/kit/markdown.hpp"
#include "core/project/apple_locales.hpp"
#include "core/support/error.hpp"
#include "core/support/file_name.hpp"
#include "core/support/files.hpp"
#include "core/support/md5.hpp"
#include "core/support/tasks.hpp"
#include "core/support/text.hpp"
#include "core/support/utf8.hpp"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <system_error>

namespace fs = std::filesystem;

namespace kestu {

namespace {

using Kind = CLIError::Kind;

constexpr std::uint64_t largestText = 1'048'576;
constexpr std::size_t partsAtOnce = 4;

bool isHexDigit(char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

/// A name in Markdown may be written as an address is: "my%20image.png".
std::string decoded(const std::string& name) {
  std::string result;
  for (std::size_t i = 0; i < name.size(); ++i) {
    if (name[i] == '%' && i + 2 < name.size() && isHexDigit(name[i + 1]) && isHexDigit(name[i + 2])) {
      result += static_cast<char>(std::stoi(name.substr(i + 1, 2), nullptr, 16));
      i += 2;
    } else {
      result += name[i];
    }
  }
  return result;
}

/// "https://…", "data:…", "//host/…".
bool isAddress(std::string_view name) {
  if (name.starts_with("//")) return true;
  std::size_t colon = name.find(':');
  if (colon == std::string_view::npos || colon < 2) return false;
  return std::all_of(name.begin(), name.begin() + static_cast<std::ptrdiff_t>(colon), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '+' || c == '-' ||
           c == '.';
  });
}

/// Whether the file is in the folder also once links are followed.
bool liesInside(const fs::path& file, const fs::path& folder) {
  std::error_code failed;
  fs::path within = fs::canonical(file, failed).lexically_relative(fs::canonical(folder, failed));
  return !failed && !within.empty() && *within.begin() != "..";
}

class Reader {
 public:
  Reader(const fs::path& folder, std::string shown, const std::stop_token& stop)
      : folder_(folder), shown_(std::move(shown)), stop_(stop) {}

  WhatsNewFolder read() {
    auto names = entries();
    std::sort(names.begin(), names.end());
    for (const std::string& name : names) {
      if (!name.starts_with('.') && Text::lowercased(name).ends_with(".md")) readLanguage(name);
    }
    if (page_.languages.empty() && problems_.empty()) {
      problems_.push_back(shown_ + ": has no page. Its languages are files called as en-US.md.");
    }
    if (!problems_.empty()) throw CLIError(Kind::failed, Text::joined(problems_, "\n") + "\nNothing was sent.");
    return std::move(page_);
  }

 private:
  void wrong(const std::string& file, const std::string& what) {
    problems_.push_back(shown_ + "/" + printable(file) + ": " + what);
  }

  std::vector<std::string> entries() const {
    try {
      return Files::entries(folder_);
    } catch (const std::system_error& error) {
      bool gone = error.code() == std::errc::no_such_file_or_directory || error.code() == std::errc::not_a_directory;
      if (gone) throw CLIError(Kind::notFound, "There is no folder " + shown_ + ".");
      throw CLIError(Kind::failed, shown_ + ": can't be read (" + error.code().message() + ").");
    }
  }

  void readLanguage(const std::string& file) {
    std::string locale = file.substr(0, file.size() - 3);
    auto standing = AppleLocales::standing(locale);
    if (standing == AppleLocales::Standing::refused) {
      return wrong(file, printable(locale) + AppleLocales::refusal(locale));
    }
    if (standing == AppleLocales::Standing::unknown) {
      page_.notes.push_back(shown_ + "/" + printable(file) + ": " + printable(locale) + AppleLocales::doubt(locale) +
                            ", so it's sent as it is.");
    }
    auto [first, isNew] = files_.emplace(Text::folded(locale), file);
    if (!isNew) wrong(file, "is " + printable(locale) + " again, which " + printable(first->second) + " is too.");
    std::optional<std::string> text;
    try {
      text = Files::read(folder_ / file, largestText);
    } catch (const std::system_error& error) {
      return wrong(file, "can't be read (" + error.code().message() + ").");
    }
    if (!text) return wrong(file, "can't be read.");
    if (text->starts_with("\xEF\xBB\xBF")) text->erase(0, 3);
    if (!UTF8::isValid(*text)) return wrong(file, "isn't UTF-8 text.");
    auto titled = Markdown::titled(*text);
    if (!titled) return wrong(file, "has no heading, which would be its title. Begin it with one: # What's new");
    auto images = Markdown::images(titled->body);
    for (const std::string& name : images) readImage(file, name);
    page_.languages[locale] = {std::move(titled->title), std::move(titled->body), std::move(images)};
  }

  /// The file whose name is that one in another form: accents are one character or two, and a Mac finds both.
  static std::optional<fs::path> written(const fs::path& path) {
    std::error_code failed;
    for (fs::directory_iterator entry(path.parent_path(), failed), end; !failed && entry != end;
         entry.increment(failed)) {
      std::string name = entry->path().filename().string();
      if (FileName::composed(name) == FileName::composed(path.filename().string())) return entry->path();
    }
    return std::nullopt;
  }

  void readImage(const std::string& text, const std::string& name) {
    if (page_.images.contains(name)) return;
    if (!seen_.insert(text + '\n' + name).second) return;
    std::string image = "the image " + printable(name);
    if (name.empty()) return wrong(text, "has an image without a name.");
    if (isAddress(name)) return wrong(text, image + " is an address. Put it in the folder.");
    auto path = Files::inside(folder_, fs::path(decoded(name)).lexically_normal().string()); // "./a.png" is fine
    if (!path) return wrong(text, image + " leaves the folder.");
    std::error_code failed;
    if (!fs::exists(*path, failed)) path = written(*path);
    if (!path) return wrong(text, image + " isn't there.");
    if (!liesInside(*path, folder_)) return wrong(text, image + " leaves the folder.");
    try {
      FileReader reader(*path);
      std::string head(std::min<std::uint64_t>(reader.size(), ImageHeader::limit), '\0');
      head.resize(reader.readAt(0, head.data(), head.size()));
      if (!ImageHeader::read(head)) return wrong(text, image + " is no PNG or JPEG.");
      page_.images[name] = {*path, MD5::hex(*path, stop_), reader.size()};
    } catch (const std::system_error& error) {
      wrong(text, image + " can't be read (" + error.code().message() + ").");
    }
  }

  const fs::path& folder_;
  const std::string shown_;
  const std::stop_token& stop_;
  WhatsNewFolder page_;
  std::map<std::string, std::string> files_; ///< by language
  std::set<std::string> seen_;
  std::vector<std::string> problems_;
};

} // namespace

WhatsNewFolder WhatsNewFolder::read(const fs::path& folder, const std::string& shown, const std::stop_token& stop) {
  return Reader(folder, shown, stop).read();
}

JSONData WhatsNewFolder::request() const {
  JSONData pages = JSONData::object();
  for (const auto& [locale, page] : languages) {
    pages.set(locale, JSONData::object({{"title", page.title}, {"body", page.body}}));
  }
  JSONData files = JSONData::array();
  for (const auto& [name, image] : images) {
    files.add(JSONData::object({{"name", name}, {"md5", image.md5}, {"size", static_cast<std::int64_t>(image.size)}}));
  }
  return JSONData::object({{"languages", pages}, {"images", files}});
}

std::uint64_t WhatsNewFolder::imageBytes() const {
  std::map<std::string, std::uint64_t> sizes;
  for (const auto& [name, image] : images) sizes.emplace(image.md5, image.size);
  std::uint64_t sum = 0;
  for (const auto& [md5, size] : sizes) sum += size;
  return sum;
}

std::size_t WhatsNewFolder::imageCount() const {
  std::set<std::string> checksums;
  for (const auto& [name, image] : images) checksums.insert(image.md5);
  return checksums.size();
}

WhatsNewUpload WhatsNewUpload::read(const JSONValue& value) {
  return {value.at("md5").text(), value.listAt("parts", UploadPart::read)};
}

void WhatsNew::send(const WhatsNewFolder& folder, const std::vector<WhatsNewUpload>& uploads,
                    const PartUploader& uploader, const std::stop_token& stop, const PartUploader::Moved& moved) {
  std::map<std::string, const WhatsNewFolder::Image*> byChecksum;
  for (const auto& [name, image] : folder.images) byChecksum.emplace(image.md5, &image);
  for (const WhatsNewUpload& upload : uploads) {
    if (byChecksum.contains(upload.md5)) continue;
    throw CLIError(Kind::failed, "kestu asked for an image that the page doesn't have. Update the CLI, or try again.");
  }
  // Never more than four parts in flight: images of one part go four at once, larger ones after each other.
  std::vector<const WhatsNewUpload*> small, large;
  for (const WhatsNewUpload& upload : uploads) (upload.parts.size() > 1 ? large : small).push_back(&upload);
  auto sendOne = [&](const WhatsNewUpload& upload, int atOnce, const std::stop_token& ending) {
    uploader.send(byChecksum.at(upload.md5)->file, upload.parts, atOnce, ending, {}, moved);
  };
  fewAtOnce(small.size(), partsAtOnce, stop,
            [&](std::size_t index, const std::stop_token& ending) { sendOne(*small[index], 1, ending); });
  for (const WhatsNewUpload* upload : large) sendOne(*upload, static_cast<int>(partsAtOnce), stop);
}

} // namespace kestu

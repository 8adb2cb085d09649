#include "core/kit/flag_scan.hpp"

#include "core/kit/flag_patterns.hpp"
#include "core/kit/source_blanker.hpp"
#include "core/support/error.hpp"
#include "core/support/files.hpp"
#include "core/support/tasks.hpp"
#include "core/support/utf8.hpp"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>
#include <set>
#include <system_error>
#include <unordered_set>

namespace kestu {

namespace {

using FlagPatterns::Declared;
using FlagPatterns::KeyAt;
using Names = std::unordered_set<std::string>;

constexpr std::string_view protocol = "KestuFlag";
constexpr std::uint64_t largest = std::uint64_t{1} << 30U;
/// Files that a worker takes at once, with one buffer for them all.
constexpr std::size_t batch = 64;

/// What is kept of a file between the two passes.
struct Facts {
  std::vector<FlagRead> direct;
  std::vector<std::string> conforming; // types that this file makes flags
  std::vector<std::string> names;      // that follow "enum", in text whose comments are still there
  bool hidden = false;                 // some names could not be told
};

/// Lines of offsets that only grow.
class Lines {
 public:
  explicit Lines(std::string_view text) : text_(text) {}

  int at(std::size_t offset) {
    for (; counted_ < offset; ++counted_) {
      char byte = text_[counted_];
      bool pair = byte == '\r' && counted_ + 1 < text_.size() && text_[counted_ + 1] == '\n';
      if (isLineBreak(byte) && !pair) ++line_;
    }
    return line_;
  }

 private:
  std::string_view text_;
  std::size_t counted_ = 0;
  int line_ = 1;
};

void add(std::vector<FlagRead>& reads, std::vector<KeyAt> found, const std::string& file, std::string_view blanked) {
  Lines lines(blanked);
  for (KeyAt& one : found) reads.push_back({std::move(one.key), file, lines.at(one.offset)});
}

/// Of a text whose comments are blanked.
void gather(Facts& facts, const std::string& file, std::string_view blanked) {
  add(facts.direct, FlagPatterns::literalReads(blanked), file, blanked);
  for (const auto& declaration : FlagPatterns::declarations(blanked, Declared::enumerationsAndExtensions)) {
    if (declaration.inherits(protocol)) facts.conforming.emplace_back(declaration.name);
  }
}

std::vector<FlagRead> enumReads(const Names& flags, const std::string& file, std::string_view blanked) {
  std::vector<FlagRead> reads;
  auto isFlag = [&](std::string_view name) { return flags.contains(std::string(name)); };
  add(reads, FlagPatterns::enumCases(blanked, isFlag), file, blanked);
  return reads;
}

std::vector<FlagRead> sorted(std::vector<FlagRead> reads) {
  std::stable_sort(reads.begin(), reads.end(), [](const FlagRead& a, const FlagRead& b) {
    return a.file != b.file ? a.file < b.file : a.line < b.line;
  });
  return reads;
}

/// The same as text.find for a word of four letters. A library's search stops at every first letter, and "e" is the
/// commonest there is; this one compares whole blocks, in a form that compilers make vectors of.
bool holds(std::string_view text, const char (&word)[5]) {
  constexpr std::size_t block = 256;
  std::size_t at = 0;
  for (; at + block + 3 <= text.size(); at += block) {
    const char* bytes = text.data() + at;
    unsigned char any = 0;
    for (std::size_t i = 0; i < block; ++i) {
      any |= static_cast<unsigned char>((bytes[i] == word[0]) & (bytes[i + 1] == word[1]) & (bytes[i + 2] == word[2]) &
                                        (bytes[i + 3] == word[3]));
    }
    if (any != 0) return true;
  }
  return text.find(word, at) != std::string_view::npos;
}

/// The Swift files under a folder, relative to it. Linked folders are left out: those inside are met in their own
/// place, and others could lead anywhere.
void collect(const std::filesystem::path& folder, const std::string& prefix, std::vector<std::string>& files,
             const std::stop_token& stop) {
  if (stop.stop_requested()) throw Stopped();
  std::error_code error;
  std::filesystem::directory_iterator entries(folder, error);
  for (; !error && entries != std::filesystem::directory_iterator(); entries.increment(error)) {
    const auto& path = entries->path();
    std::error_code ignored;
    std::string name = path.filename().string();
    if (entries->is_symlink(ignored) ? std::filesystem::is_regular_file(path, ignored)
                                     : !entries->is_directory(ignored)) {
      if (path.extension() == ".swift") files.push_back(prefix + name);
    } else if (!entries->is_symlink(ignored) && path.extension() != ".xcodeproj") {
      collect(path, prefix + name + "/", files, stop);
    }
  }
}

/// Reads one file after another into the same memory.
class Reader {
 public:
  explicit Reader(const std::filesystem::path& folder) : folder_(folder) {}

  /// The file's bytes, valid until the next call; none when it can't be read.
  std::optional<std::string_view> read(const std::string& file) {
    try {
      FileReader reader(folder_ / file);
      if (reader.size() >= largest) return std::nullopt;
      auto size = static_cast<std::size_t>(reader.size());
      // Growing with room to spare costs a clearing now and then, instead of one a file.
      if (bytes_.size() < size) bytes_.resize(size + size / 4);
      return std::string_view(bytes_.data(), reader.readAt(0, bytes_.data(), size));
    } catch (const std::system_error&) {
      return std::nullopt;
    }
  }

 private:
  const std::filesystem::path& folder_;
  std::string bytes_;
};

/// Runs `each(index, reader)` for every file, on all cores.
void eachFile(const std::filesystem::path& folder, std::size_t count, const std::stop_token& stop,
              const std::function<void(std::size_t, Reader&)>& each) {
  fewAtOnce((count + batch - 1) / batch, coreCount(), stop, [&](std::size_t at, const std::stop_token& stopping) {
    Reader reader(folder);
    for (std::size_t index = at * batch; index < std::min(count, (at + 1) * batch); ++index) {
      if (stopping.stop_requested()) return;
      each(index, reader);
    }
  });
}

Facts factsOf(const std::string& file, Reader& reader) {
  Facts facts;
  auto text = reader.read(file);
  if (!text) return facts;
  if (holds(*text, "enum")) {
    facts.hidden = !FlagPatterns::namesAfterEnum(*text, [&](std::string_view name) { facts.names.emplace_back(name); });
  }
  // Both the reads and the conformances have the protocol's name in them.
  if (text->find(protocol) != std::string_view::npos && UTF8::isValid(*text)) {
    gather(facts, file, SourceBlanker::withoutComments(*text));
  }
  return facts;
}

} // namespace

std::vector<FlagRead> FlagScan::reads(const std::filesystem::path& folder, const std::stop_token& stop) {
  std::vector<std::string> files;
  collect(folder, "", files, stop);
  std::sort(files.begin(), files.end());
  std::vector<Facts> facts(files.size());
  eachFile(folder, files.size(), stop,
           [&](std::size_t index, Reader& reader) { facts[index] = factsOf(files[index], reader); });

  Names flags;
  for (Facts& one : facts) flags.insert(one.conforming.begin(), one.conforming.end());
  std::vector<std::size_t> declaring;
  for (std::size_t index = 0; index < facts.size() && !flags.empty(); ++index) {
    bool declares = facts[index].hidden || std::any_of(facts[index].names.begin(), facts[index].names.end(),
                                                       [&](const std::string& name) { return flags.contains(name); });
    if (declares) declaring.push_back(index);
  }
  std::vector<std::vector<FlagRead>> cases(declaring.size());
  eachFile(folder, declaring.size(), stop, [&](std::size_t at, Reader& reader) {
    const std::string& file = files[declaring[at]];
    auto text = reader.read(file);
    if (text && UTF8::isValid(*text)) cases[at] = enumReads(flags, file, SourceBlanker::withoutComments(*text));
  });

  std::vector<FlagRead> all;
  for (Facts& one : facts) std::move(one.direct.begin(), one.direct.end(), std::back_inserter(all));
  for (auto& some : cases) std::move(some.begin(), some.end(), std::back_inserter(all));
  return sorted(std::move(all));
}

std::vector<FlagRead> FlagScan::reads(const std::vector<std::pair<std::string, std::string>>& files) {
  std::vector<std::string> blanked;
  Facts facts;
  for (const auto& [path, text] : files) {
    blanked.push_back(SourceBlanker::withoutComments(text));
    gather(facts, path, blanked.back());
  }
  Names flags(facts.conforming.begin(), facts.conforming.end());
  std::vector<FlagRead> all = std::move(facts.direct);
  for (std::size_t index = 0; index < files.size(); ++index) {
    auto cases = enumReads(flags, files[index].first, blanked[index]);
    std::move(cases.begin(), cases.end(), std::back_inserter(all));
  }
  return sorted(std::move(all));
}

FlagComparison FlagScan::compare(const std::vector<FlagRead>& reads, const std::vector<std::string>& known) {
  FlagComparison result;
  Names there(known.begin(), known.end());
  Names met;
  for (const FlagRead& read : reads) {
    if (met.insert(read.key).second && !there.contains(read.key)) result.missing.push_back(read);
  }
  for (const std::string& key : known) {
    if (!met.contains(key)) result.unread.push_back(key);
  }
  result.keys = met.size();
  return result;
}

} // namespace kestu

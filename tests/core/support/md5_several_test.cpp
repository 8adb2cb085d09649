#include "core/support/md5_several.hpp"

#include "core/support/error.hpp"
#include "core/support/md5.hpp"
#include "tests/support/temporary_folder.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>

namespace kestu::tests {
namespace {

using Instructions = MD5Lanes::Instructions;

std::string randomBytes(std::size_t length) {
  std::mt19937 random(static_cast<unsigned>(length));
  std::string bytes(length, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random());
  return bytes;
}

/// The digests by the messages' lengths, read in unlike pieces; a message of `broken` bytes fails halfway.
std::map<std::size_t, std::string> hashed(const std::vector<std::size_t>& lengths, const MD5Several::Options& options,
                                          std::size_t broken) {
  std::map<std::size_t, std::string> digests;
  auto next = [&, at = std::size_t{0}]() mutable -> std::optional<MD5Message> {
    if (at == lengths.size()) return std::nullopt;
    std::size_t length = lengths[at++];
    auto read = [=, bytes = randomBytes(length), done = std::size_t{0}](char* buffer, std::size_t capacity) mutable {
      if (length == broken && done >= length / 2) throw std::system_error(EIO, std::generic_category());
      std::size_t count = bytes.copy(buffer, std::min(capacity, 1 + length / (1 + at % 5)), done);
      done += count;
      return count;
    };
    return MD5Message{read, [&digests, length](const std::string& digest) { digests[length] += digest; },
                      [&digests, length](const std::system_error&) { digests[length] += "failed"; }};
  };
  MD5Several::hash(next, {}, options);
  return digests;
}

TEST(MD5Several, IsOpenSSLsAtEveryLengthAroundABlockAndABuffer) {
  std::vector<std::size_t> lengths;
  for (std::size_t length = 0; length <= 200; ++length) lengths.push_back(length);
  for (std::size_t end : {65'536U, 131'072U}) {
    for (std::size_t length = end - 70; length <= end + 70; length += 7) lengths.push_back(length);
  }
  std::shuffle(lengths.begin(), lengths.end(), std::mt19937(7));
  for (auto instructions : {Instructions::best, Instructions::baseline}) {
    for (std::size_t atOnce : {1U, 2U, 7U, 8U}) {
      SCOPED_TRACE(atOnce);
      auto digests = hashed(lengths, {atOnce, instructions}, 150);
      EXPECT_EQ(digests.size(), lengths.size());
      for (const auto& [length, digest] : digests) {
        std::string wanted = length == 150 ? "failed" : MD5::hex(std::string_view(randomBytes(length)));
        EXPECT_EQ(digest, wanted) << length;
      }
    }
  }
}

TEST(MD5Several, AFileThatCannotBeReadFailsAlone) {
  TemporaryFolder folder;
  std::vector<std::filesystem::path> files;
  std::vector<std::optional<std::string>> wanted;
  for (std::size_t i = 0; i < 40; ++i) {
    std::string bytes = randomBytes(i == 3 ? 3'000'000 : i * 1'001);
    bool readable = i % 7 != 5;
    files.push_back(readable ? folder.write(std::to_string(i), bytes) : folder.path() / (i == 5 ? "none" : "."));
    wanted.push_back(readable ? std::optional(MD5::hex(std::string_view(bytes))) : std::nullopt);
  }
  EXPECT_EQ(MD5Several::ofFiles(files, {}), wanted);
  std::stop_source stopped;
  stopped.request_stop();
  EXPECT_THROW(MD5Several::ofFiles(files, stopped.get_token()), Stopped);
  EXPECT_TRUE(MD5Several::ofFiles({}, {}).empty());
}

} // namespace
} // namespace kestu::tests

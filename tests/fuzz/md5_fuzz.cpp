#include "core/support/md5.hpp"
#include "core/support/md5_several.hpp"
#include "tests/fuzz/targets.hpp"

#include <algorithm>
#include <cstring>

namespace kestu::fuzz {

/// Messages of any lengths, hashed side by side as their bytes trickle in, have the digests that each has alone.
void md5(std::string_view bytes) {
  Input input(bytes);
  std::size_t piece = input.byte() + 1;
  MD5Several::Options options;
  options.atOnce = input.byte() % MD5Lanes::count + 1;
  options.instructions = input.byte() % 2 == 0 ? MD5Lanes::Instructions::best : MD5Lanes::Instructions::baseline;
  std::vector<std::string> messages;
  for (unsigned count = input.byte() % 20; count > 0; --count) {
    // Lengths around the blocks' limits, whatever the rest of the input is.
    messages.emplace_back(input.byte() * 3 + input.byte() % 4, static_cast<char>(count));
    std::size_t taken = std::min(messages.back().size(), input.rest().size());
    std::copy_n(input.rest().begin(), taken, messages.back().begin());
  }
  std::vector<std::size_t> at(messages.size());
  std::vector<std::string> digests(messages.size());
  std::size_t next = 0;
  auto give = [&]() -> std::optional<MD5Message> {
    if (next == messages.size()) return std::nullopt;
    std::size_t i = next++;
    return MD5Message{[&, i](char* buffer, std::size_t capacity) {
                        std::size_t count = std::min({piece, capacity, messages[i].size() - at[i]});
                        std::memcpy(buffer, messages[i].data() + at[i], count);
                        at[i] += count;
                        return count;
                      },
                      [&, i](const std::string& digest) { digests[i] = digest; }, [](const std::system_error&) {}};
  };
  MD5Several::hash(give, {}, options);
  for (std::size_t i = 0; i < messages.size(); ++i) {
    require(digests[i] == MD5::hex(std::string_view(messages[i])), "a digest is the message's own");
  }
}

} // namespace kestu::fuzz

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace kestu {

/// The block function of MD5 (RFC 1321) for several messages side by side, each in a lane of a vector.
class MD5Lanes {
 public:
  static constexpr std::size_t count = 8;
  static constexpr std::size_t block = 64; ///< bytes

  enum class Instructions { best, baseline }; ///< the machine's, or those that every such machine has

  explicit MD5Lanes(Instructions instructions = Instructions::best);

  using Blocks = std::array<const char*, count>;

  /// Lane `lane` begins a message.
  void begin(std::size_t lane);

  /// Takes `blocks` whole blocks of every lane. All pointers are read from; a lane without a message is given any that
  /// is as long.
  void add(const Blocks& from, std::size_t blocks);

  /// The same for one lane alone, which goes faster than seven idle ones beside it.
  void addTo(std::size_t lane, const char* from, std::size_t blocks);

  /// 32 lowercase hexadecimal digits, once the message's padded end was taken.
  std::string digest(std::size_t lane) const;

 private:
  std::array<std::array<std::uint32_t, count>, 4> state_{};
  bool wide_; ///< whether the machine has the instructions of the wider build
};

} // namespace kestu

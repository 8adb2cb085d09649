#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kestu::chaos {

/// The same row of numbers for a seed everywhere, which the standard's distributions don't promise.
class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed * 0x9E3779B97F4A7C15ULL) {}

  std::size_t below(std::size_t end) {
    std::uint64_t mixed = state_ += 0x9E3779B97F4A7C15ULL;
    mixed = (mixed ^ (mixed >> 30U)) * 0xBF58476D1CE4E5B9ULL;
    mixed = (mixed ^ (mixed >> 27U)) * 0x94D049BB133111EBULL;
    return static_cast<std::size_t>((mixed ^ (mixed >> 31U)) % end);
  }
  bool oneIn(std::size_t count) { return below(count) == 0; }
  template <class T>
  const T& of(const std::vector<T>& list) {
    return list[below(list.size())];
  }

 private:
  std::uint64_t state_;
};

} // namespace kestu::chaos

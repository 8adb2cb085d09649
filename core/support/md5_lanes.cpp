#include "core/support/md5_lanes.hpp"

#include <fmt/format.h>

#include <bit>
#include <cstring>
#include <utility>

// What is marked so is expanded into its callers, of which each is compiled for instructions of its own.
#define KESTU_EXPANDED [[gnu::always_inline]] inline

namespace kestu {

static_assert(std::endian::native == std::endian::little, "words are loaded as they lie in memory");

namespace {

using Word = std::uint32_t;
using Words = Word __attribute__((vector_size(MD5Lanes::count * sizeof(Word))));

/// 2^32 times the absolute sine of 1, 2, 3…
constexpr std::array<Word, 64> sines = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391};

constexpr Word shifts[4][4] = {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};

/// Which word of the block a step takes.
constexpr std::size_t wordOf(std::size_t step) {
  constexpr std::size_t factors[] = {1, 5, 3, 7};
  constexpr std::size_t offsets[] = {0, 1, 5, 0};
  return (factors[step / 16] * step + offsets[step / 16]) % 16;
}

// `T` is a word, or a vector of words of different messages.
template <std::size_t step, class T>
KESTU_EXPANDED void takeStep(T (&state)[4], const T (&words)[16]) {
  T& a = state[(64 - step) % 4];
  const T& b = state[(65 - step) % 4];
  const T& c = state[(66 - step) % 4];
  const T& d = state[(67 - step) % 4];
  constexpr Word shift = shifts[step / 16][step % 4];
  T sum = a + words[wordOf(step)] + sines[step];
  if constexpr (step < 16) {
    sum += d ^ (b & (c ^ d));
  } else if constexpr (step < 32) {
    sum += d & b; // no bit is set here and in the next
    sum += ~d & c;
  } else if constexpr (step < 48) {
    sum += b ^ c ^ d;
  } else {
    sum += c ^ (b | ~d);
  }
  a = ((sum << shift) | (sum >> (32 - shift))) + b;
}

template <class T, std::size_t... steps>
KESTU_EXPANDED void takeBlock(T (&state)[4], const T (&words)[16], std::index_sequence<steps...>) {
  T before[4] = {state[0], state[1], state[2], state[3]};
  (takeStep<steps>(state, words), ...);
  for (std::size_t i = 0; i < 4; ++i) state[i] += before[i];
}

/// Turns eight rows, each of one message, into eight columns, each a word of every message.
KESTU_EXPANDED void transpose(const Words (&rows)[8], Words* columns) {
  Words pairs[8], fours[8];
  for (std::size_t i = 0; i < 8; i += 2) {
    pairs[i] = __builtin_shufflevector(rows[i], rows[i + 1], 0, 8, 1, 9, 4, 12, 5, 13);
    pairs[i + 1] = __builtin_shufflevector(rows[i], rows[i + 1], 2, 10, 3, 11, 6, 14, 7, 15);
  }
  for (std::size_t i = 0; i < 8; i += 4) {
    for (std::size_t j = 0; j < 2; ++j) {
      fours[i + 2 * j] = __builtin_shufflevector(pairs[i + j], pairs[i + j + 2], 0, 1, 8, 9, 4, 5, 12, 13);
      fours[i + 2 * j + 1] = __builtin_shufflevector(pairs[i + j], pairs[i + j + 2], 2, 3, 10, 11, 6, 7, 14, 15);
    }
  }
  for (std::size_t i = 0; i < 4; ++i) {
    columns[i] = __builtin_shufflevector(fours[i], fours[i + 4], 0, 1, 2, 3, 8, 9, 10, 11);
    columns[i + 4] = __builtin_shufflevector(fours[i], fours[i + 4], 4, 5, 6, 7, 12, 13, 14, 15);
  }
}

using State = std::array<std::array<Word, MD5Lanes::count>, 4>;

KESTU_EXPANDED void addBlocks(State& lanes, const MD5Lanes::Blocks& from, std::size_t blocks) {
  Words state[4];
  std::memcpy(state, lanes.data(), sizeof state);
  for (std::size_t offset = 0; offset < blocks * MD5Lanes::block; offset += MD5Lanes::block) {
    Words words[16];
    for (std::size_t half = 0; half < 2; ++half) {
      Words rows[8];
      for (std::size_t lane = 0; lane < 8; ++lane) {
        std::memcpy(&rows[lane], from[lane] + offset + half * sizeof(Words), sizeof(Words));
      }
      transpose(rows, words + half * 8);
    }
    takeBlock(state, words, std::make_index_sequence<64>());
  }
  std::memcpy(lanes.data(), state, sizeof state);
}

#ifdef __x86_64__
bool hasWide() { return __builtin_cpu_supports("avx2"); }

[[gnu::target("avx2")]] void addWide(State& lanes, const MD5Lanes::Blocks& from, std::size_t blocks) {
  addBlocks(lanes, from, blocks);
}
#else
constexpr bool hasWide() { return false; }

void addWide(State& lanes, const MD5Lanes::Blocks& from, std::size_t blocks) { addBlocks(lanes, from, blocks); }
#endif

} // namespace

MD5Lanes::MD5Lanes(Instructions instructions) : wide_(instructions == Instructions::best && hasWide()) {}

void MD5Lanes::begin(std::size_t lane) {
  constexpr Word first[4] = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};
  for (std::size_t i = 0; i < 4; ++i) state_[i][lane] = first[i];
}

void MD5Lanes::add(const Blocks& from, std::size_t blocks) {
  if (wide_) {
    addWide(state_, from, blocks);
  } else {
    addBlocks(state_, from, blocks);
  }
}

void MD5Lanes::addTo(std::size_t lane, const char* from, std::size_t blocks) {
  Word state[4] = {state_[0][lane], state_[1][lane], state_[2][lane], state_[3][lane]};
  for (; blocks > 0; --blocks, from += block) {
    Word words[16];
    std::memcpy(words, from, sizeof words);
    takeBlock(state, words, std::make_index_sequence<64>());
  }
  for (std::size_t i = 0; i < 4; ++i) state_[i][lane] = state[i];
}

std::string MD5Lanes::digest(std::size_t lane) const {
  std::string text;
  for (const auto& words : state_) {
    for (unsigned shift = 0; shift < 32; shift += 8) text += fmt::format("{:02x}", (words[lane] >> shift) & 0xFFU);
  }
  return text;
}

} // namespace kestu

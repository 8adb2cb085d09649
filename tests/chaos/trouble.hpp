#pragma once

#include "sandbox/faults.hpp"
#include "tests/chaos/random.hpp"

#include <chrono>
#include <cstddef>
#include <set>
#include <string>
#include <vector>

namespace kestu::chaos {

/// One thing that goes wrong with a run.
struct Trouble {
  std::string name; ///< in the table
  sandbox::Fault fault{};
  int signal = 0;                     ///< sent to the program as the call comes,
  std::chrono::milliseconds later{0}; ///< or so much later
  bool expires = false;               ///< every upload address given out by then has expired
  bool outlasts = false;              ///< the answer comes later than the program waits for any
};

/// For a program that makes so many calls when nothing goes wrong.
Trouble drawn(Random& random, std::size_t calls);

/// How the program may end for having met it at that call, beside going on.
std::set<int> statuses(const Trouble& trouble, const std::string& path);

/// What it says of that then: one of these.
std::vector<std::string> words(const Trouble& trouble, const std::string& path);

} // namespace kestu::chaos

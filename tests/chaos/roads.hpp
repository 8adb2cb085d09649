#pragma once

#include "tests/chaos/world.hpp"

#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace kestu::chaos {

/// A command, and where it is run.
struct Road {
  std::string name; ///< the command's
  std::vector<std::string> words;
  std::function<void(World&)> lay;
  bool onlyEnds = false;              ///< on its way it makes what is neither of before nor of the end
  bool onceOnly = false;              ///< run again when it is done, it is refused
  bool writes = false;                ///< in the repository
  std::string says = {};              ///< in its answer when it is done
  std::vector<std::string> keys = {}; ///< one of them in its answer as JSON
  std::vector<std::pair<std::string, nlohmann::json>> ends = {}; ///< what the service has then, by its place in `told`
  std::vector<std::pair<std::string, std::string>> files = {};   ///< and the repository
};

/// The commands, each with a few repositories.
std::vector<std::vector<Road>> allRoads();

} // namespace kestu::chaos

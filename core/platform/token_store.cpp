#include "core/platform/token_store.hpp"

#include <random>

#include <unistd.h>

namespace kestu {

void TokenStore::check() {
  // A name of its own, so that another process that looks at the same time doesn't take it away.
  const std::string name = "check-" + std::to_string(std::random_device{}()) + "-" + std::to_string(::getpid());
  save(name, "check");
  erase(name);
}

} // namespace kestu

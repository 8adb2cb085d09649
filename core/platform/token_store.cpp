#include "core/platform/token_store.hpp"

namespace kestu {

void TokenStore::check() {
  save("check", "check");
  erase("check");
}

} // namespace kestu

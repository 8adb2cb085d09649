#include "cli/context.hpp"

namespace kestu {

Client Context::signedIn() const {
  auto current = credentials().current();
  if (!current) throw CLIError::signedOut();
  return client(current->token);
}

} // namespace kestu

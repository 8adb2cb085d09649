#include "cli/families.hpp"

namespace kestu {

void addMetadata(Command& command) { addValidate(command); }

} // namespace kestu

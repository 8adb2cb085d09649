#include "core/platform/core_dumps.hpp"

#include <sys/resource.h>
#ifdef __linux__
#include <sys/prctl.h>
#endif

namespace kestu {

void leaveNoCoreDump() {
  rlimit none{0, 0};
  static_cast<void>(setrlimit(RLIMIT_CORE, &none));
#ifdef __linux__
  // The limit says nothing to a system that hands the dump to a program of its own.
  static_cast<void>(prctl(PR_SET_DUMPABLE, 0));
#endif
}

} // namespace kestu

#include "core/service/announced_version.hpp"
#include "core/service/refusal.hpp"
#include "core/support/moments.hpp"
#include "tests/fuzz/targets.hpp"

namespace kestu::fuzz {

namespace {

using Kind = CLIError::Kind;

/// What may come of a status; a message of the service's own changes a few.
bool mayBe(int status, Kind kind, bool hasMessage) {
  if (status == 401) return kind == Kind::signedOut;
  if (status == 426) return kind == Kind::outdated;
  if (status == 403) return kind == Kind::notAllowed || (!hasMessage && kind == Kind::failed);
  if (status == 404) return kind == Kind::notFound;
  if (status == 429) return kind == Kind::quota;
  bool none = status == 0 && !hasMessage;
  return kind == (status >= 500 || none ? Kind::unavailable : Kind::failed);
}

} // namespace

/// Whatever a service answers, the message is one that can be shown, of the kind that its status has.
void refusals(std::string_view bytes) {
  Input input(bytes);
  int status = static_cast<int>((input.byte() * 256 + input.byte()) % 1000);
  std::string announced(input.line());
  AnnouncedVersion version;
  version.set(announced);
  auto now = *Moments::parse("2026-11-21T12:00:00Z");
  Refusal refusal = Refusal::read(input.rest());
  CLIError error = refusal.asError(status, version.newer(), now);
  require(mayBe(status, error.kind, refusal.message.has_value()), "the status tells the kind");
  require(!error.description.empty() || refusal.message == "", "there are words for it");
  require(error.description.find('\x1B') == std::string::npos, "no escape is left");
  requirePrintable(error.description, "a refusal");
}

} // namespace kestu::fuzz

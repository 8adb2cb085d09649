#include "core/pricing/pricing_file.hpp"
#include "core/support/error.hpp"
#include "core/support/files.hpp"
#include "core/support/utf8.hpp"
#include "tests/fuzz/targets.hpp"

namespace kestu::fuzz {

namespace {

std::optional<ProductPrices> productIn(const PricingFile& file, const std::string& name) {
  try {
    return file.product(name);
  } catch (const CLIError& error) {
    require(error.kind == CLIError::Kind::failed && !error.description.empty(), "a broken entry is a failure");
    requirePrintable(error.description, "the message");
    return std::nullopt;
  }
}

/// Parity moves Sweden and India, and leaves Norway at Apple's match.
void afterParity(const std::filesystem::path& folder, const std::string& name, const ProductPrices& before) {
  const std::set<std::string, std::less<>> covered = {"in", "no", "se"};
  std::string written;
  for (int time = 0; time < 2; ++time) {
    PricingFile file = PricingFile::read(folder);
    file.setParity(name, {{"se", -10}, {"in", -55}}, covered, JSONData::object({{"index", "kestu"}}), before.landing);
    file.write();
    std::string bytes = *Files::read(folder / PricingFile::path, 1 << 24);
    require(time == 0 || bytes == written, "a second time changes nothing");
    written = bytes;
  }
  auto after = productIn(PricingFile::read(folder), name);
  require(after.has_value(), "what is written is read");
  for (const auto& [code, price] : after->overrides) {
    bool moved = code == "se" || code == "in";
    auto was = before.overrides.find(code);
    if (moved) require(price == PriceOverride::percent(code == "se" ? -10 : -55), "Parity's percentages stand there");
    if (!moved) require(code == "no" || (was != before.overrides.end() && was->second == price), "the user's own stay");
  }
  for (const auto& [code, price] : before.overrides) {
    require(covered.contains(code) || after->overrides.contains(code), "none of the user's own is lost: " + code);
  }
  require(after->parity.contains("se") && after->parity.contains("in"), "Parity's entries are known");
  require(after->unread == before.unread && after->regional == before.regional, "all else stays");
}

} // namespace

/// metadata/pricing.json as anybody may have edited it: refused with a message, or read, and kept when Parity writes.
void pricingFile(std::string_view bytes) {
  Input input(bytes);
  std::string name(input.line());
  if (!UTF8::isValid(name)) return; // no product's ID
  const auto& folder = freshFolder();
  write(folder, std::string(PricingFile::path), input.rest());
  try {
    PricingFile file = PricingFile::read(folder, "so nothing was changed");
    auto prices = productIn(file, name);
    if (!prices) return;
    require(file.has(name) || prices->overrides.empty(), "no product, no prices");
    for (const std::string& code : prices->parity) require(prices->overrides.contains(code), "Parity's are prices");
    require(prices->leavingOutParityIn({}) == prices->overrides, "nothing is left out of nothing");
    afterParity(folder, name, *prices);
  } catch (const CLIError& error) {
    require(error.kind == CLIError::Kind::failed, "a broken file is a failure");
    requirePrintable(error.description, "the message");
  }
}

} // namespace kestu::fuzz

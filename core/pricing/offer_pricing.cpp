#include "core/pricing/offer_pricing.hpp"

#include "core/support/text.hpp"

#include <algorithm>

namespace kestu {

namespace {

/// One country's fault, and the others that share it: a region would say it of each of its countries.
class Shared {
 public:
  explicit Shared(std::string rest) : rest_(std::move(rest)) {}

  void add(const std::string& code) { codes_.push_back(code); }
  void tell(std::vector<std::string>& wrong) const {
    if (codes_.empty()) return;
    std::vector<std::string> others(codes_.begin() + 1, codes_.end());
    wrong.push_back(codes_.front() + rest_ +
                    (others.empty() ? "" : "\nSo it is with " + Text::joined(others, ", ") + "."));
  }

 private:
  std::string rest_;
  std::vector<std::string> codes_;
};

} // namespace

void OfferPricing::underlay(const PriceOverrides& others) {
  for (const auto& [code, override] : others) {
    if (countries.empty() || std::find(countries.begin(), countries.end(), code) != countries.end()) {
      overrides.emplace(code, override);
    }
  }
}

bool OfferPricing::reaches(const std::string& storefront) const {
  auto found = overrides.find(storefront);
  if (found != overrides.end() && found->second.kind == PriceOverride::Kind::keep) return false;
  return countries.empty() || std::find(countries.begin(), countries.end(), storefront) != countries.end();
}

std::vector<std::string> OfferPricing::faults() const {
  Shared steps("'s steps count from Apple's match of a price, which a discount doesn't give: give it a percentage off "
               "its own price (se=-40%) or a price");
  Shared more("'s percentage beside a discount is off its own price: give it a minus, as se=-40%");
  Shared elsewhere(" isn't one of --countries, so it takes no --override or --keep.");
  for (const auto& [code, override] : overrides) {
    if (discount && override.kind == PriceOverride::Kind::steps) steps.add(code);
    if (discount && override.kind == PriceOverride::Kind::percent && !override.amount.isNegative()) more.add(code);
    if (!countries.empty() && std::find(countries.begin(), countries.end(), code) == countries.end()) {
      elsewhere.add(code);
    }
  }
  std::vector<std::string> wrong;
  for (const Shared* each : {&steps, &more, &elsewhere}) each->tell(wrong);
  return wrong;
}

void OfferPricing::addTo(JSONData& body) const {
  if (price) body.set("price", JSONData::decimal(price->text()));
  if (discount) body.set("discount", JSONData::decimal(discount->text()));
  body.setGiven("country", country);
  if (!countries.empty()) body.set("countries", countries);
  JSONData list = JSONData::array();
  for (const auto& [storefront, override] : overrides) list.add(override.json(storefront));
  body.set("overrides", std::move(list));
  if (landing.any()) body.set("landing", landing.json());
}

} // namespace kestu

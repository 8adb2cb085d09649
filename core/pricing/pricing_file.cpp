#include "core/pricing/pricing_file.hpp"

#include "core/console/printable.hpp"
#include "core/support/error.hpp"
#include "core/support/files.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <functional>
#include <initializer_list>
#include <system_error>
#include <utility>

namespace kestu {

namespace fs = std::filesystem;

namespace {

/// Under "parity", beside how Parity made its prices: each country with the text that it wrote, so that an entry which
/// was edited since is known for the user's own.
constexpr const char* wroteKey = "wrote";
constexpr std::uint64_t largest = std::uint64_t{16} << 20U;

CLIError failure(const std::string& message) { return {CLIError::Kind::failed, message}; }

std::string inFile(const std::string& rest) { return std::string(PricingFile::path) + ": " + rest; }

CLIError notAnObject(const std::string& consequence) {
  return failure(std::string(PricingFile::path) + " isn't a JSON object of product IDs" +
                 (consequence.empty() ? "" : ", " + consequence) + ".");
}

/// An entry's text; a price and steps down may be numbers.
PriceOverride overrideOf(const JSONValue& value) {
  if (value.isText()) return PriceOverride::parse(Text::trimmed(value.text()));
  return PriceOverride::parse(value.isNumber() ? value.digits() : "");
}

/// Reads a product's countries, noting all that is wrong with them.
class CountriesReader {
 public:
  CountriesReader(const std::string& product, std::vector<std::string>& wrong)
      : product_(printable(product)), wrong_(wrong) {}

  void read(const JSONValue& countries) {
    for (const auto& [word, value] : countries.members()) entry(word, value);
  }

  PriceOverrides regional() {
    PriceOverrides all;
    std::map<std::string, std::string> from;
    for (const auto& [region, override] : regions_) {
      for (std::string_view code : region.storefronts) {
        auto [there, isNew] = all.emplace(std::string(code), override);
        if (isNew) {
          from.emplace(code, region.word);
        } else if (there->second != override && !own_.contains(code)) {
          wrong_.push_back(inFile(product_ + "'s " + std::string(code) + " is in " + from.at(std::string(code)) +
                                  " and in " + region.word + ", which differ: give it an entry of its own."));
        }
      }
    }
    return all;
  }

  const PriceOverrides& own() const { return own_; }

 private:
  void entry(const std::string& word, const JSONValue& value) {
    try {
      RegionWord region = RegionWord::read(word);
      PriceOverride override = overrideOf(value);
      PriceOverriding::requireOneCurrency(region, override);
      if (region.isRegion) {
        bool twice = std::any_of(regions_.begin(), regions_.end(),
                                 [&](const auto& each) { return each.first.word == region.word; });
        if (twice) wrong_.push_back(inFile(product_ + "'s " + region.word + " is named twice: give it one entry."));
        regions_.emplace_back(std::move(region), override);
      } else if (!own_.emplace(region.word, override).second) {
        wrong_.push_back(inFile(product_ + "'s " + region.word + " is named twice: give it one entry."));
      }
    } catch (const CLIError& error) {
      std::string of = product_ + "'s " + printable(word);
      wrong_.push_back(inFile(error.description.empty()
                                  ? of + " is a price (59), steps (\"+2\", or -2), a percentage (\"-10%\") or \"keep\"."
                                  : of + ": " + error.description + (error.description.ends_with('.') ? "" : ".")));
    }
  }

  std::string product_;
  std::vector<std::string>& wrong_;
  std::vector<std::pair<RegionWord, PriceOverride>> regions_;
  PriceOverrides own_;
};

/// What Parity wrote for each country, where the record tells it.
std::map<std::string, std::string> wroteBy(const JSONData* parity) {
  std::map<std::string, std::string> wrote;
  const JSONData* texts = parity ? parity->find(wroteKey) : nullptr;
  if (!texts || !texts->isObject()) return wrote;
  JSONValue read = JSONValue::parse(texts->compact());
  for (const auto& [code, text] : read.members()) {
    if (text.isText()) wrote.emplace(code, text.text());
  }
  return wrote;
}

/// The key under which a product's countries hold this one by itself.
std::optional<std::string> keyOf(const JSONData* countries, const std::string& code) {
  if (!countries) return std::nullopt;
  for (const JSONMember& member : countries->members()) {
    try {
      RegionWord word = RegionWord::read(member.key);
      if (!word.isRegion && word.word == code) return member.key;
    } catch (const CLIError&) {
      continue;
    }
  }
  return std::nullopt;
}

bool isText(const JSONData& value, const std::string& text) { return value.compact() == JSONData(text).compact(); }

/// The object that stands under the key with these of its own replaced; keys that kestu doesn't know stay.
JSONData replaced(const JSONData& entry, const char* key, std::initializer_list<const char*> own, const JSONData& by) {
  const JSONData* there = entry.find(key);
  JSONData object = there && there->isObject() ? *there : JSONData::object();
  for (const char* each : own) object.erase(each);
  for (const JSONMember& member : by.members()) object.set(member.key, member.value);
  return object;
}

std::string percentOverride(std::int64_t percent) { return PriceOverride::percent(percent).text(); }

/// A product's entry, called so in messages; none is an empty one.
ProductPrices pricesOf(const JSONData* entry, const std::string& product) {
  ProductPrices prices;
  if (!entry) return prices;
  std::string name = printable(product);
  CLIError noCountries = failure(inFile(name + " is an object of countries and their prices."));
  if (!entry->isObject()) throw noCountries;
  JSONValue value = JSONValue::parse(entry->compact());
  std::vector<std::string> wrong;
  auto countries = value.find("countries");
  if (countries && !countries->isObject()) throw noCountries;
  CountriesReader reader(product, wrong);
  if (countries) reader.read(*countries);
  prices.regional = reader.regional();
  prices.overrides = reader.own();
  prices.overrides.insert(prices.regional.begin(), prices.regional.end()); // but a country's own entry goes first
  auto parity = value.find("parity");
  if (parity && !parity->isObject()) {
    wrong.push_back(std::string(PricingFile::path) + " is an object of products and how Parity made their prices.");
  }
  auto rounding = value.find("rounding");
  if (rounding && !rounding->isObject()) {
    wrong.push_back(inFile("rounding is an object: round, nice and ending."));
  } else if (rounding) {
    try {
      prices.landing = PriceLanding::read(*rounding);
    } catch (const CLIError& error) {
      wrong.push_back(inFile("rounding: " + error.description + "."));
    }
  }
  if (!wrong.empty()) throw failure(Text::joined(wrong, "\n"));
  for (const auto& [code, text] : wroteBy(entry->find("parity"))) {
    auto key = keyOf(entry->find("countries"), code);
    if (key && isText(*entry->find("countries")->find(*key), text)) prices.parity.insert(code);
  }
  for (const auto& [key, ignored] : value.members()) {
    if (key != "countries" && key != "parity" && key != "rounding") prices.unread.push_back(key);
  }
  return prices;
}

} // namespace

PriceOverrides ProductPrices::leavingOutParityIn(const std::set<std::string, std::less<>>& covered) const {
  PriceOverrides left = overrides;
  for (const std::string& code : parity) {
    if (!covered.contains(code)) continue;
    left.erase(code);
    if (auto region = regional.find(code); region != regional.end()) left.insert(*region);
  }
  return left;
}

PricingFile PricingFile::read(const fs::path& root, const std::string& consequence) {
  PricingFile file;
  file.root_ = root;
  try {
    auto bytes = Files::read(root / path, largest + 1);
    if (!bytes) return file;
    if (bytes->size() > largest) throw failure(inFile("is over 16 MB, too much for prices."));
    JSONValue document = JSONValue::parse(*bytes);
    if (!document.isObject()) throw notAnObject(consequence);
    if (auto key = document.repeatedKey()) {
      throw failure(inFile(printable(*key) + " stands twice, and only one of the two would count: keep one."));
    }
    file.document_ = JSONData::copied(document);
  } catch (const JSONSyntaxError& error) {
    CLIError wrong = notAnObject(consequence);
    wrong.description +=
        "\nIt breaks off at line " + std::to_string(error.line) + ", column " + std::to_string(error.column) + ".";
    throw wrong;
  } catch (const JSONError&) {
    throw notAnObject(consequence);
  } catch (const std::system_error& error) {
    throw failure(inFile("can't be read (" + error.code().message() + ")."));
  }
  return file;
}

std::vector<std::string> PricingFile::faultsAt(const std::string& product, std::vector<std::string> faults) {
  for (std::string& fault : faults) fault = inFile(printable(product) + ": " + fault);
  return faults;
}

std::vector<std::string> PricingFile::faultsAtIntro(const std::string& product, std::vector<std::string> faults) {
  return faultsAt(std::string(introKey) + ": " + product, std::move(faults));
}

bool PricingFile::has(std::string_view product) const { return document_.find(product) != nullptr; }

ProductPrices PricingFile::product(const std::string& product) const {
  return pricesOf(document_.find(product), product);
}

ProductPrices PricingFile::introOffers(const std::string& product) const {
  const JSONData* offers = document_.find(introKey);
  if (!offers) return {};
  std::string key(introKey);
  if (!offers->isObject()) throw failure(inFile(key + " is an object of subscriptions' product IDs."));
  return pricesOf(offers->find(product), key + ": " + product);
}

ParityWritten PricingFile::setParity(const std::string& product, const std::map<std::string, std::int64_t>& percentages,
                                     const std::set<std::string, std::less<>>& covered, JSONData record,
                                     const PriceLanding& landing) {
  ProductPrices before = this->product(product);
  ParityWritten written{percentages.size(), {}, {}, {}, {}};
  bool nothing = percentages.empty() && before.parity.empty() && !has(product);
  if (nothing) return written;
  JSONData entry = has(product) ? *document_.find(product) : JSONData::object();
  JSONData countries = entry.find("countries") ? *entry.find("countries") : JSONData::object();
  if (countries.isNull()) countries = JSONData::object();
  JSONData wrote = JSONData::object();
  for (const std::string& code : before.parity) {
    if (!covered.contains(code)) {
      wrote.set(code, before.overrides.at(code).text());
    } else if (!percentages.contains(code)) {
      countries.erase(keyOf(&countries, code).value_or(code));
      written.noLonger.push_back(code);
    }
  }
  std::set<std::string> regions;
  for (const auto& [code, percent] : percentages) {
    auto key = keyOf(&countries, code);
    if (key && !before.parity.contains(code)) written.wroteOver.push_back(code);
    if (!key && before.overrides.contains(code)) written.inRegions.push_back(code);
    if (key) countries.erase(*key);
    countries.set(code, percentOverride(percent));
    wrote.set(code, percentOverride(percent));
  }
  for (const JSONMember& member : countries.members()) {
    RegionWord word = RegionWord::read(member.key);
    bool meets = std::any_of(written.inRegions.begin(), written.inRegions.end(), [&](const std::string& code) {
      return std::find(word.storefronts.begin(), word.storefronts.end(), code) != word.storefronts.end();
    });
    if (word.isRegion && meets) written.regions.push_back(word.word);
  }
  record.set(wroteKey, std::move(wrote));
  entry.set("parity", replaced(entry, "parity",
                               {"index", "strength", "floor", "cap", "tolerance", "zones", "only", wroteKey}, record));
  if (countries.isEmpty()) {
    entry.erase("countries");
  } else {
    entry.set("countries", std::move(countries));
  }
  if (landing.any()) {
    entry.set("rounding", replaced(entry, "rounding", {"round", "nice", "ending"}, landing.json()));
  }
  document_.set(product, std::move(entry));
  return written;
}

void PricingFile::write() const {
  try {
    fs::path file = root_ / path;
    fs::create_directories(file.parent_path());
    Files::writeAtomically(file, document_.pretty());
  } catch (const std::system_error& error) {
    throw failure(inFile("couldn't be written (" + error.code().message() + ")."));
  }
}

} // namespace kestu

#include "core/pricing/region_words.hpp"

#include "core/console/printable.hpp"
#include "core/pricing/storefronts.hpp"
#include "core/support/error.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <functional>
#include <set>
#include <utility>

namespace kestu {

namespace {

std::vector<std::string_view> codesWhere(const std::function<bool(const Storefront&)>& belongs) {
  std::vector<std::string_view> codes;
  for (const Storefront& each : Storefronts::all()) {
    if (belongs(each)) codes.push_back(each.code);
  }
  return codes;
}

} // namespace

std::string RegionWords::isNone() {
  return " isn't a country (se, or Apple's territory SWE), eu, eur (the euro's) or one of Apple's regions: europe, "
         "asiapacific, latinamerica, uscanada or africamiddleeast";
}

RegionWord RegionWord::read(std::string_view text) {
  std::string word = Text::lowercased(Text::trimmed(text));
  if (const Storefront* country = Storefronts::find(word)) return {std::string(country->code), false, {country->code}};
  std::vector<std::string_view> codes;
  if (word == "eu") {
    codes = codesWhere([](const Storefront& each) { return each.eu; });
  } else if (word == "eur") {
    codes = codesWhere([](const Storefront& each) { return each.euro; });
  } else {
    codes = codesWhere([&](const Storefront& each) { return regionWord(each.region) == word; });
  }
  if (codes.empty()) {
    std::string typed = printable(Text::trimmed(text));
    throw CLIError(CLIError::Kind::usage, (typed.empty() ? "\"\"" : typed) + RegionWords::isNone());
  }
  return {std::move(word), true, std::move(codes)};
}

std::vector<std::string> RegionWords::storefronts(std::string_view list, std::set<std::string>* twice) {
  std::set<std::string> codes;
  std::set<std::string> words;
  std::set<std::string> repeated;
  std::vector<std::string> unknown;
  for (const std::string& word : Text::split(list, ',')) {
    if (Text::trimmed(word).empty()) continue;
    try {
      RegionWord named = RegionWord::read(word);
      if (!words.insert(named.word).second) repeated.insert(named.word);
      for (std::string_view code : named.storefronts) {
        if (!codes.emplace(code).second && (!named.isRegion || words.contains(std::string(code)))) {
          repeated.emplace(code);
        }
      }
    } catch (const CLIError& error) {
      unknown.push_back(error.description);
    }
  }
  if (codes.empty() && unknown.empty()) unknown.push_back("\"\"" + isNone());
  if (!unknown.empty()) throw CLIError(CLIError::Kind::usage, Text::joined(unknown, "\n"));
  if (twice) *twice = std::move(repeated);
  return {codes.begin(), codes.end()};
}

} // namespace kestu

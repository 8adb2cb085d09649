#include "tests/fuzz/targets.hpp"

namespace kestu::fuzz {

const std::vector<Target>& targets() {
  static const std::vector<Target> all = {
      {"addresses", addresses},
      {"answers", answers},
      {"archive_listing", archiveListing},
      {"asset_files", assetFiles},
      {"command_words", commandWords},
      {"decimals", decimals},
      {"event_times", eventTimes},
      {"flag_scan", flagScan},
      {"image_header", imageHeader},
      {"json_documents", jsonDocuments},
      {"layout", layout},
      {"markdown", markdown},
      {"md5", md5},
      {"metadata", metadata},
      {"price_words", priceWords},
      {"pricing_file", pricingFile},
      {"printables", printables},
      {"project_link", projectLink},
      {"property_list", propertyList},
      {"refusals", refusals},
      {"texts", texts},
      {"typed_words", typedWords},
      {"word_differences", wordDifferences},
      {"xcode_project", xcodeProject},
  };
  return all;
}

} // namespace kestu::fuzz

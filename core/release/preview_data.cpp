#include "core/release/release_preview.hpp"

#include "core/listing/listing_field.hpp"

#include <utility>

namespace kestu {

namespace {

/// Beside what is on the page everywhere: how much it differs and what was found.
template <class Part>
void setSums(JSONData& object, const Part& part) {
  object.set("differences", part.differences());
  object.set("errors", part.count(Level::error));
  object.set("warnings", part.count(Level::warning));
}

JSONData encoded(const PreviewText& text) {
  JSONData object =
      JSONData::object({{"field", facts(text.field).key}, {"standing", rawValue(text.standing)}, {"text", text.shown}});
  object.setGiven("other", text.other);
  if (!text.findings.empty()) object.set("findings", kestu::encoded(text.findings));
  return object;
}

JSONData encoded(const PreviewAsset& asset) {
  JSONData object = JSONData::object({{"kind", facts(asset.kind).key},
                                      {"fileName", asset.file.name},
                                      {"standing", rawValue(asset.standing)},
                                      {"embedded", asset.embedded}});
  object.setGiven("before", asset.before).setGiven("frame", asset.file.frame);
  if (!asset.findings.empty()) object.set("findings", kestu::encoded(asset.findings));
  return object;
}

JSONData encoded(const PreviewLanguage& language) {
  JSONData object = JSONData::object({{"locale", language.locale},
                                      {"rightToLeft", language.rightToLeft},
                                      {"primary", language.isPrimary},
                                      {"new", language.isNew},
                                      {"findings", kestu::encoded(language.findings)}});
  setSums(object, language);
  JSONData texts = JSONData::array();
  for (const PreviewText& each : language.texts) texts.add(encoded(each));
  JSONData displays = JSONData::array();
  for (const PreviewDisplay& each : language.displays) {
    JSONData assets = JSONData::array();
    for (const PreviewAsset& asset : each.assets) assets.add(encoded(asset));
    JSONData display = JSONData::object({{"name", each.name}, {"assets", std::move(assets)}});
    if (!each.findings.empty()) display.set("findings", kestu::encoded(each.findings));
    displays.add(std::move(display));
  }
  object.set("texts", std::move(texts)).set("displays", std::move(displays));
  return object;
}

} // namespace

JSONData encoded(const ReleasePreview& preview) {
  JSONData object = JSONData::object({{"title", preview.title},
                                      {"compared", preview.isCompared},
                                      {"findings", encoded(preview.findings)},
                                      {"leftOut", preview.leftOut}});
  setSums(object, preview);
  JSONData languages = JSONData::array();
  for (const PreviewLanguage& each : preview.languages) languages.add(encoded(each));
  return std::move(object.set("languages", std::move(languages)));
}

} // namespace kestu

#include "sandbox/metadata/listing.hpp"

namespace kestu::sandbox::Listing {

namespace {

struct DemoText {
  const char *locale, *name, *subtitle, *description, *keywords, *promotionalText, *whatsNew;
};

constexpr DemoText daylight[] = {
    {"en-US", "Daylight Weather", "The sky, hour by hour",
     "Daylight shows how much light is left today, and what the sky does with it.\n\n"
     "• Sunrise, sunset and golden hour\n• Rain by the minute\n• Widgets for every screen",
     "weather,sunset,sunrise,rain,forecast", "Now with the northern lights 🌌", "Faster radar, and a calmer widget."},
    {"de-DE", "Daylight Wetter", "Der Himmel, Stunde für Stunde",
     "Daylight zeigt, wie viel Licht der Tag noch hat.\n\n• Sonnenauf- und -untergang\n• Regen auf die Minute",
     "wetter,sonne,regen,vorhersage", "Jetzt mit Polarlichtern 🌌", "Schnelleres Radar."},
    {"ja", "デイライト天気", "空を、一時間ごとに", "今日の光があとどれくらい残っているかを表示します。",
     "天気,日の出,日没,雨", "オーロラ予報に対応しました", "レーダーが速くなりました。"},
};

constexpr DemoText tidepool[] = {
    {"de-DE", "Tidepool", "Naturkunde für Kinder", "Was lebt im Gezeitentümpel?", "natur,kinder,meer", "", ""},
};

constexpr DemoText ledger[] = {
    {"en-US", "Ledger", "Accounts, kept plainly", "A ledger for people who like paper.", "accounts,budget", "", ""},
};

void put(FieldTexts& fields, const char* key, const char* text) {
  if (*text != '\0') fields[key] = text;
}

template <std::size_t count>
void add(State& state, std::int64_t appId, const DemoText (&texts)[count], const std::string& site) {
  for (const DemoText& text : texts) {
    auto& fields = state.listings.apps[appId].texts[text.locale];
    put(fields, "name", text.name);
    put(fields, "subtitle", text.subtitle);
    fields["privacyPolicyUrl"] = site + "privacy";
  }
  for (const auto& version : state.versions) {
    if (version.appId != appId) continue;
    VersionInfo info;
    for (const DemoText& text : texts) {
      auto& fields = info.texts[text.locale];
      put(fields, "description", text.description);
      put(fields, "keywords", text.keywords);
      put(fields, "promotionalText", text.promotionalText);
      if (version.version == "1.1") put(fields, "whatsNew", text.whatsNew);
      fields["supportUrl"] = site + "help";
    }
    info.copyright = "2026 Example";
    info.review = {{"contactFirstName", "Kim"}, {"contactLastName", "Tarn"}, {"contactEmail", "review@example.com"}};
    info.demoAccountRequired = false;
    state.listings.versions[version.versionId] = info;
  }
}

} // namespace

void addDemo(State& state) {
  state.listings = {};
  add(state, 1234567890, daylight, "https://daylight.example.com/");
  add(state, 2345678901, tidepool, "https://tidepool.example.com/");
  add(state, 3456789012, ledger, "https://ledger.example.com/");
}

} // namespace kestu::sandbox::Listing

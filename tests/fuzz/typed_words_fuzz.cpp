#include "core/assets/display_hint.hpp"
#include "core/builds/build_number.hpp"
#include "core/builds/build_reference.hpp"
#include "core/console/printable.hpp"
#include "core/events/event.hpp"
#include "core/events/event_rules.hpp"
#include "core/kit/experiments.hpp"
#include "core/kit/flags.hpp"
#include "core/kit/update_prompts.hpp"
#include "core/listing/unread.hpp"
#include "core/overview/ci_secrets.hpp"
#include "core/project/apple_locales.hpp"
#include "core/support/error.hpp"
#include "core/support/text.hpp"
#include "tests/fuzz/targets.hpp"

namespace kestu::fuzz {

namespace {

void builds(const std::string& typed) {
  BuildReference reference = BuildReference::read(typed);
  requirePrintable(reference.text() + reference.word(), "a build's name");
  if (!reference.id && printable(typed) == typed) {
    BuildReference again = BuildReference::read(reference.text());
    require(again.number == reference.number && again.version == reference.version, "a build is what its text says");
    ManagedBuild build;
    build.version = reference.version;
    build.number = *reference.number;
    require(reference.names(build), "a reference names its build");
    require(BuildReference::of(build).names(build), "a build's own reference too");
  }
  std::string next = BuildNumber::next({typed});
  require(next.find_first_not_of("0123456789.") == std::string::npos, "the next number is one");
  std::string after = BuildNumber::next({typed, next});
  require(after != next && Text::naturalLess(next, after), "each next number is higher: " + next);
  require(BuildNumber::sameVersion(typed, typed), "a version is itself");
}

void kit(const std::string& typed) {
  if (auto percent = Percent::typed(typed)) {
    require(*percent >= 0 && *percent <= Percent::whole, "a percentage is at most the whole");
    require(Percent::typed(Percent::text(*percent)) == percent, "a percentage is what its text says");
  }
  if (auto variant = Experiments::TypedVariant::read(typed)) {
    require(!variant->name.empty() && variant->share > 0 && variant->share <= Percent::whole, "a variant has a share");
    require(typed.find(variant->value) != std::string::npos, "a variant's value is as it was typed");
  }
  for (std::string_view type : Flags::types) {
    try {
      JSONData value = Flags::value(std::string(type), typed, "--value");
      require(JSONData::copied(JSONValue::parse(value.compact())).compact() == value.compact(), "a value is JSON");
      requirePrintable(Flags::valueText(value), "a value");
    } catch (const CLIError& error) {
      require(error.kind == CLIError::Kind::usage, "a mistake in use");
      requirePrintable(error.description, "the message");
    }
  }
  if (Flags::isKey(typed)) require(!typed.empty() && typed != "..", "a key is a piece of a path");
  requirePrintable(Flags::argument(typed), "a flag's argument");
  if (UpdatePrompts::isVersion(typed)) {
    require(typed.find_first_not_of("0123456789.") == std::string::npos, "a version is numbers");
  }
}

void languages(const std::string& typed) {
  using AppleLocales::Standing;
  Standing standing = AppleLocales::standing(typed);
  require((standing == Standing::apples) == AppleLocales::isApples(typed), "Apple's languages are Apple's");
  require(standing == Standing::refused || AppleLocales::localeShape(typed), "a language has a language's form");
  if (auto near = AppleLocales::near(typed)) require(AppleLocales::isApples(*near), "what was meant is Apple's");
  if (AppleLocales::isApples(typed)) require(AppleLocales::near(typed) == typed, "Apple's means itself");
  requirePrintable(AppleLocales::refusal(typed) + AppleLocales::doubt(typed), "what is said of a language");
  if (const auto* field = fieldMeant(typed)) require(!field->label.empty(), "a field has a label");
}

void events(const std::string& typed) {
  for (const auto* words : {&Events::badges(), &Events::purposes(), &Events::priorities()}) {
    auto word = Events::word(*words, typed);
    if (word) require(Events::word(*words, Events::label(*words, *word)) == word, "a word is what is shown for it");
    requirePrintable(Events::label(*words, typed), "a word");
  }
  requirePrintable(EventRules::problem("The name", typed, 30), "a problem");
  bool fine = EventRules::problem("The name", typed, 30).empty();
  require(!fine || Text::characters(typed) <= 30, "what is fine isn't too long");
  if (EventRules::linkProblem(typed).empty()) require(typed.find(':') != std::string::npos, "a link has a scheme");
}

} // namespace

/// Words as people type them, and names that files have.
void typedWords(std::string_view input) {
  std::string typed(input);
  builds(typed);
  kit(typed);
  languages(typed);
  events(typed);
  AssetDisplay one{"APP_IPHONE_65", "iPhone 6.5″"}, two{"APP_IPAD_PRO_129", "iPad Pro 12.9″"};
  require(displayMeant(typed, {&one}) == &one, "the only display is meant");
  const AssetDisplay* meant = displayMeant(typed, {&one, &two});
  require(meant == &one || meant == &two, "one of the displays is meant");
  if (const CIProvider* provider = CISecrets::ofRemote(typed)) require(!provider->tool.empty(), "a CI has its tool");
}

} // namespace kestu::fuzz

#include "core/assets/asset_catalog.hpp"
#include "core/assets/asset_push.hpp"
#include "core/assets/shown_assets.hpp"
#include "core/builds/build_upload.hpp"
#include "core/builds/build_wait.hpp"
#include "core/changes/plan.hpp"
#include "core/console/printable.hpp"
#include "core/events/event_media.hpp"
#include "core/events/event_rules.hpp"
#include "core/events/event_text.hpp"
#include "core/kit/experiments.hpp"
#include "core/kit/flags.hpp"
#include "core/kit/update_prompts.hpp"
#include "core/kit/whats_new.hpp"
#include "core/kit/whats_new_folder.hpp"
#include "core/listing/listing_change.hpp"
#include "core/overview/app_status.hpp"
#include "core/overview/doctor.hpp"
#include "core/pricing/intro_offers.hpp"
#include "core/pricing/offer_codes.hpp"
#include "core/pricing/parity.hpp"
#include "core/pricing/parity_text.hpp"
#include "core/pricing/price_change.hpp"
#include "core/pricing/price_tiers.hpp"
#include "core/release/phased.hpp"
#include "core/release/release_check.hpp"
#include "core/release/versions.hpp"
#include "core/service/device_flow.hpp"
#include "core/support/error.hpp"
#include "core/support/moments.hpp"
#include "tests/fuzz/answers.hpp"
#include "tests/fuzz/fuzz.hpp"

#include <algorithm>

namespace kestu::fuzz {

namespace {

Moment now() { return *Moments::parse("2026-11-21T12:00:00Z"); }
const TextStyles styled(true);
const TimeZone& zone() {
  static const TimeZone utc = *TimeZone::named("UTC");
  return utc;
}

/// What work gives, or the words of its refusal.
template <class Work>
std::string orRefusal(const Work& work) {
  try {
    return work();
  } catch (const CLIError& error) {
    return error.description;
  }
}

std::string apps(const JSONValue& answer) {
  auto all = answer.listAt("apps", App::read);
  std::string text;
  for (const App& app : all) text += app.described() + "\n";
  for (const App& app : all) {
    try {
      require(AppChoice::match(std::to_string(app.appId), all).appId == app.appId, "an app is found by its ID");
      AppChoice::match(app.name, all);
    } catch (const CLIError& error) {
      text += error.description;
    }
  }
  return text;
}

std::string build(const ManagedBuild& build) {
  return build.described() + build.stateText() + BuildReference::of(build).word() + "\n";
}

std::string builds(const JSONValue& answer) {
  TestFlightBuilds all = TestFlightBuilds::read(answer);
  std::string text;
  std::vector<std::string> numbers;
  for (const ManagedBuild& each : all.builds) {
    text += build(each);
    require(BuildReference::of(each).names(each), "a build's reference names it");
    require(!each.testable() || each.processed(), "what can be tested is processed");
    text += orRefusal([&] { return BuildReference{{}, each.number, {}}.find(all.builds, each.platform).text(); });
  }
  return text;
}

std::string buildsWait(const JSONValue& answer) {
  BuildsWait wait = BuildsWait::read(answer);
  return wait.builds && !wait.builds->builds.empty() ? build(wait.builds->builds.front()) : "";
}

std::string change(const JSONValue& answer) {
  ChangeAnswer change = ChangeAnswer::read(answer);
  auto lines = PriceChangeLine::of(change.details);
  return PriceChangeText::preview(lines, true, styled, 60) + PriceChangeText::preview(lines, false, styled, 40);
}

std::string plan(const JSONValue& answer) {
  Plan plan = Plan::read(answer);
  require(plan.id.size() == 36, "a plan's ID is one");
  return plan.waits() ? plan.id : "";
}

std::string job(const JSONValue& answer) { return Format::job(StoreJob::read(answer)); }

std::string listing(const JSONValue& answer) {
  StoreListing store = StoreListing::read(answer);
  RepoListing repo;
  repo.texts["en-US"][ListingField::name] = "Daylight";
  repo.texts["en-US"][ListingField::keywords] = "sun,rain";
  repo.copyright = "2026 Us";
  repo.review = ReviewInfo{"Kim"};
  ListingChange change = ListingChange::between(repo, store, {});
  for (const ListingDifference& each : change.differences) require(each.before != each.after, "what differs differs");
  return differencesText(change.differences, 60, styled) + wordDifferencesText(change.differences, 40, styled) +
         placesText(change.differences) + placesText(change.held);
}

std::string versions(const JSONValue& answer) {
  std::string text;
  auto all = answer.listAt("versions", StoreVersion::read);
  for (const StoreVersion& version : all) {
    Versions::CommandTail tail{" --platform ios", ""};
    text += version.title() + Versions::stateText(version, styled) + Versions::advice(version, tail) +
            Versions::nextCommand(version, tail) + Phased::text(version) +
            releaseText(version.releaseType, version.earliestReleaseDate, version.phased, now());
    require(Versions::find(all, version.version, version.platform) != nullptr, "a version is found");
    text += orRefusal([&] { return Phased::target(all, version.platform, Phased::Action::pause).version->title(); });
  }
  return text;
}

std::string assetsPlan(const JSONValue& answer) {
  AssetsPlan plan = AssetsPlan::read(answer);
  for (const AssetUpload& upload : plan.uploads) {
    std::int64_t end = 0;
    for (const UploadPart& part : upload.parts) end = std::max(end, part.offset + part.length);
    if (!UploadPart::areWhole(upload.parts, end) || end > 10'000) continue;
    std::vector<int> covered(static_cast<std::size_t>(end));
    for (const UploadPart& part : upload.parts) {
      for (std::int64_t at = part.offset; at < part.offset + part.length; ++at) ++covered[static_cast<std::size_t>(at)];
    }
    bool once = std::all_of(covered.begin(), covered.end(), [](int times) { return times == 1; });
    require(once, "parts that are whole cover each byte once");
  }
  return plan.unchanged() ? "unchanged" : "";
}

std::string shownAssets(const JSONValue& answer) {
  for (const ShownLanguage& language : ShownAssets::read(answer).languages) {
    require(language.locale.find_first_of("/\\.") == std::string::npos,
            "a language names a folder: " + language.locale);
    for (const ShownDisplay& display : language.displays) {
      for (const ShownAsset& asset : display.assets) {
        std::string extension = asset.extension();
        require(extension.size() > 1 && extension.find('/') == std::string::npos, "an extension is one: " + extension);
      }
    }
  }
  return "";
}

std::string catalog(const JSONValue& answer) {
  AssetCatalog catalog = AssetCatalog::read(answer);
  std::string text;
  for (AssetKind kind : allAssetKinds) {
    AssetDisplays displays = catalog[kind];
    for (const AssetDisplay& display : displays.displays) {
      const AssetDisplay* named = displays.named(display.group);
      require(named != nullptr, "a display is found by its ID");
      require(displays.position(display) < displays.displays.size(), "a display has its place");
      for (const std::string& group : displays.sharing(display.name)) text += group;
      for (const ImageSpec& spec : display.images) {
        const Dimensions& size = spec.dimensions;
        require(size.contains(size.minWidth, size.maxHeight), "a range holds its ends");
        require(displays.sized(&AssetDisplay::images, size.minWidth, size.minHeight).has_value(),
                "a size has a display");
        text += size.text();
      }
      for (const VideoSpec& spec : display.videos) text += spec.text();
      for (const std::string& size : display.sizes(MediaType::image)) text += size;
    }
  }
  AssetCatalog twice = catalog;
  twice.add(catalog);
  for (const auto& [key, displays] : catalog.kinds) {
    require(twice.displays(key).size() == displays.size(), "what is there isn't added again");
  }
  return printable(text);
}

std::string parity(const JSONValue& answer) {
  ParityAnswer parity = ParityAnswer::read(answer);
  std::string text = parity.productText();
  try {
    parity.requireUsable({});
  } catch (const CLIError& error) {
    return text + error.description;
  }
  auto off = parity.offTarget();
  for (const ParityStorefront* each : off) require(each->isOffBy(parity.tolerance()), "what is off is off");
  auto percentages = parity.percentages();
  for (const auto& [code, percent] : percentages) require(parity.covered().contains(code), "what moves is covered");
  require(parity.overrides(false).size() >= percentages.size(), "each percentage is an override");
  JSONValue record = JSONValue::parse(parity.record(std::nullopt).compact());
  return text + ParityText::lines(parity, styled, 72) + ParityText::lines(parity, TextStyles(false), 50) +
         ParityText::withinTargets(parity) +
         (off.empty() ? "" : ParityText::offTargets(parity, off, "kestu prices set")) + record.path();
}

std::string prices(const JSONValue& answer) {
  StorePrices prices = StorePrices::read(answer);
  std::string text;
  for (const OwnPrice& own : prices.ownPrices()) text += own.price.text();
  for (const auto& each : prices.storefronts) require(prices.find(each.storefront) != nullptr, "a storefront is found");
  return text;
}

std::string tiers(const JSONValue& answer) {
  PriceTiers tiers = PriceTiers::read(answer);
  PriceTiers::Range range;
  std::string text;
  for (bool all : {true, false}) {
    range.all = all;
    try {
      auto shown = tiers.within(range);
      require(!all || shown.size() == tiers.prices.size(), "all are all");
      text += tiers.text("the app", shown, styled, 60) + Format::table(tiers.table(shown));
    } catch (const CLIError& error) {
      text += error.description;
    }
  }
  return text;
}

std::string events(const JSONValue& answer) {
  auto all = answer.listAt("events", Event::read);
  std::string text = Format::events(all, zone(), now(), styled, 72);
  for (const Event& event : all) {
    text += Format::eventDetails(event, zone(), now(), styled, 60) + EventRules::submitRefusal(event) +
            EventRules::cancelRefusal(event) + EventRules::deleteRefusal(event, "kestu events cancel") +
            EventRules::refusal(event, {"start", "name"}, now(), "kestu events cancel");
    text += orRefusal([&] { return Events::named(all, event.name).quoted(); });
  }
  return text;
}

std::string flags(const JSONValue& answer) {
  std::string text;
  auto all = answer.listAt("flags", KitFlag::read);
  for (const KitFlag& flag : all) {
    text += Flags::stateText(flag.on, flag.rollout) + Flags::argument(flag.key);
    if (flag.value) text += Flags::valueText(*flag.value);
    require(Flags::isEmpty(Flags::changed(flag, {flag.on, flag.value, flag.rollout, flag.notes})), "a flag is itself");
    require(Flags::named(flag.key, all).key == flag.key, "a flag is found");
  }
  return text;
}

std::string experiments(const JSONValue& answer) {
  auto all = answer.listAt("experiments", Experiment::read);
  std::string text;
  for (const Experiment& each : all) {
    require(Experiments::named(each.experimentId, all).experimentId == each.experimentId, "an experiment is found");
    if (const Variant* winner = Experiments::winner(each)) text += printable(winner->name);
    text += std::to_string(each.users());
    for (const Variant& variant : each.variants) {
      text += Flags::valueText(variant.value) + Percent::text(variant.share) +
              Experiments::bar(variant.rate.value_or(0), 1, 20);
    }
  }
  return text;
}

std::string prompts(const JSONValue& answer) {
  std::string text;
  for (const UpdatePrompt& prompt : answer.listAt("prompts", UpdatePrompt::read)) text += prompt.title();
  return text;
}

std::string pages(const JSONValue& answer) {
  std::string text;
  for (const WhatsNewPage& page : answer.listAt("pages", WhatsNewPage::read)) {
    text += WhatsNew::title(page.version, page.platform);
  }
  return text;
}

std::string status(const JSONValue& answer) {
  AppStatus status = AppStatus::read(answer);
  return status.text(50, styled, now()) + status.text(std::nullopt, TextStyles(false), now()) + status.nextCommand("");
}

std::string doctor(const JSONValue& answer) {
  std::vector<DoctorGroup> groups = {{"app", "The app", answer.listAt("items", DoctorItem::read)}};
  return Doctor::text(groups, 60, styled) + (Doctor::fails(groups) ? "fails" : "");
}

std::string signIn(const JSONValue& answer) {
  SignedIn signedIn = SignedIn::read(answer);
  require(Token::wellFormed(signedIn.token.reveal()), "a token can stand in a header");
  return "";
}

std::string deviceStart(const JSONValue& answer) {
  DeviceStart start = DeviceStart::read(answer);
  require(start.interval.count() >= 0 && start.expiresIn.count() >= 0, "waits are ahead");
  return "";
}

/// All reservations of bytes to send.
std::string reservations(const JSONValue& answer) {
  auto parts = UploadReservation::read(answer).parts;
  for (const auto& more : {EventMediaReservation::read(answer).parts, WhatsNewUpload::read(answer).parts}) {
    require(more.size() == parts.size(), "parts are read alike");
  }
  for (const UploadPart& part : parts) require(part.offset + part.length >= part.offset, "a part is a range");
  return "";
}

std::string unfinished(const JSONValue& answer) {
  auto all = answer.listAt("uploads", UnfinishedUpload::read);
  std::string text;
  for (const UnfinishedUpload& each : all) {
    try {
      text += each.text() + printable(each.named().compact());
      BuildUpload::choose(all, BuildReference::read(each.build), each.platform, std::nullopt, now());
    } catch (const CLIError& error) {
      text += error.description;
    }
  }
  return text;
}

std::string reviewTimes(const JSONValue& answer) {
  ReleaseCheck::ReviewTimes times;
  for (const auto& [platform, time] : answer.members()) times[platform] = ReleaseCheck::ReviewTime::read(time);
  std::string text;
  for (const auto& [platform, time] : times) {
    for (const Finding& finding : ReleaseCheck::reviewTime(times, platform)) text += finding.message;
  }
  return text;
}

std::string introOffers(const JSONValue& answer) {
  IntroOffers all = IntroOffers::read(answer);
  std::string text = all.text(false, "2026-11-21", styled, 60) + all.text(true, "2026-11-21", styled, 40);
  for (const IntroSubscription& each : all.subscriptions) {
    require(all.find(each.product) != nullptr, "a subscription is found");
    text += each.title();
    for (const IntroOffer& offer : each.offers) {
      require(offer.meets(std::nullopt, std::nullopt), "an offer runs at some time");
      auto regular = Offers::regular(offer.price.regular, offer.terms, each.period);
      if (regular) text += regular->text();
    }
  }
  return text + Format::table(all.table());
}

std::string offerCodes(const JSONValue& answer) {
  OfferCodes all = OfferCodes::read(answer);
  std::string text = Format::table(all.table(styled));
  for (const OfferCode& offer : all.offers) {
    text += offer.text(true, "onemonth", styled, 60, now()) + offer.text(false, "", styled, 30, now()) + offer.what();
    for (const CodeBatch& batch : offer.batches) {
      require(offer.batch(batch.batchId) != nullptr, "codes are found by their ID");
      text += batch.title();
    }
    const CodeBatch* newest = offer.newestOneTime();
    require(newest == nullptr || newest->isOneTime(), "one-time codes are one-time");
    text += orRefusal([&] { return printable(all.named(offer.name).offerId); });
  }
  return text;
}

} // namespace

const std::vector<AnswerModel>& answerModels() {
  static const std::vector<AnswerModel> all = {
      {"apps", apps},
      {"builds", builds},
      {"wait", buildsWait},
      {"change", change},
      {"plan", plan},
      {"job", job},
      {"listing", listing},
      {"versions", versions},
      {"assets plan", assetsPlan},
      {"shown assets", shownAssets},
      {"catalog", catalog},
      {"parity", parity},
      {"prices", prices},
      {"tiers", tiers},
      {"events", events},
      {"flags", flags},
      {"experiments", experiments},
      {"prompts", prompts},
      {"pages", pages},
      {"status", status},
      {"doctor", doctor},
      {"sign-in", signIn},
      {"device start", deviceStart},
      {"reservation", reservations},
      {"unfinished uploads", unfinished},
      {"review times", reviewTimes},
      {"intro offers", introOffers},
      {"offer codes", offerCodes},
  };
  return all;
}

} // namespace kestu::fuzz

#include "sandbox/account/accounts.hpp"
#include "sandbox/assets/uploads.hpp"
#include "sandbox/events/events.hpp"

#include <fmt/format.h>

#include <filesystem>
#include <utility>

namespace kestu::sandbox::Events {

using nlohmann::json;

Answer reserveMedia(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  const auto& event = named(state, app, call);
  const auto& locale = call.segments[6];
  const auto body = call.object();
  const auto slot = body.at("slot").get<std::string>();
  const auto size = body.at("fileSize").get<std::uint64_t>();
  if (!isOpen(event)) conflict(fmt::format("{} is {}: its media can't change now.", title(app, event), event.state));
  if (!event.languages.contains(locale)) throw Refused(404, "not_found", "The event hasn't that language.");
  if ((slot != "card" && slot != "details") || size == 0) {
    throw Refused(400, "invalid_request", "A card or a details page, not empty, is needed.");
  }
  const bool video = body.at("video").get<bool>();
  const auto& asset = Uploads::reserve(state, {lowered(randomUuid()),
                                               app.appId,
                                               body.at("fileName").get<std::string>(),
                                               body.at("md5").get<std::string>(),
                                               size,
                                               video,
                                               {},
                                               {}});
  state.events.uploads[asset.assetId] = {
      event.eventId, locale, slot, {asset.assetId, asset.fileName, video, body.value("frame", ""), {}}};
  return Answer::json({{"assetId", asset.assetId}, {"parts", Uploads::partsJson(state, asset)}});
}

Answer commitMedia(State& state, const Call& call) {
  const auto& assetId = call.segments[8];
  std::string path, md5;
  {
    const std::lock_guard held(state.mutex);
    Accounts::grantedApp(state, call, call.segments[2]);
    const auto* const asset = state.asset(assetId);
    if (asset == nullptr || !state.events.uploads.contains(assetId)) {
      throw Refused(404, "not_found", "There is no such upload.");
    }
    Uploads::needParts(*asset);
    path = state.filePath(*asset);
    md5 = asset->md5;
  }
  if (md5OfFile(path) != md5) throw Refused(409, "checksum", "The file came with another checksum than announced.");
  const std::lock_guard held(state.mutex);
  const auto upload = state.events.uploads.extract(assetId);
  if (upload.empty()) throw Refused(404, "not_found", "There is no such upload.");
  const auto& place = upload.mapped();
  auto* const event = find(state, std::stoll(call.segments[2]), place.eventId);
  if (event == nullptr || !event->languages.contains(place.locale)) {
    throw Refused(404, "not_found", "The event hasn't that language any more.");
  }
  auto& media = event->languages[place.locale].media[place.slot];
  media = place.media;
  media.processed = state.clock() + state.events.processing;
  media.error = std::exchange(state.events.nextError, "");
  state.asset(assetId)->complete = true;
  return Answer::nothing();
}

} // namespace kestu::sandbox::Events

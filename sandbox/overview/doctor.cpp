#include "sandbox/overview/doctor.hpp"

#include "sandbox/account/accounts.hpp"

namespace kestu::sandbox::Overview {

using nlohmann::json;

Answer doctor(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  const bool usesKit = !state.kit.flags[app.appId].empty();
  auto items = json::array();
  items.push_back({{"key", "appStoreConnect"},
                   {"title", "App Store Connect"},
                   {"state", "ok"},
                   {"detail", "a key with the role App Manager"}});
  items.push_back(
      {{"key", "webhook"}, {"title", "Webhook"}, {"state", "ok"}, {"detail", "tells of builds and reviews"}});
  items.push_back({{"key", "kestuKit"}, {"title", "KestuKit"}, {"state", usesKit ? "ok" : "todo"}});
  items.back()["detail"] = usesKit ? "in the app" : "isn't in the app yet";
  if (!usesKit) items.back()["next"] = "kestu kit flags check";
  items.push_back({{"key", "supportEmail"},
                   {"title", "Support email"},
                   {"state", "todo"},
                   {"detail", "no address yet"},
                   {"next", "Feedback → Email, in the kestu app"}});
  items.push_back(
      {{"key", "approvals"}, {"title", "Approvals"}, {"state", "ok"}, {"detail", "asked for what reaches customers"}});
  return Answer::json({{"items", items}});
}

} // namespace kestu::sandbox::Overview

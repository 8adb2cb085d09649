#include "core/changes/waiting_changes.hpp"

#include "core/support/files.hpp"
#include "core/support/json_data.hpp"
#include "core/support/md5.hpp"
#include "core/support/moments.hpp"
#include "core/support/uuid.hpp"

#include <system_error>
#include <utility>

namespace kestu {

namespace fs = std::filesystem;

namespace {

constexpr std::uint64_t largest = 1 << 20;
constexpr std::size_t most = 100;

} // namespace

WaitingChanges::WaitingChanges(const std::optional<fs::path>& folder, std::string origin) : origin_(std::move(origin)) {
  if (folder) file_ = *folder / "waiting-changes.json";
}

std::string WaitingChanges::digest(std::string_view change) const {
  return MD5::hex(std::string_view(origin_ + "\n" + std::string(change)));
}

/// Those that may still wait, the oldest first.
std::vector<WaitingChanges::Kept> WaitingChanges::read(Moment now) const {
  try {
    JSONValue kept = JSONValue::parse(Files::read(*file_, largest).value_or(R"({"changes": []})"));
    auto all = kept.listAt("changes", [](const JSONValue& each) {
      return Kept{each.at("digest").text(), uuid(each.at("plan").text()).value_or(""), each.at("expiresAt").moment()};
    });
    std::erase_if(all, [&](const Kept& each) { return each.plan.empty() || each.expiresAt <= now; });
    return all;
  } catch (const JSONError&) {
    return {}; // written by something else: it begins anew
  } catch (const std::system_error&) {
    return {};
  }
}

void WaitingChanges::write(const std::vector<Kept>& all) const {
  JSONData list = JSONData::array();
  for (const Kept& each : all) {
    list.add(JSONData::object(
        {{"digest", each.digest}, {"plan", each.plan}, {"expiresAt", Moments::iso8601(each.expiresAt)}}));
  }
  try {
    fs::create_directories(file_->parent_path());
    Files::writeAtomically(*file_, JSONData::object({{"changes", std::move(list)}}).pretty());
  } catch (const std::system_error&) {
    // One that is sent again isn't told then, that is all.
  }
}

void WaitingChanges::keep(std::string_view change, const Plan& plan, Moment now) const {
  if (!file_) return;
  auto all = read(now);
  std::string its = digest(change);
  std::erase_if(all, [&](const Kept& each) { return each.digest == its; });
  if (all.size() >= most) all.erase(all.begin());
  all.push_back({its, plan.id, plan.expiresAt});
  write(all);
}

std::optional<std::string> WaitingChanges::find(std::string_view change, Moment now) const {
  if (!file_) return std::nullopt;
  std::string its = digest(change);
  for (const Kept& each : read(now)) {
    if (each.digest == its) return each.plan;
  }
  return std::nullopt;
}

} // namespace kestu

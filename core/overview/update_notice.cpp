#include "core/overview/update_notice.hpp"

#include "core/console/printable.hpp"
#include "core/support/files.hpp"
#include "core/support/json.hpp"
#include "core/support/json_data.hpp"
#include "core/support/moments.hpp"
#include "core/support/version.hpp"

#include <chrono>
#include <system_error>

namespace kestu::UpdateNotice {

namespace {

constexpr std::uint64_t largest = 65'536;

bool saidLately(const std::filesystem::path& file, const std::string& version, Moment now) {
  try {
    JSONValue kept = JSONValue::parse(Files::read(file, largest).value_or("{}"));
    if (kept.find("version", &JSONValue::text) != version) return false;
    auto since = now - kept.at("saidAt").moment();
    // A clock that was set back doesn't silence it for longer than a day.
    return since >= Moment::duration::zero() && since < std::chrono::hours(24);
  } catch (const JSONError&) {
    return false; // written by something else: it begins anew
  }
}

} // namespace

bool due(const std::string& version, const std::filesystem::path& folder, Moment now) {
  auto file = folder / "update-notice.json";
  try {
    if (saidLately(file, version, now)) return false;
    std::filesystem::create_directories(folder);
    JSONData said = JSONData::object({{"version", version}, {"saidAt", Moments::iso8601(now)}});
    Files::writeAtomically(file, said.pretty());
    return true;
  } catch (const std::system_error&) {
    return false;
  }
}

std::string text(const std::string& version) {
  return "kestu " + printable(version) + " is out; this is " + std::string(CLI::version) + ". Update it: kestu update";
}

} // namespace kestu::UpdateNotice

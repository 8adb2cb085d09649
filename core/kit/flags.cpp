#include "core/kit/flags.hpp"

#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/support/error.hpp"
#include "core/support/text.hpp"
#include "core/support/utf8.hpp"

#include <algorithm>

namespace kestu {

using Kind = CLIError::Kind;

KitFlag KitFlag::read(const JSONValue& value) {
  KitFlag flag{value.at("key").text(), value.at("type").text(), value.whenTrue("on")};
  if (auto given = value.find("value")) flag.value = JSONData::copied(*given);
  flag.rollout = value.find("rollout", Percent::read).value_or(Percent::whole);
  flag.notes = value.find("notes", &JSONValue::text);
  flag.updatedAt = value.find("updatedAt", &JSONValue::moment);
  return flag;
}

Response<std::vector<KitFlag>> fetchKitFlags(const Client& client, std::int64_t appId) {
  return client.get("/v1/apps/" + std::to_string(appId) + "/kit/flags", {},
                    [](const JSONValue& answer) { return answer.listAt("flags", KitFlag::read); });
}

namespace Flags {

const KitFlag& named(const std::string& key, const std::vector<KitFlag>& flags) {
  const KitFlag* near = nullptr;
  for (const KitFlag& flag : flags) {
    if (flag.key == key) return flag;
    if (Text::folded(flag.key) == Text::folded(key)) near = &flag;
  }
  throw CLIError(Kind::notFound, "KestuKit has no flag " + printable(key) + " for the app." +
                                     (near ? " Did you mean " + printable(near->key) + "?"
                                           : " kestu kit flags list shows those it has."));
}

bool isKey(std::string_view text) {
  if (Text::trimmed(text) != text || text.empty() || text == "." || text == "..") return false;
  if (text.find_first_of("\"\\") != std::string_view::npos || printable(std::string(text)) != text) return false;
  for (std::size_t at = 0; at < text.size();) {
    UTF8::Decoded decoded = UTF8::decode(text, at);
    if (decoded.broken || (UTF8::isWhiteSpace(decoded.value) && decoded.value != U' ')) return false;
    at += decoded.length;
  }
  return true;
}

std::string withoutFullStop(std::string key) {
  if (key.size() > 1 && key.ends_with('.') && isKey(key.substr(0, key.size() - 1))) key.pop_back();
  return key;
}

std::string argument(std::string_view key) {
  std::string shown = printable(key);
  return (shown.starts_with('-') ? "-- " : "") + Format::shellWord(shown);
}

JSONData value(const std::string& type, const std::string& typed, const std::string& name) {
  auto wrong = [&](const std::string& needs) {
    return CLIError(Kind::usage, name + " is " + needs + ", not " + printable(typed) + ".");
  };
  if (type == "text") return typed;
  if (type == "bool") {
    if (typed != "true" && typed != "false") throw wrong("true or false for a bool flag");
    return typed == "true";
  }
  bool isNumber = type == "number";
  std::string needs = isNumber ? "a number, as 12.5" : "JSON and not null, as '{\"a\": 1}'";
  try {
    JSONValue parsed = JSONValue::parse(typed);
    if (isNumber) static_cast<void>(parsed.number());
    std::string number = Text::trimmed(typed);
    if (number == "-0") number = "0"; // as every reader of JSON without decimals takes it
    JSONData data = isNumber ? JSONData::decimal(number) : JSONData::copied(parsed);
    if (data.isNull()) throw wrong(needs);
    return data;
  } catch (const JSONError&) {
    throw wrong(needs);
  }
}

std::string valueText(const JSONData& value) {
  std::string json = value.compact();
  // A text alone is shown without the quotation marks and escapes of JSON.
  return printable(json.starts_with('"') ? JSONValue::parse(json).text() : json);
}

std::string stateText(bool on, int rollout) {
  if (!on) return "off";
  return rollout == Percent::whole ? "on" : "on for " + Percent::text(rollout);
}

FlagEdit changed(const KitFlag& flag, const FlagEdit& edit) {
  FlagEdit result;
  if (edit.on && *edit.on != flag.on) result.on = edit.on;
  if (edit.value && (!flag.value || edit.value->compact() != flag.value->compact())) result.value = edit.value;
  if (edit.rollout && *edit.rollout != flag.rollout) result.rollout = edit.rollout;
  if (edit.notes && *edit.notes != flag.notes.value_or("")) result.notes = edit.notes;
  return result;
}

bool isEmpty(const FlagEdit& edit) { return !edit.on && !edit.value && !edit.rollout && !edit.notes; }

JSONData body(const FlagEdit& edit) {
  JSONData body = JSONData::object();
  body.setGiven("on", edit.on).setGiven("value", edit.value).setGiven("notes", edit.notes);
  if (edit.rollout) body.set("rollout", Percent::data(*edit.rollout));
  return body;
}

} // namespace Flags

} // namespace kestu

#include "core/changes/change_item.hpp"

#include "core/support/json.hpp"

namespace kestu {

JSONData changesData(const std::vector<ChangeItem>& items) {
  JSONData list = JSONData::array();
  for (const ChangeItem& item : items) {
    JSONData one = JSONData::object({{"place", item.place}, {"field", item.field}});
    if (item.hidden) {
      one.set("hidden", true);
    } else {
      one.set("from", item.from).set("to", item.to);
    }
    list.add(std::move(one));
  }
  return list;
}

std::string withChanges(std::string_view body, const std::vector<ChangeItem>& items) {
  return JSONData::copied(JSONValue::parse(body)).set("changes", changesData(items)).pretty();
}

} // namespace kestu

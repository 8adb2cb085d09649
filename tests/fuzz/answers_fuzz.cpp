#include "tests/fuzz/answers.hpp"
#include "tests/fuzz/targets.hpp"

#include "core/service/part_uploader.hpp"
#include "core/support/error.hpp"
#include "core/support/json_data.hpp"

namespace kestu::fuzz {

/// Whatever the service answers is taken or refused; what is shown of it can't steer a terminal, and is the same of the
/// same document written another way.
void answers(std::string_view bytes) {
  Input input(bytes);
  const auto& models = answerModels();
  const AnswerModel& model = models[input.byte() % models.size()];
  try {
    JSONValue value = JSONValue::parse(input.rest());
    std::string shown = model.shown(value);
    requirePrintable(shown, std::string(model.name));
    JSONValue again = JSONValue::parse(JSONData::copied(value).pretty());
    require(model.shown(again) == shown, "a document says what it says: " + std::string(model.name));
  } catch (const JSONError&) {
    return;
  } catch (const CLIError& error) {
    require(!error.description.empty(), "there are words for a refusal");
    requirePrintable(error.description, "a refusal");
  }
}

} // namespace kestu::fuzz

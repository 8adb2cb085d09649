#pragma once

#include "core/support/json.hpp"

#include <string>
#include <string_view>
#include <vector>

namespace kestu::fuzz {

/// A kind of answer, and all that a person may be shown of one.
struct AnswerModel {
  std::string_view name;
  std::string (*shown)(const JSONValue& answer);
};

/// Inputs pick theirs by number, so that new ones go to the end.
const std::vector<AnswerModel>& answerModels();

} // namespace kestu::fuzz

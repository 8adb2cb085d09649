#pragma once

#include <nlohmann/json_fwd.hpp>

#include <functional>
#include <string>

namespace kestu::tests {

/// Whether people write the texts of an answer's key; all others are names, states and moments that a command goes by.
bool isFreeText(const std::string& key);

/// Appends to each text whose key is chosen.
void appendToTexts(nlohmann::json& value, const std::function<bool(const std::string& key)>& chosen,
                   const std::string& text, const std::string& key = "");

} // namespace kestu::tests
